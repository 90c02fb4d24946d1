#!/usr/bin/env bash
# Installs what the build, the tests and the demo need, from Debian's packages.
# Runs apt-get only when something is missing, so repeated runs cost nothing. Prints one
# line per phase; apt's own output goes to a log that is shown only when a step fails.
set -euo pipefail
source "$(dirname "$0")/quietly.sh"

PACKAGES=(
  build-essential cmake ccache pkg-config
  nlohmann-json3-dev libcurl4-openssl-dev zlib1g-dev libspdlog-dev libwebsockets-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  pybind11-dev python3-dev python3-pytest python3-pytest-xdist python3-importlib-metadata python3-typing-extensions
  python3-exceptiongroup python3-tomli
  firefox-esr chromium chromium-driver openssl
  python3-selenium
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "Packages: all installed"
else
  echo "Installing packages: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  quietly "apt-get update" $SUDO apt-get update -q
  quietly "apt-get install" $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
bash "$(dirname "$0")/install-grid.sh"
