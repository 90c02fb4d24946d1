#!/usr/bin/env bash
# The main job: builds the module, starts the console simulator over HTTPS on loopback,
# and runs the example harness script against it in headless Firefox. The set-up prints
# one line per phase; what the package managers and the build print goes to
# $BUILD_DIR/setup.log, shown only when a step fails.
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$(pwd)
BUILD_DIR=${BUILD_DIR:-build}
case "$BUILD_DIR" in /*) ;; *) BUILD_DIR="$ROOT/$BUILD_DIR" ;; esac

mkdir -p "$BUILD_DIR"
export VORNA_INSTALL_LOG="$BUILD_DIR/setup.log"
: >"$VORNA_INSTALL_LOG"
source scripts/quietly.sh

bash scripts/install-deps.sh
echo "Building the module (log: ${VORNA_INSTALL_LOG#"$ROOT"/})"
quietly "The build" env BUILD_DIR="$BUILD_DIR" bash scripts/build.sh --target vornawebwrapper

export PYTHONPATH="$BUILD_DIR/python:$ROOT"
exec /usr/bin/python3 examples/demo.py "$@"
