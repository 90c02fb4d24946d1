#!/usr/bin/env bash
# Installs what the build, the tests and the demo need, from Debian's packages.
# Runs apt-get only when something is missing, so repeated runs cost nothing.
set -euo pipefail

PACKAGES=(
  build-essential cmake ccache pkg-config
  nlohmann-json3-dev libcurl4-openssl-dev libspdlog-dev libwebsockets-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  pybind11-dev python3-dev python3-pytest python3-importlib-metadata python3-typing-extensions
  python3-exceptiongroup python3-tomli
  firefox-esr chromium chromium-driver openssl
  python3-selenium
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  bash "$(dirname "$0")/install-grid.sh"
  exit 0
fi
echo "Installing: ${missing[*]}"
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
bash "$(dirname "$0")/install-grid.sh"
