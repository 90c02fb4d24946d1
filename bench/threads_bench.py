"""Many controllers from one process: N wrappers in N Python threads against N console
simulators (each its own process on its own loopback address), each running the login,
identity, the power figures and the inventory readers at the end-to-end pace.

Prints the wall time of one controller alone and of N at once, and their ratio (target
at most 1.3), with where the time goes per phase: the login (which starts Firefox), the
readers, and the close; and the same readers with no waiting, which tells the settles'
share from the commands'.

    /usr/bin/python3 bench/threads_bench.py [--threads 8] [--scale 0.05] [--login-scale 0.15]
"""
import argparse
import os
import resource
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from bench_support import SimulatorProcess, table  # noqa: E402

READERS = [
    ("get_product_sn", ()), ("get_guid", ()), ("get_bios_name", ()), ("web_get_firmware_version", ()),
    ("web_get_power_status", ()), ("web_get_power_capping_info", ({},)),
    ("web_get_main_board_info", ()), ("web_get_fan_web_info", ()), ("web_get_power_web_info", ()),
    ("web_get_cpu_info_vorna", ({"type": "all"},)), ("web_get_memory_web_info", ()), ("web_get_pcie_web_info", ()),
    ("web_get_netcard_web_info", ()),
]


class Quiet(object):
    def info(self, line):
        pass
    warn = error = info


def one_controller(sim, pictures, logged_in, out):
    """Logs in, waits at `logged_in` for the others, runs every reader, closes; records
    the phases' wall times in `out`."""
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    w = VornaWebWrapper({"host": None, "device": None, "browser": {"screenshot_dir": pictures}})
    w.logger = Quiet()
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


def cpu_seconds():
    """CPU seconds used so far by this process and by its reaped children: the browsers
    (with their content processes, which each browser reaps) once they are closed."""
    own = resource.getrusage(resource.RUSAGE_SELF)
    children = resource.getrusage(resource.RUSAGE_CHILDREN)
    return own.ru_utime + own.ru_stime + children.ru_utime + children.ru_stime


def run_at_once(sims, pictures, login_scale, readers_scale):
    """The logins at `login_scale`; once all are in, the readers at `readers_scale`.
    Returns the wall time, the CPU seconds the run used, and each thread's phases."""
    from marlet.utils.time import set_time_scale
    set_time_scale(login_scale)
    results = [dict() for _ in sims]
    errors = []
    logged_in = threading.Barrier(len(sims), action=lambda: set_time_scale(readers_scale), timeout=600)

    def body(i):
        try:
            one_controller(sims[i], pictures, logged_in, results[i])
        except BaseException as e:  # reported after the join, the benchmark has no other way
            errors.append((i, e))
            logged_in.abort()

    threads = [threading.Thread(target=body, args=(i,), name="controller-%d" % i) for i in range(len(sims))]
    cpu = cpu_seconds()
    start = time.perf_counter()
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    wall = time.perf_counter() - start
    cpu = cpu_seconds() - cpu
    if errors:
        raise RuntimeError("controller %d failed: %r" % errors[0])
    return wall, cpu, results


HEADER = ("run", "wall s", "CPU s", "login s", "readers s", "close s", "commands each")


def phase_row(label, wall, cpu, results):
    worst = lambda k: max(r[k] for r in results)  # noqa: E731
    return (label, "%.2f" % wall, "%.2f" % cpu, "%.2f" % worst("login"), "%.2f" % worst("readers"),
            "%.2f" % worst("close"), results[0]["commands"])


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--threads", type=int, default=8)
    parser.add_argument("--scale", type=float, default=0.05, help="time scale of the readers' settles and waits")
    # The login's settle is what lets the console's next page arrive after the click; with
    # eight browsers starting on two cores that takes longer than 30 s x 0.05.
    parser.add_argument("--no-split", action="store_true",
                        help="skip the runs with the readers not waiting (half the time)")
    parser.add_argument("--login-scale", type=float, default=0.15, help="time scale of the logins")
    args = parser.parse_args()
    cores = os.cpu_count()

    pictures = tempfile.mkdtemp(prefix="vorna-threads-bench-")
    sims = []
    print("%d controllers, each: login (time scale %g), %d readers (time scale %g), close; %d cores" %
          (args.threads, args.login_scale, len(READERS), args.scale, cores))
    print("phase columns: the slowest thread's seconds in that phase; the readers start once every login is in;")
    print("CPU s: this process and its browsers together")
    rows, summary = [], []

    def report(row):  # each row as soon as it is measured: a later failure keeps the earlier figures
        rows.append(row)
        print("  ".join(map(str, row)), file=sys.stderr)

    try:
        for i in range(args.threads):
            sims.append(SimulatorProcess(address="127.0.0.%d" % (10 + i)))
        alone_wall, alone_cpu, alone = run_at_once(sims[:1], pictures, args.login_scale, args.scale)
        report(phase_row("1 alone", alone_wall, alone_cpu, alone))
        many_wall, many_cpu, many = run_at_once(sims, pictures, args.login_scale, args.scale)
        report(phase_row("%d at once" % args.threads, many_wall, many_cpu, many))
        summary.append("ratio %d at once / 1 alone: %.2f (target at most 1.3)" % (args.threads, many_wall / alone_wall))
        # No schedule can beat the cores: N controllers' CPU spread over every core.
        floor = max(alone_wall, many_cpu / cores)
        summary.append("CPU floor of %d at once: %.2f s of CPU / %d cores = %.2f s wall, %.2f x 1 alone; measured %.2f x the floor"
                       % (args.threads, many_cpu, cores, many_cpu / cores, floor / alone_wall, many_wall / floor))
        if not args.no_split:
            # With the readers not waiting a reader may look before its page has come: a
            # failure here costs only the split, not the figures above.
            try:
                quick_alone_wall, quick_alone_cpu, quick_alone = run_at_once(sims[:1], pictures, args.login_scale, 1e-6)
                report(phase_row("1 alone, readers not waiting", quick_alone_wall, quick_alone_cpu, quick_alone))
                quick_wall, quick_cpu, quick = run_at_once(sims, pictures, args.login_scale, 1e-6)
                report(phase_row("%d at once, readers not waiting" % args.threads, quick_wall, quick_cpu, quick))
            except RuntimeError as e:
                summary.append("split not measured: %s" % e)
                return
            summary.append("ratio with the readers not waiting: %.2f" % (quick_wall / quick_alone_wall))
            for label, res, quick_res in (("1 alone", alone, quick_alone), ("%d at once" % args.threads, many, quick)):
                readers = max(r["readers"] for r in res)
                commands = max(r["readers"] for r in quick_res)
                summary.append("%s: login with Firefox start-up %.2f s; readers %.2f s, of which settles and waits %.2f s and "
                                       "commands %.2f s" % (label, max(r["login"] for r in res), readers, readers - commands, commands))
    finally:
        for s in sims:
            s.stop()
        for f in os.listdir(pictures):
            os.remove(os.path.join(pictures, f))
        os.rmdir(pictures)
        table(HEADER, rows)
        for line in summary:
            print(line)


if __name__ == "__main__":
    main()
