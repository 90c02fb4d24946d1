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
# ccache: paths relative to the checkout and no build folder in the hash, so that every
# clone or worktree of the project shares one cache (the precompiled headers included).
export CCACHE_BASEDIR="$(pwd)" CCACHE_NOHASHDIR=1
export CCACHE_SLOPPINESS="pch_defines,time_macros,include_file_mtime,include_file_ctime"
generator=()
command -v ninja >/dev/null 2>&1 && generator=(-G Ninja)
if [ ! -f "$BUILD_DIR/CMakeCache.txt" ]; then
  cmake -S . -B "$BUILD_DIR" "${generator[@]}" \
    -DPython3_EXECUTABLE=/usr/bin/python3 \
    -DVORNA_EXTRA_PYTHON_ROOTS="$extra" >/dev/null
fi
cmake --build "$BUILD_DIR" -j "${JOBS:-2}" "$@"
