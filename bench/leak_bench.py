"""Leaks over many browser lifetimes, measured (a benchmark, not a test).

    PYTHONPATH=build/python:. /usr/bin/python3 bench/leak_bench.py [--cycles 100] [--login]

Opens and closes a browser --cycles times (openFirefox/close; with --login, web_login and
web_close against a console simulator in a child process, so that the memory measured
is the driver's alone), then runs the rough ends in child
interpreters: a browser killed by its pid, an interpreter that exits with a live
wrapper, and a Ctrl-C in a wait. Prints, for the descriptors and the resident memory of
this process, the first, last and peak values and the slope per cycle (least squares
over the cycles after the first tenth, once the caches are warm), and counts what is
left: browser or driver processes and temporary profiles (all should be 0).
"""
import argparse
import json
import os
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
TMP = tempfile.mkdtemp(prefix="vorna-leak-bench-")
os.environ["TMPDIR"] = TMP  # the driver's profiles land here, apart from everyone else's
sys.path[:0] = [os.path.join(ROOT, "build", "python"), ROOT]

from bench_support import SimulatorProcess  # noqa: E402
from marlet.utils.time import set_time_scale  # noqa: E402
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper  # noqa: E402
from tests.python.leaks import live_in_groups, open_fds, profiles, rss_kib  # noqa: E402


def slope(values):
    n = len(values)
    if n < 2:
        return 0.0
    mean_x, mean_y = (n - 1) / 2.0, sum(values) / float(n)
    num = sum((i - mean_x) * (v - mean_y) for i, v in enumerate(values))
    den = sum((i - mean_x) ** 2 for i in range(n))
    return num / den


def summary(name, values, unit):
    warm = values[max(1, len(values) // 10):]
    print("%-22s first %8d  last %8d  peak %8d  slope %+.3f %s/cycle" %
          (name, values[0], values[-1], max(values), slope(warm), unit))


def wait_gone(groups, timeout=15):
    deadline = time.time() + timeout
    while live_in_groups(groups) and time.time() < deadline:
        time.sleep(0.05)
    return live_in_groups(groups)


def child(mode, *args):
    env = dict(os.environ, PYTHONPATH=os.pathsep.join([os.path.join(ROOT, "build", "python"), ROOT]))
    start = time.time()
    proc = subprocess.run([sys.executable, "-m", "tests.python.leak_child", mode] + list(args), cwd=ROOT, env=env,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, universal_newlines=True, timeout=600)
    lines = [json.loads(x) for x in proc.stdout.splitlines() if x.startswith("{")]
    left = wait_gone([x["pid"] for x in lines if x.get("pid")])
    extra = ""
    if mode == "interrupt" and lines:
        extra = " (%s after %.2f s)" % (lines[0].get("outcome"), lines[0].get("seconds", 0))
    print("%-22s exit %d in %5.1f s, processes left %d, profiles left %d%s" %
          (mode, proc.returncode, time.time() - start, len(left), len(profiles(TMP)), extra))
    if proc.returncode != 0:
        print(proc.stderr[-2000:])
    return proc.returncode == 0 and not left and not profiles(TMP)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--cycles", type=int, default=100)
    parser.add_argument("--login", action="store_true", help="web_login/web_close against the simulator")
    a = parser.parse_args()

    sim = None
    if a.login:
        # The console in a process of its own: its logs grow with every login, and this
        # process's memory is to be the driver's alone.
        sim = SimulatorProcess()
        set_time_scale(0.05)
    w = VornaWebWrapper({"browser": {"screenshot_dir": os.path.join(TMP, "pictures")}})
    fds, rss, pids = [], [], []
    start = time.time()
    for i in range(a.cycles):
        if sim:
            w.web_login({"bmc": {"local_ip": sim.address, "username": "admin", "password": "Admin@9000",
                                 "extra_port": {"https": sim.port}}})
            pids.append(w.browser_pid)
            w.web_close()
        else:
            w.openFirefox()
            pids.append(w.browser_pid)
            w.close()
        fds.append(open_fds())
        rss.append(rss_kib())
        if (i + 1) % 10 == 0:
            print("cycle %d/%d, %.1f s per cycle" % (i + 1, a.cycles, (time.time() - start) / (i + 1)), flush=True)
    left = wait_gone(pids)
    print("%d %s cycles in %.1f s" % (a.cycles, "web_login/web_close" if sim else "openFirefox/close",
                                      time.time() - start))
    summary("file descriptors", fds, "fds")
    summary("resident memory", rss, "KiB")
    print("%-22s processes left %d, profiles left %d" % ("cycles", len(left), len(profiles(TMP))))
    ok = not left and not profiles(TMP)
    for mode in ("kill", "exit-live", "interrupt"):
        ok = child(mode) and ok
    if sim:
        sim.stop()
    print("RESULT", "clean" if ok else "LEAKS")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
