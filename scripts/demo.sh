#!/usr/bin/env bash
# The main job: builds the module, starts the console simulator over HTTPS on loopback,
# and runs the example harness script against it in headless Firefox.
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$(pwd)
BUILD_DIR=${BUILD_DIR:-build}

bash scripts/install-deps.sh
bash scripts/build.sh --target vornawebwrapper

export PYTHONPATH="$ROOT/$BUILD_DIR/python:$ROOT"
exec /usr/bin/python3 examples/demo.py "$@"
