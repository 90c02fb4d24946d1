"""Many controllers from one process: N wrappers in N Python threads against N console
simulators (each its own process on its own loopback address), each running the login,
identity, the power figures and the inventory readers.

By default at the console's own pace (time scale 1), the pace a user sees: prints the
wall time of one controller alone and of N at once, their ratio, where the time goes per
phase (the login, which starts Firefox; the readers; the close), the CPU seconds of the
run, and the browsers' memory: each controller's Firefox process tree (the browser and
its content processes), resident memory summed and sampled while the run goes, peak.
`--controllers 8,16,32` runs each count in one call against the same one-alone run.
`--fast` runs at the compressed test pace instead (logins 0.15, readers 0.05), where
Firefox's start-up CPU is nearly all there is: a CPU figure more than a wall figure.

    /usr/bin/python3 bench/threads_bench.py [--controllers 8,16,32] [--settle adaptive] [--fast]
"""
import argparse
import os
import resource
import sys
import tempfile
import threading
import time


sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from bench_support import EARLIER_PREFS, Quiet, SimulatorProcess, process_tree_rss_kib, table  # noqa: E402

READERS = [
    ("get_product_sn", ()), ("get_guid", ()), ("get_bios_name", ()), ("web_get_firmware_version", ()),
    ("web_get_power_status", ()), ("web_get_power_capping_info", ({},)),
    ("web_get_main_board_info", ()), ("web_get_fan_web_info", ()), ("web_get_power_web_info", ()),
    ("web_get_cpu_info_vorna", ({"type": "all"},)), ("web_get_memory_web_info", ()), ("web_get_pcie_web_info", ()),
    ("web_get_netcard_web_info", ()),
]




BROWSER = {}  # browser-map entries of every wrapper (--earlier-launch)


def one_controller(sim, pictures, settle, logged_in, out, wrappers):
    """Logs in, waits at `logged_in` for the others, runs every reader, closes; records
    the phases' wall times in `out`."""
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    w = VornaWebWrapper({"host": None, "device": None, "settle": settle,
                         "browser": dict(BROWSER, screenshot_dir=pictures)})
    w.logger = Quiet()
    wrappers.append(w)
    try:
        t0 = time.perf_counter()
        w.web_login(sim.login_params())
        login = time.perf_counter() - t0
        logged_in.wait()
        t1 = time.perf_counter()
        for name, args in READERS:
            getattr(w, name)(*args)
        t2 = time.perf_counter()
        out["commands"] = w.command_count()
    finally:
        w.web_close()
    t3 = time.perf_counter()
    out.update(login=login, readers=t2 - t1, close=t3 - t2, total=t3 - t0)


class MemorySampler(object):
    """Samples the browsers' process trees every `interval` seconds on a thread of its
    own: the peak of each controller's tree and the peak of their sum."""

    def __init__(self, wrappers, interval=1.0):
        self.wrappers, self.interval = wrappers, interval
        self.peak_each, self.peak_all = 0, 0
        self.done = threading.Event()
        self.thread = threading.Thread(target=self.run, name="memory-sampler", daemon=True)
        self.thread.start()

    def run(self):
        while not self.done.wait(self.interval):
            pids = []
            for w in list(self.wrappers):
                pid = w.browser_pid  # None between browsers
                if pid:
                    pids.append(pid)
            if pids:
                totals = process_tree_rss_kib(pids)
                self.peak_each = max(self.peak_each, max(totals))
                self.peak_all = max(self.peak_all, sum(totals))

    def stop(self):
        self.done.set()
        self.thread.join()


def cpu_seconds():
    """CPU seconds used so far by this process and by its reaped children: the browsers
    (with their content processes, which each browser reaps) once they are closed."""
    own = resource.getrusage(resource.RUSAGE_SELF)
    children = resource.getrusage(resource.RUSAGE_CHILDREN)
    return own.ru_utime + own.ru_stime + children.ru_utime + children.ru_stime


def run_at_once(sims, pictures, settle, login_scale, readers_scale):
    """The logins at `login_scale`; once all are in, the readers at `readers_scale`.
    Returns the wall time, the CPU seconds the run used, the memory sampler, and each
    thread's phases."""
    from marlet.utils.time import set_time_scale
    set_time_scale(login_scale)
    results = [dict() for _ in sims]
    errors, wrappers = [], []
    logged_in = threading.Barrier(len(sims), action=lambda: set_time_scale(readers_scale), timeout=1800)

    def body(i):
        try:
            one_controller(sims[i], pictures, settle, logged_in, results[i], wrappers)
        except BaseException as e:  # reported after the join, the benchmark has no other way
            errors.append((i, e))
            logged_in.abort()

    threads = [threading.Thread(target=body, args=(i,), name="controller-%d" % i) for i in range(len(sims))]
    memory = MemorySampler(wrappers)
    cpu = cpu_seconds()
    start = time.perf_counter()
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    wall = time.perf_counter() - start
    cpu = cpu_seconds() - cpu
    memory.stop()
    if errors:
        raise RuntimeError("controller %d failed: %r" % errors[0])
    return wall, cpu, memory, results


HEADER = ("run", "wall s", "x alone", "CPU s", "login s", "readers s", "close s", "commands each",
          "browser MB each", "browsers MB all")


def phase_row(label, wall, alone_wall, cpu, memory, results):
    worst = lambda k: max(r[k] for r in results)  # noqa: E731
    return (label, "%.2f" % wall, "%.2f" % (wall / alone_wall), "%.2f" % cpu, "%.2f" % worst("login"),
            "%.2f" % worst("readers"), "%.2f" % worst("close"), results[0]["commands"],
            "%.0f" % (memory.peak_all / 1024.0 / len(results)), "%.0f" % (memory.peak_all / 1024.0))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--controllers", "--threads", default="8",
                        help="how many controllers at once; several, comma-separated, run one after the other")
    parser.add_argument("--settle", choices=("fixed", "adaptive"), default="fixed")
    parser.add_argument("--fast", action="store_true",
                        help="the compressed test pace (logins 0.15, readers 0.05) instead of the console's own")
    parser.add_argument("--scale", type=float, help="time scale of the readers' settles and waits (default 1)")
    # The login's settle is what lets the console's next page arrive after the click; many
    # browsers starting at once on two cores need more than the test pace for it.
    parser.add_argument("--login-scale", type=float, help="time scale of the logins (default 1)")
    parser.add_argument("--split", action="store_true",
                        help="also run with the readers not waiting, to tell the settles from the commands")
    parser.add_argument("--no-split", action="store_true", help=argparse.SUPPRESS)  # the earlier default
    parser.add_argument("--earlier-launch", action="store_true",
                        help="start Firefox as before the prepared profile and the lighter preferences")
    args = parser.parse_args()
    if args.earlier_launch:
        BROWSER.update(prepared_profile=False, prefs=EARLIER_PREFS)
    counts = [int(c) for c in args.controllers.split(",")]
    scale = args.scale if args.scale is not None else (0.05 if args.fast else 1.0)
    login_scale = args.login_scale if args.login_scale is not None else (0.15 if args.fast else 1.0)
    cores = os.cpu_count()

    pictures = tempfile.mkdtemp(prefix="vorna-threads-bench-")
    sims = []
    print("%s controllers, each: login (time scale %g), %d readers (time scale %g), close; %s settles; %s launch; "
          "%d cores, load %s" % (args.controllers, login_scale, len(READERS), scale, args.settle,
                                 "earlier" if args.earlier_launch else "present", cores, os.getloadavg()))
    print("phase columns: the slowest thread's seconds in that phase; the readers start once every login is in;")
    print("CPU s: this process and its browsers together; browser MB: resident memory of each Firefox process tree,")
    print("summed over the controllers at the sample where the sum peaked (each: that sum / the controllers)")
    rows, summary = [], []

    def report(row):  # each row as soon as it is measured: a later failure keeps the earlier figures
        rows.append(row)
        print("  ".join(map(str, row)), file=sys.stderr, flush=True)

    try:
        for i in range(max(counts)):
            sims.append(SimulatorProcess(address="127.0.0.%d" % (10 + i)))
        # Unmeasured: the process's first browser prepares the profile the others copy.
        from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
        first = VornaWebWrapper({"host": None, "device": None, "browser": dict(BROWSER, screenshot_dir=pictures)})
        first.openFirefox()
        first.web_close()
        alone_wall, alone_cpu, alone_memory, alone = run_at_once(sims[:1], pictures, args.settle, login_scale, scale)
        report(phase_row("1 alone", alone_wall, alone_wall, alone_cpu, alone_memory, alone))
        for n in counts:
            many_wall, many_cpu, many_memory, many = run_at_once(sims[:n], pictures, args.settle, login_scale, scale)
            report(phase_row("%d at once" % n, many_wall, alone_wall, many_cpu, many_memory, many))
            # No schedule can beat the cores: N controllers' CPU spread over every core.
            floor = max(alone_wall, many_cpu / cores)
            summary.append("%d at once / 1 alone: %.2f; CPU %.1f s (%.2f s per controller, 1 alone %.2f s); CPU floor "
                           "%.2f x 1 alone, measured %.2f x the floor"
                           % (n, many_wall / alone_wall, many_cpu, many_cpu / n, alone_cpu, floor / alone_wall,
                              many_wall / floor))
            if args.split and not args.no_split:
                # With the readers not waiting a reader may look before its page has come: a
                # failure here costs only the split, not the figures above.
                try:
                    qa_wall, qa_cpu, qa_memory, quick_alone = run_at_once(sims[:1], pictures, args.settle,
                                                                          login_scale, 1e-6)
                    report(phase_row("1 alone, readers not waiting", qa_wall, qa_wall, qa_cpu, qa_memory, quick_alone))
                    q_wall, q_cpu, q_memory, quick = run_at_once(sims[:n], pictures, args.settle, login_scale, 1e-6)
                    report(phase_row("%d at once, readers not waiting" % n, q_wall, qa_wall, q_cpu, q_memory, quick))
                except RuntimeError as e:
                    summary.append("split not measured: %s" % e)
                    continue
                for label, res, quick_res in (("1 alone", alone, quick_alone), ("%d at once" % n, many, quick)):
                    readers = max(r["readers"] for r in res)
                    commands = max(r["readers"] for r in quick_res)
                    summary.append("%s: login with Firefox start-up %.2f s; readers %.2f s, of which settles and waits "
                                   "%.2f s and commands %.2f s" % (label, max(r["login"] for r in res), readers,
                                                                   readers - commands, commands))
    finally:
        for s in sims:
            s.stop()
        for f in os.listdir(pictures):
            os.remove(os.path.join(pictures, f))
        os.rmdir(pictures)
        table(HEADER, rows)
        for line in summary:
            print(line)
        print("load average after: %s" % (os.getloadavg(),))


if __name__ == "__main__":
    main()
