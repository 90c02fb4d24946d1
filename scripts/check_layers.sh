#!/usr/bin/env bash
# The browser client is the bottom layer: a file of webdriver/ (or of its tests) includes
# the client's own headers, the standard library and third-party libraries, and nothing
# of the layers above it: no marlet/, no python/, no pybind11 or Python. Fails listing
# every include that breaks this. Also: a public header of the client (installed)
# includes nothing of detail/ (not installed).
set -euo pipefail
cd "$(dirname "$0")/.."

inc='[[:space:]]*#[[:space:]]*include[[:space:]]*'
all=$(grep -rnE --include='*.h' --include='*.cpp' "^$inc[\"<]" webdriver tests/webdriver || true)
# A quoted include names the client (or its tests) by its full path; an angle include
# names no layer above and not Python.
bad=$(grep -E ":[0-9]+:$inc(\"|<(marlet|python|pybind11)/|<Python\.h>)" <<<"$all" \
      | grep -vE ":[0-9]+:$inc\"(tests/)?webdriver/" || true)
hidden=$(grep -E "^webdriver/[^:]*\.h:[0-9]+:$inc\"webdriver/detail/" <<<"$all" | grep -v '^webdriver/detail/' || true)
bad=$(printf '%s\n%s' "$bad" "$hidden" | sed '/^$/d')
if [ -n "$bad" ]; then
  echo "webdriver/ includes what lies above it (its clock and error root are its own):"
  echo "$bad"
  exit 1
fi
echo "layers: webdriver/ includes nothing above it"
