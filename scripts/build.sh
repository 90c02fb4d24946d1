#!/usr/bin/env bash
# Configures and builds everything into ./build (or $BUILD_DIR). The Python module is
# built for Debian's python3 and, when present, for the harness's Python 3.7 as well.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
PY37_ROOT=${PY37_ROOT:-/root/.pyenv/versions/3.7.16}

extra=""
if [ -x "$PY37_ROOT/bin/python3.7" ]; then
  extra="$PY37_ROOT"
fi
generator=()
command -v ninja >/dev/null 2>&1 && generator=(-G Ninja)
if [ ! -f "$BUILD_DIR/CMakeCache.txt" ]; then
  cmake -S . -B "$BUILD_DIR" "${generator[@]}" \
    -DPython3_EXECUTABLE=/usr/bin/python3 \
    -DVORNA_EXTRA_PYTHON_ROOTS="$extra" >/dev/null
fi
cmake --build "$BUILD_DIR" -j "${JOBS:-2}" "$@"
