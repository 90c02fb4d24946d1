#!/usr/bin/env bash
# Runs every test: C++ unit tests, the browser client's end-to-end tests (headless
# Firefox and Chromium), the simulator's tests, and the Python module's tests, end to end
# against the console simulator, under Debian's python3 and the harness's Python 3.7.
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$(pwd)
BUILD_DIR=${BUILD_DIR:-build}
PY37=${PY37:-/root/.pyenv/versions/3.7.16/bin/python3.7}

bash scripts/install-deps.sh
bash scripts/build.sh

echo "== C++ tests"
(cd "$BUILD_DIR" && ctest --output-on-failure --timeout 600 -j 1)

export PYTHONPATH="$ROOT/$BUILD_DIR/python:$ROOT"
echo "== Python tests (Debian python3)"
suites=(tests/python)
[ -d tests/simulator ] && suites+=(tests/simulator)
/usr/bin/python3 -m pytest -q -p no:cacheprovider "${suites[@]}"

# The C++ beneath is the same for both interpreters: under 3.7 a smoke set proves the
# binding surface (construction, one operation of each subsystem, the exception classes).
if [ -x "$PY37" ]; then
  echo "== Python smoke tests (harness Python 3.7)"
  "$PY37" - <<'PYEOF'
import sys
sys.path.append("/usr/lib/python3/dist-packages")
import pytest
sys.exit(pytest.main(["-q", "-p", "no:cacheprovider", "-m", "smoke", "tests/python"]))
PYEOF
fi

echo "== Installation (cmake --install, the installed vorna, the C++ example)"
bash scripts/test_install.sh
