"""The console simulator's own endpoints: logins, sessions, actions, the control API."""
import threading
import time

import pytest

from simulator.server import start_server
from tests.simulator.client import call, login, request


@pytest.fixture
def sim():
    s = start_server(https=True)
    yield s
    s.shutdown()


def test_control_api_loads_scenarios_and_injects_faults(sim):
    call(sim, "POST", "/__sim/scenario", {"name": "agent_missing"})
    state, _ = call(sim, "GET", "/__sim/state")
    assert state["machine"]["software"]["agent"] is False
    assert state["machine"]["users"][0]["name"] == "admin"  # inherited from the default scenario
    call(sim, "POST", "/__sim/fault", {"missing": {"summary": ["txtSequence"]}, "refuse": ["power"]})
    page, _ = call(sim, "GET", "/pages/summary.html")
    assert 'window.SIM_MISSING = ["txtSequence"]' in page
    _, cookie = login(sim)
    reply, _ = call(sim, "POST", "/api/power", {"action": "po"}, cookie)
    assert reply["ok"] is False
    call(sim, "POST", "/__sim/fault", {"clear": True})
    reply, _ = call(sim, "POST", "/api/power", {"action": "po"}, cookie)
    assert reply["ok"] is True
    with pytest.raises(Exception):
        call(sim, "POST", "/__sim/scenario", {"name": "no_such_machine"})


def test_every_menu_page_is_served(sim):
    from simulator.pages_table import PLACEHOLDERS
    for page in PLACEHOLDERS:
        html, _ = call(sim, "GET", "/pages/%s.html" % page)
        assert "<title>" in html
    with pytest.raises(Exception):
        call(sim, "GET", "/pages/../server.py")


def test_a_saved_address_moves_the_console_and_the_old_one_goes_quiet(sim):
    _, cookie = login(sim)
    old_url, moved = sim.url, sim.url.replace("127.0.0.1", "127.0.0.3")
    reply, _ = call(sim, "POST", "/api/ipv4", {"address": "127.0.0.3", "mask": "255.0.0.0", "gateway": "127.0.0.1"},
                    cookie)
    assert reply["ok"] is True and sim.url == moved  # the save itself is answered on the old address
    with pytest.raises(Exception):
        request(old_url, "GET", "/login.html").close()
    state, _ = call(sim, "GET", "/__sim/state")  # the session and the machine moved along
    assert state["sessions"] == 1 and state["machine"]["network"]["ipv4"]["address"] == "127.0.0.3"


def test_dropped_and_held_requests_get_no_answer(sim):
    call(sim, "POST", "/__sim/fault", {"drop": ["/login.html"]})
    with pytest.raises(Exception):
        request(sim.url, "GET", "/login.html").close()
    call(sim, "POST", "/__sim/fault", {"clear": True, "hang": ["/login.html"]})
    release = threading.Timer(0.5, call, (sim, "POST", "/__sim/fault", {"clear": True}))
    release.start()
    started = time.monotonic()
    with pytest.raises(Exception):  # held until the fault is cleared, then dropped
        request(sim.url, "GET", "/login.html").close()
    assert time.monotonic() - started >= 0.5
    release.join()
    assert "<title>" in call(sim, "GET", "/login.html")[0]
