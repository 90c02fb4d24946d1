"""A console logged in once for a whole test module: most end-to-end tests read or change
the machine through one login, which saves a browser start and a login per test."""
import json
import os
import time

from marlet.utils.time import set_time_scale
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.pace import TIME_SCALE, roomy_scale

SCENARIOS = os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))),
                         "simulator", "scenarios")


def scenario_file(name="default.json"):
    """A file of the simulator's scenarios as JSON: the default machine unless named."""
    with open(os.path.join(SCENARIOS, name), encoding="utf-8") as f:
        return json.load(f)


def logged_in_console(simulator, tmp_path_factory, scenario="default"):
    """Generator for a module-scoped fixture: yields (wrapper, simulator) with `scenario`
    loaded and the wrapper logged in; clears the faults and closes the browser after."""
    set_time_scale(TIME_SCALE)  # module fixtures run before the per-test fast clock
    simulator.load({"name": scenario} if isinstance(scenario, str) else {"scenario": scenario})
    w = VornaWebWrapper({"browser": {"screenshot_dir": str(tmp_path_factory.mktemp("pictures"))}})
    log_in(w, {"bmc": simulator.controller()})
    yield w, simulator
    simulator.fault({"clear": True})
    w.web_close()


def eventually(read, accept, timeout=20):
    """The console saves in the background after a click: polls `read()` until its value
    equals `accept` (or `accept(value)` holds, for a predicate) or `timeout` seconds pass,
    and returns the last value read."""
    holds = accept if callable(accept) else (lambda value: value == accept)
    deadline = time.time() + timeout
    value = read()
    while not holds(value) and time.time() < deadline:
        time.sleep(0.05)
        value = read()
    return value


def patch(sim, machine):
    """Changes the machine in place (maps merge, anything else replaces); the login
    survives, where a scenario load would end it."""
    sim.request("POST", "/__sim/machine", machine)


# Console seconds from the click on the login button to the end of the login's wait for
# the console's menu: a settle of 30 s, then waits of 5 s and 5 s.
LOGIN_AFTER_CLICK = 40


def log_in(w, params):
    """w.web_login(params) at a pace that gives the console's first page after the click
    4 s of real time, twice the tests' pace: at the tests' pace a fresh browser on a busy
    machine may not show it in time. Back at the tests' pace after; returns the result."""
    set_time_scale(roomy_scale(LOGIN_AFTER_CLICK, real=4.0))
    try:
        return w.web_login(params)
    finally:
        set_time_scale(TIME_SCALE)
