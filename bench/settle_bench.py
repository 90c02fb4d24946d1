"""Fixed against adaptive settles: the demo's tour of a console, at the console's real
pace, against the simulator's realistic console (pages that fill their data by requests
answering after 0.3-3 s, saves after 1 s, a tab that asks from a timer, a page that polls
for ever), once with each policy, side by side in one run.

    PYTHONPATH=build/python:. /usr/bin/python3 bench/settle_bench.py [--time-scale 1.0]

Prints the wall time of each tour and their ratio, and whether both tours read the same
(every reader's output, compared as text). The tour: log in, identity, power figures,
every inventory reader, storage, the comparisons against the bench records, log out.
"""
from __future__ import print_function

import argparse
import contextlib
import io
import os
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, ROOT)

from examples import demo  # noqa: E402

# The inventory readers the demo does not print, each read once more in the tour.
MORE_READERS = ("get_back_info", "web_get_hard_back_board_info", "web_get_riser_info", "web_get_other_raid_info",
                "get_tpm_info", "get_nic_info", "web_get_fccard_info", "web_get_other_devices_info")


def start_simulator(scale):
    proc = subprocess.Popen(
        [sys.executable, "-m", "simulator.server", "--address", "127.0.0.1", "--port", "0", "--https",
         "--latency", "realistic", "--latency-scale", str(scale)],
        cwd=ROOT, stdout=subprocess.PIPE, universal_newlines=True)
    deadline = time.time() + 30
    while time.time() < deadline:
        line = proc.stdout.readline()
        if line.startswith("SIMULATOR READY"):
            return proc, line.split()[-1]
        if not line and proc.poll() is not None:
            break
    proc.kill()
    raise SystemExit("the console simulator did not start")


def tour(wrapper, bmc):
    """The demo's tour (examples/demo.py main), printing what it reads."""
    wrapper.web_login({"bmc": bmc})
    print("serial number:", wrapper.get_product_sn())
    print("firmware versions:", wrapper.web_get_firmware_version())
    print("power state:", wrapper.web_get_power_status())
    print("power figures:", wrapper.web_get_power_capping_info({}))
    demo.read_and_compare_inventory(wrapper)
    for name in MORE_READERS:
        try:
            print("%s:" % name, getattr(wrapper, name)())
        except Exception as e:  # a reader's own failure is part of what it reads
            print("%s: %s: %s" % (name, type(e).__name__, e))
    demo.read_and_compare_storage(wrapper)
    wrapper.web_logout()
    print("logged out; isLogin =", wrapper.isLogin)


def timed_tour(policy, url, load_default):
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    load_default()
    scheme, rest = url.split("://")
    address, port = rest.rsplit(":", 1)
    bmc = demo.Controller(address, "admin", "Admin@9000", int(port))
    wrapper = VornaWebWrapper({"host": None, "device": None, "settle": policy})
    out = io.StringIO()
    started = time.time()
    try:
        with contextlib.redirect_stdout(out):
            tour(wrapper, bmc)
        elapsed = time.time() - started
    finally:
        wrapper.web_close()
    return elapsed, out.getvalue(), wrapper._settle_stats()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--time-scale", type=float, default=1.0,
                        help="factor on every settle and wait and on the console's delays (1.0 = real pace)")
    args = parser.parse_args()

    from marlet.utils.time import set_time_scale
    set_time_scale(args.time_scale)
    sim, url = start_simulator(args.time_scale)

    def load_default():
        import json
        import ssl
        from urllib.request import Request, urlopen
        ctx = ssl.create_default_context()
        ctx.check_hostname = False
        ctx.verify_mode = ssl.CERT_NONE
        req = Request(url + "/__sim/scenario", data=json.dumps({"name": "default"}).encode("utf-8"),
                      method="POST", headers={"Content-Type": "application/json"})
        urlopen(req, context=ctx, timeout=10).read()

    try:
        print("console: %s (realistic latency, scale %g); time scale %g" % (url, args.time_scale, args.time_scale))
        sys.stdout.flush()
        fixed, fixed_out, _ = timed_tour("fixed", url, load_default)
        print("fixed tour:    %7.1f s" % fixed)
        sys.stdout.flush()
        adaptive, adaptive_out, stats = timed_tour("adaptive", url, load_default)
        print("adaptive tour: %7.1f s  (%d of %d adaptive settles ended early, %d polls, %d failed; "
              "%.1f s of settles not slept)"
              % (adaptive, stats["early"], stats["settles"], stats["polls"], stats["failed_polls"], stats["saved"]))
        print("adaptive / fixed = %.3f (fixed takes %.1f times as long)" % (adaptive / fixed, fixed / adaptive))
        same = fixed_out == adaptive_out
        print("both tours read the same: %s" % ("yes" if same else "NO"))
        if not same:
            import difflib
            for line in difflib.unified_diff(fixed_out.splitlines(), adaptive_out.splitlines(), "fixed", "adaptive",
                                             lineterm=""):
                print(line)
            return 1
        return 0
    finally:
        sim.terminate()
        sim.wait(10)


if __name__ == "__main__":
    sys.exit(main())
