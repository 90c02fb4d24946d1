"""Whole console operations against the simulator with no waiting: the login, the memory
table of 32 modules, the two-controller storage tree of 24 disks and the network card
tree of 8 cards with 4 ports each (scenario simulator/scenarios/bench.json).

For each operation: wall time, the protocol commands it sent (the session's counter)
beside the count its code path asks for, and this process's resident memory (peak and
after). Run from the checkout after building the module:

    /usr/bin/python3 bench/ops_bench.py [--repeat N]

"No waiting": set_time_scale refuses 0, so the readers run at 1e-6 (--scale). A 30-second
settle then lasts 30 microseconds, and a wait or a lookup retry checks once and gives up
(a virtual second passes in a microsecond), which is what a scale of 0 would mean. The
login alone runs at the end-to-end pace (0.05): after its click the console's next page
arrives on its own time, and the login's settle and wait are what let it arrive; its
wait for the password-tips dialog (absent) polls a few times at that pace, so its count
is a range.
"""
import argparse
import os
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from bench_support import ROOT, SimulatorProcess, rss_kib, table  # noqa: E402

NO_WAIT = 1e-6
LOGIN_PACE = 0.05

# Commands of the shared steps, headless (no highlight script): a click on an element the
# operation found itself is a lookup and a click; a located click (the element layer's)
# also asks whether the element's page has loaded; entering the content frame is a lookup
# by id and a switch.
CLICK = 2
LOCATED_CLICK = 3
ENTER_FRAME = 2
LEAVE_FRAME = 1
SCREENSHOT = 1
TEXT_AT = 2  # a lookup under an element and its text


def expected_login():
    return (1          # new session
            + 1        # navigate to the login page
            + 2        # wait for the user name field: lookup, displayed
            + 2 * 5    # two fills: lookup, type attribute, tag name, clear, send keys
            + LOCATED_CLICK    # the login button
            + 1        # the password-tips dialog: one lookup, absent (and its polls)
            + 2        # wait for the menu: lookup, displayed
            + 1)       # the title for the log line


def open_system_info():
    return LOCATED_CLICK + LOCATED_CLICK + ENTER_FRAME


def expected_memory(machine):
    modules = machine["inventory"]["memory"]["modules"]
    cells = 11 + 1 + 1  # the eleven titled cells, the part number and the BOM code
    return (open_system_info() + LOCATED_CLICK + 1 + SCREENSHOT  # tab, row lookup, picture
            + len(modules) * cells * TEXT_AT + LEAVE_FRAME)


def expected_netcards(records):
    n = open_system_info() + LOCATED_CLICK + 1 + SCREENSHOT + LEAVE_FRAME
    for card in records:
        props = len(card) - 1  # every key but portInfos is one property row
        n += CLICK + 1 + 1 + props * 2 * TEXT_AT  # card link, card table, its rows, label and value
        n += 1 + 1  # port table, its rows
        for port in card["portInfos"]:
            details = len(port) - 4
            n += CLICK + 4 * TEXT_AT + 1 + 1 + details * 2 * TEXT_AT + CLICK
    return n


def disk_commands(disk):
    hidden_by_style = sum(1 for a in disk.get("sas_address", []) if not a)
    visible = 9 + len(disk.get("sas_address", [])) - hidden_by_style + 5
    # title click, title text, pane rows; each row: style; unstyled rows: class; shown
    # rows: label and value.
    return CLICK + TEXT_AT + 1 + visible * (1 + 1 + 2 * TEXT_AT) + hidden_by_style * 1 + 1 * 2


def expected_storage(machine):
    s = machine["storage"]
    n = LOCATED_CLICK + 3 * LOCATED_CLICK + ENTER_FRAME + LOCATED_CLICK + 1 + SCREENSHOT + LEAVE_FRAME
    top_title = CLICK + TEXT_AT  # every top entry: title clicked, then read
    for c in s["controllers"]:
        n += top_title + 1  # its children
        by_name = {d["title"].split("(")[0]: d for d in c["disks"]}
        used = set()
        for ld in c.get("logical_drives", []):
            n += TEXT_AT + CLICK + 1  # title, expander, its disks
            for name in ld["disks"]:
                used.add(name)
                n += disk_commands(by_name[name])
        for d in c["disks"]:
            if d["title"].split("(")[0] not in used:
                n += TEXT_AT + disk_commands(d)
    for d in s.get("pass_through", []):
        n += top_title + TEXT_AT + disk_commands(d)
    n += len(s.get("others", [])) * (top_title + TEXT_AT)
    return n


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--repeat", type=int, default=3, help="runs of each reader (default 3)")
    parser.add_argument("--scale", type=float, default=NO_WAIT, help="time scale of the readers")
    args = parser.parse_args()

    from marlet.utils.time import set_time_scale
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    from simulator.state import load_scenario

    machine = load_scenario("bench")
    rows = []
    pictures = tempfile.mkdtemp(prefix="vorna-ops-bench-")
    with SimulatorProcess(scenario="bench") as sim:
        w = VornaWebWrapper({"host": None, "device": None, "browser": {"screenshot_dir": pictures}})

        class Quiet(object):
            def info(self, line):
                pass
            warn = error = info

        w.logger = Quiet()
        try:
            def run(name, call, expected_of):
                before = w.command_count()
                start = time.perf_counter()
                result = call()
                wall = time.perf_counter() - start
                sent = w.command_count() - before
                expected = expected_of(result)
                peak, now = rss_kib()
                rows.append((name, "%.3f" % wall, sent, expected, sent - expected if isinstance(expected, int) else "",
                             "%.1f" % (peak / 1024.0), "%.1f" % (now / 1024.0)))
                return result

            set_time_scale(LOGIN_PACE)
            # At most five polls fit in the tips dialog's five-second wait at one a second.
            run("web_login", lambda: w.web_login(sim.login_params()),
                lambda r: "%d..%d" % (expected_login(), expected_login() + 5))
            set_time_scale(args.scale)
            for _ in range(args.repeat):
                mem = run("web_get_memory_web_info", w.web_get_memory_web_info, lambda r: expected_memory(machine))
                assert len(mem) == 32, "the bench scenario has 32 modules, read %d" % len(mem)
                tree = run("get_storage_info", lambda: w.get_storage_info({"raid_disk": True}),
                           lambda r: expected_storage(machine))
                assert sum(len(v) for v in tree.values()) == 24, "24 disks under the controllers"
                cards = run("web_get_netcard_web_info", w.web_get_netcard_web_info, expected_netcards)
                assert len(cards) >= 8 and all(len(c["portInfos"]) == 4 for c in cards[:8])
        finally:
            w.web_close()
    print("readers at time scale %g, the login at %g; memory is this process's resident set, MiB" %
          (args.scale, LOGIN_PACE))
    table(("operation", "wall s", "commands", "expected", "diff", "peak MiB", "after MiB"), rows)
    for f in os.listdir(pictures):
        os.remove(os.path.join(pictures, f))
    os.rmdir(pictures)


if __name__ == "__main__":
    main()
