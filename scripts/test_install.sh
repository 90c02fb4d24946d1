#!/usr/bin/env bash
# Installs the built tree to a temporary prefix and proves what a user gets from it:
# the installed `vorna --help` runs with nothing but the installed tree (no PYTHONPATH,
# no source tree), the pytest plugin runs a harness's test file from outside the tree
# with only the installed package on PYTHONPATH, and the C++ example builds against the
# installed CMake package and reads one console, the simulator, through the installed
# library.
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$(pwd)
BUILD_DIR=${BUILD_DIR:-build}
PREFIX=$(mktemp -d /tmp/vorna-install.XXXXXX)
SIM_PID=""
cleanup() {
  if [ -n "$SIM_PID" ]; then kill "$SIM_PID" 2>/dev/null || true; wait "$SIM_PID" 2>/dev/null || true; fi
  rm -rf "$PREFIX"
}
trap cleanup EXIT

cmake --install "$BUILD_DIR" --prefix "$PREFIX/usr" >/dev/null
echo "installed to $PREFIX/usr"

# The command line, from the installed tree alone (run from elsewhere, empty environment).
help=$(cd / && env -i PATH=/usr/bin:/bin HOME="$PREFIX" "$PREFIX/usr/bin/vorna" --help)
for name in web_get_memory_web_info compare_storage bmc_time_zone; do
  grep -qw "$name" <<<"$help" || { echo "installed vorna --help does not list $name"; exit 1; }
done
power='[{"Type": "PSU", "Manufacturer": "V", "Rated Power": "800W", "Input Mode": "AC", "BOM Code": "P1"}]'
bench='{"P1": {"Model": "M", "Manufacturer": "V", "PowerCapacityWatts": "800W", "PowerSupplyType": "AC"}}'
got=$(cd / && env -i PATH=/usr/bin:/bin "$PREFIX/usr/bin/vorna" call compare_power "[$power, $bench]") \
  || { echo "installed vorna could not run an operation of the installed module"; exit 1; }
[ "$got" = "null" ] || { echo "installed vorna: unexpected result $got"; exit 1; }
echo "installed vorna runs from the installed tree"

# The pytest plugin from the installed package alone: a harness's file elsewhere, its
# simulator the installed one (P/share/vorna). One test reads a value and meets a fault;
# one fails on purpose, and its report must name the operation's picture and the trace.
site=$(echo "$PREFIX"/usr/lib/python3*/site-packages)
mkdir -p "$PREFIX/harness"
cat >"$PREFIX/harness/test_console.py" <<'PYEOF'
import pytest

from marlet.exception.marlet_exception import MarletException


def test_a_value_and_a_fault(vorna, vorna_console):
    assert vorna_console.url.startswith("https://127.0.0.1:")
    assert vorna.current_user == vorna_console.username
    assert vorna.web_get_power_status() == "PowerOn"
    vorna_console.fault(missing={"power_control": ["current_state"]})
    with pytest.raises(MarletException):
        vorna.web_get_power_status()


@pytest.mark.vorna_scenario({"extends": "default", "power": {"state": "Off"}})
def test_fails_on_purpose(vorna, vorna_console):
    assert vorna.web_get_power_status() == "PowerOff"
    vorna_console.fault(missing={"power_control": ["current_state"]})
    vorna.web_get_power_status()
PYEOF
(cd "$PREFIX/harness" && env -i PATH=/usr/bin:/bin HOME="$PREFIX" PYTHONPATH="$site" \
  /usr/bin/python3 -m pytest -p no:cacheprovider --basetemp="$PREFIX/harness/tmp" \
  --vorna-time-scale 0.05 --vorna-settle fixed --vorna-trace retain-on-failure \
  --vorna-browser '{"headless": true}' --junitxml="$PREFIX/harness/report.xml" test_console.py) \
  >"$PREFIX/harness.log" 2>&1 || true
/usr/bin/python3 - "$PREFIX/harness.log" "$PREFIX/harness/report.xml" <<'PYEOF' || { cat "$PREFIX/harness.log"; exit 1; }
import os, re, sys
import xml.etree.ElementTree as ET
out = open(sys.argv[1], encoding="utf-8").read()
props = {p.get("name"): p.get("value") for p in ET.parse(sys.argv[2]).iter("property")}
assert re.search(r"\b1 failed, 1 passed\b", out), "expected one test passed and one failed"
assert "test_fails_on_purpose" in out and "test_a_value_and_a_fault" not in out.split("FAILURES", 1)[1]
section = out.split("- vorna -", 1)[1]
picture = re.search(r"^picture: (\S+)$", section, re.M).group(1)
assert picture.endswith("web_get_power_status_failed.png") and os.path.isfile(picture), picture
trace = re.search(r"^trace: (.*)$", section, re.M).group(1)
assert trace == "none" or os.path.exists(trace), trace
assert props.get("vorna_picture") == picture, props
PYEOF
bad=$(cd "$PREFIX/harness" && env -i PATH=/usr/bin:/bin HOME="$PREFIX" PYTHONPATH="$site" \
  /usr/bin/python3 -m pytest -p no:cacheprovider --vorna-browser '[1]' test_console.py 2>&1) && rc=0 || rc=$?
[ "$rc" = 4 ] && grep -q "vorna-browser" <<<"$bad" || { echo "a bad --vorna-browser was not refused: $bad"; exit 1; }
echo "the installed pytest plugin ran a harness's tests; the failed one's report names its picture"

# The C++ example against the installed package.
cmake -S examples/cpp -B "$PREFIX/example" -DCMAKE_PREFIX_PATH="$PREFIX/usr" >/dev/null
cmake --build "$PREFIX/example" -j "${JOBS:-2}" >/dev/null
"$PREFIX/example/vorna_example" --help >/dev/null

# ... and reading one console: the simulator on a free loopback port.
exec 3< <(cd "$ROOT" && exec /usr/bin/python3 -m simulator.server --address 127.0.0.1 --port 0 --https)
SIM_PID=$!
url=""
for _ in $(seq 300); do
  read -r -t 1 line <&3 || continue
  case "$line" in "SIMULATOR READY"*) url=${line##* }; break ;; esac
done
[ -n "$url" ] || { echo "the console simulator did not start"; exit 1; }
port=${url##*:}
echo "Admin@9000" >"$PREFIX/pw"
out=$("$PREFIX/example/vorna_example" 127.0.0.1 "$port" admin "$PREFIX/pw" 0.05 2>"$PREFIX/example.log") \
  || { cat "$PREFIX/example.log"; exit 1; }
/usr/bin/python3 - "$out" <<'PYEOF'
import json, sys
got = json.loads(sys.argv[1])
scenario = json.load(open("simulator/scenarios/default.json", encoding="utf-8"))
assert got["main_board"]["board_id"] == scenario["inventory"]["mainboard"]["board_id"], got
assert got["serial_number"] == scenario["identity"]["serial"], got
PYEOF
if grep -q "Admin@9000" "$PREFIX/example.log"; then echo "the example showed the password"; exit 1; fi
echo "the C++ example read the console through the installed library"
