"""Fixed against adaptive settles: the demo's tour of a console, at the console's real
pace, against the simulator's realistic console (pages that fill their data by requests
answering after 0.3-3 s, saves after 1 s, a tab that asks from a timer, a page that polls
for ever), side by side in one run: fixed; adaptive from the browser's events (the
session's WebDriver BiDi channel); adaptive from the watcher injected into the page (a
session asked to have no channel, `{"browser": {"bidi": False}}`).

    PYTHONPATH=build/python:. /usr/bin/python3 bench/settle_bench.py [--time-scale 1.0]

Prints the wall time of each tour and their ratios, and whether the tours read the same
(every reader's output, compared as text). The tour: log in, identity, power figures,
every inventory reader, storage, the comparisons against the bench records, log out.

Then where the time of each tour went (the wrapper's activity journal and a clock around
each command of the tour): the commands that took longest, the settles grouped by
operation and length (asked, taken), the explicit waits (wait-for-element with its bound),
and the time of the adaptive tour outside its explicit waits against the fixed tour (the
waits are the operations' own and end as their elements appear under either policy).
"""
from __future__ import print_function

import argparse
import collections
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


class TimedCommands(object):
    """The wrapper as the tour sees it, with a clock around every command called on it:
    `times` holds (command, seconds, browser commands sent) in the order they ended."""

    def __init__(self, wrapper):
        self._wrapper = wrapper
        self.times = []

    def __getattr__(self, name):
        value = getattr(self._wrapper, name)
        if not callable(value):
            return value

        def timed(*args, **kwargs):
            started, sent = time.time(), self._wrapper.command_count()
            try:
                return value(*args, **kwargs)
            finally:
                after = self._wrapper.command_count()  # a new browser counts from 0
                self.times.append((name, time.time() - started, after - sent if after >= sent else after))
        return timed


# The tours: name -> the wrapper's params.
TOURS = collections.OrderedDict([
    ("fixed", {"settle": "fixed"}),
    ("adaptive", {"settle": "adaptive"}),                                # from the browser's events
    ("watcher", {"settle": "adaptive", "browser": {"bidi": False}}),     # from the injected watcher
])


def timed_tour(policy, url, load_default):
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    load_default()
    scheme, rest = url.split("://")
    address, port = rest.rsplit(":", 1)
    bmc = demo.Controller(address, "admin", "Admin@9000", int(port))
    params = {"host": None, "device": None}
    params.update(TOURS[policy])
    wrapper = VornaWebWrapper(params)
    wrapper._keep_activity_journal(True)
    commands = TimedCommands(wrapper)
    out = io.StringIO()
    started = time.time()
    try:
        with contextlib.redirect_stdout(out):
            tour(commands, bmc)
        elapsed = time.time() - started
    finally:
        journal = wrapper._activity_journal()
        wrapper.web_close()
    return Tour(policy, elapsed, out.getvalue(), wrapper._settle_stats(), journal, commands.times)


class Tour(object):
    """One timed tour and where its time went. Journal times are the wrapper's clock
    (console seconds); at a time scale of 1.0 they are wall seconds."""

    def __init__(self, policy, elapsed, output, stats, journal, commands):
        self.policy, self.elapsed, self.output, self.stats = policy, elapsed, output, stats
        self.journal, self.commands = journal, commands
        top = [r for r in journal if r["depth"] == 0]  # a settle inside a wait is in the wait
        self.settled = sum(r["taken"] for r in top if r["kind"] == "settle")
        self.waited = sum(r["taken"] for r in top if r["kind"] == "wait")

    def settles(self):
        """(operation, asked, count, total taken, longest taken), by total taken."""
        groups = collections.OrderedDict()
        for r in self.journal:
            if r["kind"] == "settle":
                groups.setdefault((r["operation"] or "-", r["seconds"]), []).append(r["taken"])
        rows = [(op, asked, len(t), sum(t), max(t)) for (op, asked), t in groups.items()]
        return sorted(rows, key=lambda row: -row[3])

    def waits(self):
        """(operation, what, bound, count, total taken, longest taken), by total taken."""
        groups = collections.OrderedDict()
        for r in self.journal:
            if r["kind"] == "wait":
                groups.setdefault((r["operation"] or "-", r["what"], r["seconds"]), []).append(r["taken"])
        rows = [(op, what, bound, len(t), sum(t), max(t)) for (op, what, bound), t in groups.items()]
        return sorted(rows, key=lambda row: -row[4])

    def command_times(self):
        """(command, count, wall seconds, settled, waited, browser commands), by wall
        seconds; settled and waited are journal seconds of the settles and waits tagged
        with the command (the rest: browser commands, element lookups and their polls)."""
        groups, sent = collections.OrderedDict(), collections.Counter()
        for name, seconds, commands in self.commands:
            groups.setdefault(name, []).append(seconds)
            sent[name] += commands
        inside = collections.defaultdict(lambda: [0.0, 0.0])
        for r in self.journal:
            if r["depth"] == 0:
                inside[r["operation"]][0 if r["kind"] == "settle" else 1] += r["taken"]
        rows = [(name, len(t), sum(t), inside[name][0], inside[name][1], sent[name]) for name, t in groups.items()]
        return sorted(rows, key=lambda row: -row[2])


def print_breakdown(tour, scale, rows=12):
    """The biggest items of one tour: commands, settles, explicit waits."""
    print()
    print("%s tour: %.1f s = settles %.1f s + explicit waits %.1f s + the rest (browser commands) %.1f s"
          % (tour.policy, tour.elapsed, tour.settled * scale, tour.waited * scale,
             tour.elapsed - (tour.settled + tour.waited) * scale))
    print("  %-40s %5s %9s %8s %7s %8s %8s" % ("command", "calls", "seconds", "settles", "waits", "the rest",
                                                "cmds sent"))
    for name, count, total, settled, waited, sent in tour.command_times()[:rows]:
        print("  %-40s %5d %9.1f %8.1f %7.1f %8.1f %8d" % (name, count, total, settled * scale, waited * scale,
                                                            total - (settled + waited) * scale, sent))
    print("  %-40s %5s %6s %9s %8s" % ("settle of operation", "count", "asked", "taken", "longest"))
    for op, asked, count, total, longest in tour.settles()[:rows]:
        print("  %-40s %5d %6g %9.1f %8.2f" % (op, count, asked, total * scale, longest * scale))
    print("  %-40s %5s %6s %9s %8s" % ("explicit wait of operation: for", "count", "bound", "taken", "longest"))
    for op, what, bound, count, total, longest in tour.waits()[:rows]:
        print("  %-40s %5d %6g %9.1f %8.2f" % (("%s: %s" % (op, what))[:40], count, bound, total * scale,
                                                  longest * scale))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--time-scale", type=float, default=1.0,
                        help="factor on every settle and wait and on the console's delays (1.0 = real pace)")
    parser.add_argument("--only", choices=tuple(TOURS),
                        help="one tour only, with its breakdown (to look into one policy; no ratio)")
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
        if args.only:
            one = timed_tour(args.only, url, load_default)
            print("%s tour: %7.1f s; load average at the end: %s"
                  % (args.only, one.elapsed, " ".join("%.2f" % x for x in os.getloadavg())))
            print_breakdown(one, args.time_scale)
            return 0
        tours = []
        for name in TOURS:
            t = timed_tour(name, url, load_default)
            tours.append(t)
            stats = t.stats
            line = "%-9s tour: %7.1f s" % (name, t.elapsed)
            if name != "fixed":
                line += ("  (%d of %d adaptive settles ended early; from events %d, from the watcher %d; "
                         "%d polls, %d failed; %.1f s of settles not slept)"
                         % (stats["early"], stats["settles"], stats["by_events"], stats["by_watcher"],
                            stats["polls"], stats["failed_polls"], stats["saved"]))
            print(line)
            sys.stdout.flush()
        fixed_tour = tours[0]
        fixed = fixed_tour.elapsed
        for t in tours[1:]:
            waits = t.waited * args.time_scale
            print("%s / fixed = %.3f (fixed takes %.1f times as long); minus its explicit waits (%.1f s): %.3f"
                  % (t.policy, t.elapsed / fixed, fixed / t.elapsed, waits, (t.elapsed - waits) / fixed))
        print("load average at the end: %s" % " ".join("%.2f" % x for x in os.getloadavg()))
        sys.stdout.flush()
        for t in tours:
            print_breakdown(t, args.time_scale)
        print()
        differ = [t for t in tours[1:] if t.output != fixed_tour.output]
        print("every tour read the same as the fixed one: %s" % ("yes" if not differ else "NO"))
        if differ:
            import difflib
            for t in differ:
                for line in difflib.unified_diff(fixed_tour.output.splitlines(), t.output.splitlines(), "fixed",
                                                 t.policy, lineterm=""):
                    print(line)
            return 1
        return 0
    finally:
        sim.terminate()
        sim.wait(10)


if __name__ == "__main__":
    sys.exit(main())
