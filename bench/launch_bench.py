"""One Firefox's start-up: CPU seconds and resident memory of a browser the module
starts, under several launch settings side by side in one run, interleaved round by
round so that a busy neighbour weighs on each alike.

Each round of a setting opens a wrapper's browser, loads the console's login page from a
simulator, stays idle a few seconds (Firefox finishes its start-up work after its first
window), and closes. Printed per setting, as medians over the rounds: the seconds until
the browser answers, the CPU seconds of the browser's process tree until the end of the
idle time and for its whole life (start, page, idle, quit), the peak resident memory of
the tree (sum over its processes, sampled) and how many processes it had.

    /usr/bin/python3 bench/launch_bench.py [--rounds 5] [--idle 3] [--variant NAME='{"prefs": {...}}']

The settings: "earlier" (an empty profile that Firefox fills in on its first run, and the
preferences the launcher gave before this benchmark's changes) and "now" (the launcher's
defaults); --breakdown adds "profile" (the prepared profile with the earlier
preferences) and "prefs" (the present preferences on an empty profile); each --variant
adds one, as browser-map entries over the defaults.
"""
import argparse
import json
import os
import resource
import statistics
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from bench_support import EARLIER_PREFS, Quiet, SimulatorProcess, process_tree_rss_kib, table  # noqa: E402

CLOCK_TICKS = os.sysconf("SC_CLK_TCK")



def tree(root):
    """The pids of root's process tree."""
    children = {}
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                with open("/proc/%s/stat" % entry) as f:
                    stat = f.read()
            except OSError:
                continue
            children.setdefault(int(stat[stat.rindex(")") + 2:].split()[1]), []).append(int(entry))
    found, todo = [], [root]
    while todo:
        pid = todo.pop()
        found.append(pid)
        todo.extend(children.get(pid, ()))
    return found


def tree_cpu_seconds(root):
    """CPU seconds of the live tree, with what its members have reaped of their own."""
    total = 0
    for pid in tree(root):
        try:
            with open("/proc/%d/stat" % pid) as f:
                fields = f.read().rsplit(")", 1)[1].split()
        except OSError:
            continue
        total += sum(int(fields[i]) for i in (11, 12, 13, 14))  # utime stime cutime cstime
    return total / float(CLOCK_TICKS)


def children_cpu():
    r = resource.getrusage(resource.RUSAGE_CHILDREN)
    return r.ru_utime + r.ru_stime


def one_round(settings, url, idle, pictures):
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    browser = dict(settings, screenshot_dir=pictures)
    w = VornaWebWrapper({"host": None, "device": None, "browser": browser})
    w.logger = Quiet()
    cpu_before = children_cpu()
    start = time.perf_counter()
    w.openFirefox()
    up = time.perf_counter() - start
    pid = w.browser_pid
    peak, processes, done = [0], [0], threading.Event()

    def sample():
        while not done.wait(0.2):
            peak[0] = max(peak[0], process_tree_rss_kib([pid])[0])
            processes[0] = max(processes[0], len(tree(pid)))

    sampler = threading.Thread(target=sample, daemon=True)
    sampler.start()
    try:
        w.browser.get(url)
        time.sleep(idle)
        started_cpu = tree_cpu_seconds(pid)
    finally:
        done.set()
        sampler.join()
        w.web_close()
    whole_cpu = children_cpu() - cpu_before
    return {"up": up, "started_cpu": started_cpu, "whole_cpu": whole_cpu, "rss_mb": peak[0] / 1024.0,
            "processes": processes[0]}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--idle", type=float, default=3.0, help="seconds the browser stays on the page")
    parser.add_argument("--variant", action="append", default=[], metavar="NAME=JSON",
                        help="another setting: browser-map entries over the defaults")
    parser.add_argument("--breakdown", action="store_true",
                        help="also the prepared profile alone and the preferences alone")
    args = parser.parse_args()
    settings = [("earlier", {"prepared_profile": False, "prefs": EARLIER_PREFS}), ("now", {})]
    if args.breakdown:
        settings += [("profile", {"prefs": EARLIER_PREFS}), ("prefs", {"prepared_profile": False})]
    for v in args.variant:
        name, _, text = v.partition("=")
        settings.append((name, json.loads(text)))

    pictures = tempfile.mkdtemp(prefix="vorna-launch-bench-")
    results = {name: [] for name, _ in settings}
    try:
        with SimulatorProcess() as sim:
            url = "https://%s:%d/login.html" % (sim.address, sim.port)
            print("%d rounds of %d settings, interleaved; %g s idle on the console's login page; %d cores, load %s"
                  % (args.rounds, len(settings), args.idle, os.cpu_count(), os.getloadavg()))
            for name, s in settings:  # an unmeasured round each: the prepared profile is made here
                one_round(s, url, 0, pictures)
            for r in range(args.rounds):
                for name, s in settings:
                    res = one_round(s, url, args.idle, pictures)
                    results[name].append(res)
                    print("round %d %-10s up %.2f s, CPU %.2f s started / %.2f s whole, %.0f MB in %d processes"
                          % (r + 1, name, res["up"], res["started_cpu"], res["whole_cpu"], res["rss_mb"],
                             res["processes"]), file=sys.stderr, flush=True)
    finally:
        for f in os.listdir(pictures):
            os.remove(os.path.join(pictures, f))
        os.rmdir(pictures)
    rows = []
    base = results["earlier"]
    med = lambda rs, k: statistics.median(x[k] for x in rs)  # noqa: E731
    for name, _ in settings:
        rs = results[name]
        if not rs:
            continue
        rows.append((name, "%.2f" % med(rs, "up"), "%.2f" % med(rs, "started_cpu"), "%.2f" % med(rs, "whole_cpu"),
                     "%.2f" % (med(rs, "whole_cpu") / med(base, "whole_cpu")), "%.0f" % med(rs, "rss_mb"),
                     "%.2f" % (med(rs, "rss_mb") / med(base, "rss_mb")), "%d" % med(rs, "processes")))
    table(("setting", "up s", "CPU started s", "CPU whole s", "x earlier", "RSS MB", "x earlier", "processes"), rows)
    print("load average after: %s" % (os.getloadavg(),))


if __name__ == "__main__":
    main()
