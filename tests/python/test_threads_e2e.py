"""Several controllers from one process: one wrapper per Python thread, each against its
own simulator process on its own loopback address with a different machine. Each
wrapper must read its own machine only, and every log line a wrapper writes must come
from its own thread and speak of its own controller."""
import copy
import threading

import pytest

from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from marlet.pytest_plugin import start_simulator
from marlet.utils.time import set_time_scale
from tests.python.console import patch, scenario_file
from tests.python.pace import TIME_SCALE

# Two wrappers prove that neither reads nor logs the other's controller as well as more
# would, at a third less of the run's time.
THREADS = 2
# Two browsers start and log in at once on a shared two-core machine: the login's
# settle and waits get three times the usual pace.
PACE = 3 * TIME_SCALE


class ThreadLog(object):
    """A logger for one wrapper that notes the thread each line was written from."""

    def __init__(self):
        self.lines = []

    def info(self, line):
        self.lines.append((threading.current_thread().name, line))
    warn = error = info


def machine_for(i, base_modules):
    """Controller i: its own serial number and GUID, and 4 + 2i memory modules of
    (i + 1) x 8 GiB each."""
    modules = copy.deepcopy(base_modules[:4 + 2 * i])
    for m in modules:
        m["Capacity"] = "%d MB" % (8192 * (i + 1))
    return {"identity": {"serial": "VRN-THREAD-%d" % i, "guid": "7EAD0000-0000-0000-0000-00000000000%d" % i},
            "inventory": {"memory": {"modules": modules}}}


@pytest.fixture(scope="module")
def simulators():
    sims = []
    try:
        for i in range(THREADS):
            sims.append(start_simulator("127.0.0.%d" % (40 + i)))
        yield sims
    finally:
        for s in sims:
            s.stop()


def test_wrappers_in_threads_read_their_own_controllers(simulators, tmp_path):
    base_modules = scenario_file()["inventory"]["memory"]["modules"]
    for i, sim in enumerate(simulators):
        sim.load({"name": "default"})
        patch(sim, machine_for(i, base_modules))

    set_time_scale(PACE)
    results = [dict() for _ in simulators]
    errors = []
    all_logged_in = threading.Barrier(THREADS, timeout=120)

    def controller(i):
        sim = simulators[i]
        w = VornaWebWrapper({"host": None, "device": None,
                             "browser": {"screenshot_dir": str(tmp_path / ("pictures%d" % i))}})
        w.logger = results[i]["log"] = ThreadLog()
        try:
            w.web_login({"bmc": sim.controller()})
            all_logged_in.wait()  # the readers of every controller run at the same time
            results[i]["sn"] = w.get_product_sn()
            results[i]["memory"] = w.web_get_memory_web_info()
            results[i]["commands"] = w.command_count()
        except BaseException as e:
            errors.append((i, e))
            all_logged_in.abort()
        finally:
            w.web_close()

    threads = [threading.Thread(target=controller, args=(i,), name="controller-%d" % i)
               for i in range(THREADS)]
    for t in threads:
        t.start()
    for t in threads:
        t.join(180)
    assert not any(t.is_alive() for t in threads), "a controller's thread did not finish"
    assert not errors, "controller %d failed: %r" % errors[0]

    for i, (sim, r) in enumerate(zip(simulators, results)):
        assert r["sn"] == "VRN-THREAD-%d" % i
        assert len(r["memory"]) == 4 + 2 * i
        assert {m["capacity"] for m in r["memory"]} == {"%d MB" % (8192 * (i + 1))}
        assert r["commands"] > 0
        lines = r["log"].lines
        assert {thread for thread, _ in lines} == {"controller-%d" % i}, "lines from another thread"
        texts = [line for _, line in lines]
        assert "[login] ipv4_address: %s" % sim.address in texts
        others = [s.address for s in simulators if s is not sim]
        assert not [t for t in texts if any(a in t for a in others)], "another controller in this log"
    counts = [r["commands"] for r in results]
    assert counts[0] < counts[1], "more modules, more cells read: %r" % counts
