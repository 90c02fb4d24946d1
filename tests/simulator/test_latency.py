"""The latency profile: which requests the simulator holds, for how long, and how the
profile is chosen (command line, scenario, control API)."""
import json
import os
import subprocess
import sys
from urllib.error import HTTPError

import pytest

from simulator import latency
from simulator.server import start_server
from tests.simulator.client import call, login, request

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class RecordedSleeps(object):
    """Stands in for the latency module's `time`: keeps the holds instead of sleeping."""

    def __init__(self):
        self.holds = []

    def sleep(self, seconds):
        self.holds.append(round(seconds, 6))


@pytest.fixture
def sim():
    s = start_server(https=False)
    yield s
    s.shutdown()


@pytest.fixture
def holds(monkeypatch):
    recorded = RecordedSleeps()
    monkeypatch.setattr(latency, "time", recorded)
    return recorded.holds


def status_of(sim, method, path, body=None):
    try:
        with request(sim.url, method, path, body):
            return 200
    except HTTPError as e:
        return e.code


def page_latency(sim, page):
    html, _ = call(sim, "GET", "/pages/%s.html" % page)
    marker = "window.SIM_LATENCY = "
    start = html.index(marker) + len(marker)
    return json.JSONDecoder().raw_decode(html[start:])[0]


def test_instant_by_default_holds_nothing(sim, holds):
    assert call(sim, "GET", "/__sim/state")[0]["latency"] == {"profile": "instant", "scale": 1.0}
    assert page_latency(sim, "alarms") == {"profile": "instant", "scale": 1.0}
    call(sim, "GET", "/__sim/data/tabMemory")
    _, cookie = login(sim)
    call(sim, "GET", "/api/menu", cookie=cookie)
    call(sim, "POST", "/api/power", {"action": "fpf"}, cookie)
    assert holds == []


def test_realistic_holds_data_gets_and_saves_scaled(sim, holds):
    reply, _ = call(sim, "POST", "/__sim/fault", {"latency": {"profile": "realistic", "scale": 0.5}})
    assert reply["latency"] == {"profile": "realistic", "scale": 0.5}
    for section in ("tabMemory", "tabFan", "alarms"):
        call(sim, "GET", "/__sim/data/" + section)
    assert holds == [latency.SECTIONS[s]["delay"] * 0.5 for s in ("tabMemory", "tabFan", "alarms")]
    del holds[:]
    _, cookie = login(sim)
    call(sim, "POST", "/api/power", {"action": "fpf"}, cookie)
    call(sim, "POST", "/api/location", {"location": "Rack 7"}, cookie)
    # The log-in's own requests and leaving are answered at once.
    call(sim, "POST", "/api/password_tips", {"dont_remind": True}, cookie)
    call(sim, "POST", "/api/logout", {}, cookie)
    assert holds == [0.5, 0.5]
    assert sim.state.machine["power"]["state"] == "Off"
    # A section the table does not know is an error, not a page left empty for ever.
    assert status_of(sim, "GET", "/__sim/data/noSuchTab") == 404
    # Pages learn the timers and polls; the server keeps the delays.
    settings = page_latency(sim, "system_info")
    assert settings["profile"] == "realistic" and settings["scale"] == 0.5
    assert settings["sections"]["tabFan"]["start"] > 0 and settings["sections"]["alarms"]["every"] > 0


def test_a_save_takes_effect_at_once_and_answers_late(sim, monkeypatch):
    # A page opened while the answer is held already shows the change.
    seen = []

    class Watch(object):
        @staticmethod
        def sleep(seconds):
            seen.append((seconds, sim.state.machine["power"]["state"]))

    monkeypatch.setattr(latency, "time", Watch)
    call(sim, "POST", "/__sim/fault", {"latency": {"profile": "realistic", "scale": 1.0}})
    _, cookie = login(sim)
    reply, _ = call(sim, "POST", "/api/power", {"action": "fpf"}, cookie)
    assert reply["ok"] is True
    assert seen == [(latency.SAVE_DELAY, "Off")]


def test_every_section_answers_well_within_its_readers_settle():
    # Fixed settles must pass with margin on a loaded machine: a section's timer and
    # delay together stay at 60% of the shortest wait of an operation on that page.
    for name, entry in latency.SECTIONS.items():
        assert entry["delay"] > 0, name
        assert entry["delay"] + entry.get("start", 0) <= 0.6 * entry["settle"], name
    for path, entry in latency.API_GETS.items():
        assert 0 < entry["delay"] <= 0.6 * entry["settle"], path


def test_the_control_key_merges_stays_and_refuses_bad_values(sim):
    call(sim, "POST", "/__sim/fault", {"latency": {"profile": "realistic", "scale": 0.05}})
    call(sim, "POST", "/__sim/fault", {"clear": True})
    call(sim, "POST", "/__sim/scenario", {"name": "default"})
    assert sim.state.latency == {"profile": "realistic", "scale": 0.05}
    for bad in ({"profile": "fast"}, {"scale": "x"}):
        assert status_of(sim, "POST", "/__sim/fault", {"latency": bad}) == 400, bad
    assert sim.state.latency == {"profile": "realistic", "scale": 0.05}
    # Back to instant: the scale stays for the next switch.
    reply, _ = call(sim, "POST", "/__sim/fault", {"latency": {"profile": "instant"}})
    assert reply["latency"] == {"profile": "instant", "scale": 0.05}
    reply, _ = call(sim, "POST", "/__sim/fault", {"latency": {"profile": "realistic"}})
    assert reply["latency"] == {"profile": "realistic", "scale": 0.05}


def test_a_scenario_names_its_latency_while_it_is_loaded(sim):
    call(sim, "POST", "/__sim/scenario",
         {"scenario": {"extends": "default", "latency": {"profile": "realistic", "scale": 0.2}}})
    state, _ = call(sim, "GET", "/__sim/state")
    assert state["latency"] == {"profile": "realistic", "scale": 0.2}
    assert "latency" not in state["machine"]
    call(sim, "POST", "/__sim/scenario", {"name": "default"})
    assert sim.state.latency == {"profile": "instant", "scale": 1.0}
    assert status_of(sim, "POST", "/__sim/scenario",
                     {"scenario": {"extends": "default", "latency": {"profile": "slowest"}}}) == 400


def test_the_command_line_chooses_the_profile():
    proc = subprocess.Popen([sys.executable, "-m", "simulator.server", "--http", "--latency", "realistic",
                             "--latency-scale", "0.05"], cwd=ROOT, stdout=subprocess.PIPE, universal_newlines=True)
    try:
        line = proc.stdout.readline()
        assert line.startswith("SIMULATOR READY"), line
        with request(line.split()[-1], "GET", "/__sim/state") as r:
            assert json.loads(r.read().decode("utf-8"))["latency"] == {"profile": "realistic", "scale": 0.05}
    finally:
        proc.terminate()
        proc.wait(10)
    bad = subprocess.run([sys.executable, "-m", "simulator.server", "--http", "--latency-scale", "-2"], cwd=ROOT,
                         stdout=subprocess.PIPE, stderr=subprocess.PIPE, universal_newlines=True, timeout=30)
    assert bad.returncode != 0 and "latency scale" in bad.stderr
