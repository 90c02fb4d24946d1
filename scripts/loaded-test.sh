#!/usr/bin/env bash
# Runs the end-to-end suite (tests/python) once on a machine whose cores are busy: two CPU
# burners run beside it, as on a shared test station or a CI runner under load. Waits
# that pass only on an idle machine fail here. The burners are ended by their pids, also
# when the run is interrupted.
#
#   bash scripts/loaded-test.sh [pytest arguments, e.g. tests/python/test_power_e2e.py]
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$(pwd)
BUILD_DIR=${BUILD_DIR:-build}
case "$BUILD_DIR" in /*) ;; *) BUILD_DIR="$ROOT/$BUILD_DIR" ;; esac
BURNERS=${BURNERS:-2}

if [ ! -d "$BUILD_DIR/python/marlet" ]; then
  bash scripts/build.sh --target vornawebwrapper
fi

pids=()
stop_burners() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
  pids=()
}
trap stop_burners EXIT INT TERM
for _ in $(seq "$BURNERS"); do
  /usr/bin/python3 -c 'while 1: pass' &
  pids+=($!)
done
echo "== $BURNERS CPU burners running (pids ${pids[*]}); end-to-end suite under load"

export PYTHONPATH="$BUILD_DIR/python:$ROOT"
start=$(date +%s)
status=0
if [ $# -gt 0 ]; then
  /usr/bin/python3 -m pytest -q -p no:cacheprovider "$@" || status=$?
else
  /usr/bin/python3 -m pytest -q -p no:cacheprovider tests/python || status=$?
fi
echo "== loaded run finished in $(( $(date +%s) - start )) s with status $status"
exit $status
