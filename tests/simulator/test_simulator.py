"""The console simulator's own endpoints: logins, sessions, actions, the control API."""
import json

import pytest

from simulator.server import start_server
from tests.simulator.client import request


@pytest.fixture
def sim():
    s = start_server(https=True)
    yield s
    s.shutdown()


def call(sim, method, path, body=None, cookie=None):
    with request(sim.url, method, path, body, cookie) as r:
        text = r.read().decode("utf-8")
        return (json.loads(text) if r.headers["Content-Type"].startswith("application/json") else text,
                r.headers.get("Set-Cookie"))


def login(sim, user="admin", password="Admin@9000"):
    reply, cookie = call(sim, "POST", "/api/login", {"username": user, "password": password})
    return reply, cookie.split(";")[0] if cookie else None


def test_login_sessions_and_the_menu(sim):
    reply, cookie = login(sim, password="wrong")
    assert reply == {"ok": False, "message": "Invalid user name or password."} and cookie is None
    with pytest.raises(Exception):
        call(sim, "GET", "/api/menu")  # no session: 401
    reply, cookie = login(sim)
    assert reply["ok"] is True and reply["password_tips"] is False
    menu, _ = call(sim, "GET", "/api/menu", cookie=cookie)
    ids = [m[0] for m in menu] + [c[0] for m in menu for c in m[3]]
    assert "menu_ELECSRC_CONTROL" in ids and "menu_REAL_TIME_MONITOR" in ids and len(ids) == 19
    texts = [e["text"] for e in sim.state.snapshot()["oplog"]]
    assert texts == ["Log in failed", "Log in successfully"]


def test_actions_change_the_state_and_the_log(sim):
    _, cookie = login(sim)
    with pytest.raises(Exception):
        call(sim, "POST", "/api/power", {"action": "fpf"})  # not logged in
    call(sim, "POST", "/api/power", {"action": "fpf"}, cookie)
    call(sim, "POST", "/api/capping", {"enabled": True, "limit": "450"}, cookie)
    call(sim, "POST", "/api/restore_policy", {"policy": "always_on"}, cookie)
    machine = sim.state.snapshot()["machine"]
    assert machine["power"]["state"] == "Off"
    assert machine["power"]["capping"]["enabled"] is True and machine["power"]["capping"]["limit"] == 450
    assert machine["power"]["restore_policy"] == "always_on"
    texts = [e["text"] for e in sim.state.snapshot()["oplog"]]
    assert "Set power restore policy to (always_on) successfully" in texts
    assert "Force power off the server successfully" in texts


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
