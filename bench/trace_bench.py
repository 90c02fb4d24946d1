"""What a trace costs: the demo's tour (examples/demo.py: login, identity, power, every
inventory reader, the storage tree, the comparisons, logout) run untraced and traced
"on" side by side, in turns, against one console simulator, in one run.

For each side: the tour's wall time per round and the mean; for the traced side also
the trace's size and what it holds. Run from the checkout after building the module:

    /usr/bin/python3 bench/trace_bench.py [--rounds N] [--time-scale F]

The tour runs at the demo's pace (--time-scale 0.1) by default, so the settles weigh as
they do in the demo; a smaller scale leaves the commands and pictures to weigh more.
"""
import argparse
import contextlib
import io
import json
import os
import shutil
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from bench_support import ROOT, SimulatorProcess, table  # noqa: E402

sys.path.insert(0, os.path.join(ROOT, "examples"))
import demo  # noqa: E402


def tour(sim, trace_dir, pictures):
    """One demo tour on a new wrapper; the path of its trace (None untraced)."""
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    params = {"host": None, "device": None, "browser": {"screenshot_dir": pictures}}
    if trace_dir:
        params["trace"] = {"dir": trace_dir, "mode": "on"}
    w = VornaWebWrapper(params)
    w.web_login(sim.login_params())
    w.get_product_sn()
    w.web_get_firmware_version()
    w.web_get_power_status()
    w.web_get_power_capping_info({})
    with contextlib.redirect_stdout(io.StringIO()):
        demo.read_and_compare_inventory(w)
        demo.read_and_compare_storage(w)
    w.web_logout()
    w.web_close()
    return w.trace_path


def contents(path):
    kinds = {}
    pictures = 0
    with open(path, encoding="utf-8") as f:
        for line in f:
            r = json.loads(line)
            kinds[r["type"]] = kinds.get(r["type"], 0) + 1
            if r["type"] == "picture":
                pictures += len(r["png"]) * 3 // 4
    return kinds, pictures


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--rounds", type=int, default=3, help="tours of each side (default 3)")
    parser.add_argument("--time-scale", type=float, default=0.1, help="pace of the tour (default 0.1, the demo's)")
    args = parser.parse_args()

    import logging
    from marlet.utils.time import set_time_scale
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    VornaWebWrapper.logger.addHandler(logging.NullHandler())
    VornaWebWrapper.logger.propagate = False
    set_time_scale(args.time_scale)

    work = tempfile.mkdtemp(prefix="vorna-trace-bench-")
    times = {"untraced": [], "traced": []}
    trace = None
    try:
        with SimulatorProcess() as sim:
            tour(sim, None, work)  # warm-up: the first browser of a run starts slower
            for n in range(args.rounds):
                for side in ("untraced", "traced") if n % 2 == 0 else ("traced", "untraced"):
                    started = time.monotonic()
                    path = tour(sim, os.path.join(work, "traces") if side == "traced" else None, work)
                    times[side].append(time.monotonic() - started)
                    if path:
                        trace = path
        untraced = sum(times["untraced"]) / len(times["untraced"])
        traced = sum(times["traced"]) / len(times["traced"])
        print("The demo's tour at time scale %g, %d rounds each side, in turns:" % (args.time_scale, args.rounds))
        table(["side", "rounds (s)", "mean (s)"],
              [[side, " ".join("%.2f" % t for t in times[side]), "%.2f" % (sum(times[side]) / len(times[side]))]
               for side in ("untraced", "traced")])
        print("traced is %+.1f%% against untraced" % (100.0 * (traced - untraced) / untraced))
        kinds, picture_bytes = contents(trace)
        size = os.path.getsize(trace)
        print("one tour's trace: %.0f KiB (pictures %.0f KiB), records: %s"
              % (size / 1024.0, picture_bytes / 1024.0, ", ".join("%s %d" % kv for kv in sorted(kinds.items()))))
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
