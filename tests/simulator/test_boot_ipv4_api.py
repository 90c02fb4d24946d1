"""The simulator's boot settings and IPv4 saves, and the console moving with its address."""
import json
from urllib.error import URLError

import pytest

from simulator.server import start_server
from tests.simulator.client import request


def call(url, method, path, body=None, cookie=None):
    try:
        with request(url, method, path, body, cookie) as r:
            return r.status, json.loads(r.read().decode("utf-8")), r.headers.get("Set-Cookie")
    except URLError as e:
        if hasattr(e, "code"):
            return e.code, json.loads(e.read().decode("utf-8")), None
        raise


@pytest.fixture
def sim():
    s = start_server(address="127.0.0.1", https=True)
    yield s
    s.shutdown()


def session(sim):
    _, reply, cookie = call(sim.url, "POST", "/api/login", {"username": "admin", "password": "Admin@9000"})
    assert reply["ok"]
    return cookie.split(";")[0]


def boot(sim):
    return sim.state.snapshot()["machine"]["boot"]


def test_boot_save_changes_only_what_differs_and_refuses_unknown_values(sim):
    cookie = session(sim)
    assert (boot(sim)["option"], boot(sim)["effective"], boot(sim)["mode"]) == ("2", "1", "1")
    status, reply, _ = call(sim.url, "POST", "/api/boot", {"option": "15", "effective": "1", "mode": "0"}, cookie)
    assert status == 200 and reply["ok"]
    assert (boot(sim)["option"], boot(sim)["effective"], boot(sim)["mode"]) == ("15", "1", "0")
    texts = [e["text"] for e in sim.state.snapshot()["oplog"]][1:]
    assert texts == ["Set boot device to (FDD/Removable Device) successfully",
                     "Set boot mode to (Legacy) successfully"]
    for bad in ({"option": "3", "effective": "1", "mode": "0"}, {"option": "2", "effective": 1, "mode": "0"},
                {"option": "2", "effective": "0", "mode": "uefi"}):
        status, reply, _ = call(sim.url, "POST", "/api/boot", bad, cookie)
        assert status == 400 and not reply["ok"], bad
    assert (boot(sim)["option"], boot(sim)["effective"], boot(sim)["mode"]) == ("15", "1", "0")
    # An unselected button leaves its setting alone; a device outside the list stays if it stood.
    sim.state.machine["boot"].update({"option": "9", "effective": None})
    status, reply, _ = call(sim.url, "POST", "/api/boot", {"option": "9", "effective": None, "mode": "1"}, cookie)
    assert reply["ok"] and (boot(sim)["option"], boot(sim)["effective"], boot(sim)["mode"]) == ("9", None, "1")


def test_refused_saves_change_nothing(sim):
    cookie = session(sim)
    call(sim.url, "POST", "/__sim/fault", {"refuse": ["boot", "ipv4"]})
    _, reply, _ = call(sim.url, "POST", "/api/boot", {"option": "0", "effective": "0", "mode": "0"}, cookie)
    assert reply == {"ok": False, "message": "The operation failed."}
    _, reply, _ = call(sim.url, "POST", "/api/ipv4",
                       {"address": "127.0.0.1", "mask": "255.0.0.0", "gateway": "127.0.0.9"}, cookie)
    assert not reply["ok"]
    machine = sim.state.snapshot()["machine"]
    assert machine["boot"]["option"] == "2" and machine["network"]["ipv4"]["mask"] == "255.255.255.0"


def test_ipv4_save_validates_and_keeps_the_address_on_a_mask_change(sim):
    cookie = session(sim)
    ipv4 = sim.state.snapshot()["machine"]["network"]["ipv4"]
    assert ipv4 == {"address": "127.0.0.1", "mask": "255.255.255.0", "gateway": "127.0.0.254"}
    for bad in ({"address": "127.0.0.256", "mask": "255.0.0.0", "gateway": "127.0.0.1"},
                {"address": "127.0.0.1", "mask": "255.0.255.0", "gateway": "127.0.0.1"},
                {"address": "127.0.0.1", "mask": "255.0.0.0", "gateway": 7},
                {"address": "10.1.1.5", "mask": "255.0.0.0", "gateway": "10.1.1.1"}):
        status, reply, _ = call(sim.url, "POST", "/api/ipv4", bad, cookie)
        assert status == 400 and not reply["ok"], bad
    status, reply, _ = call(sim.url, "POST", "/api/ipv4",
                            {"address": "127.0.0.1", "mask": "255.0.0.0", "gateway": "127.0.0.9"}, cookie)
    assert reply["ok"] and sim.url.startswith("https://127.0.0.1:")
    assert sim.state.snapshot()["machine"]["network"]["ipv4"] == {
        "address": "127.0.0.1", "mask": "255.0.0.0", "gateway": "127.0.0.9"}
    call(sim.url, "GET", "/api/machine")  # still answering where it was


def test_a_new_address_moves_the_console_and_a_scenario_load_keeps_it():
    sim = start_server(address="127.0.0.1", https=True)
    old_url = sim.url
    try:
        cookie = session(sim)
        status, reply, _ = call(old_url, "POST", "/api/ipv4",
                                {"address": "127.0.31.7", "mask": "255.0.0.0", "gateway": "127.0.0.254"}, cookie)
        assert status == 200 and reply["ok"]  # answered on the old address
        assert sim.url == "https://127.0.31.7:%d" % sim.port and sim.address == "127.0.31.7"
        with pytest.raises((URLError, ConnectionError, OSError)):
            call(old_url, "GET", "/api/machine")
        status, machine, _ = call(sim.url, "GET", "/api/machine")
        assert machine["network"]["ipv4"]["address"] == "127.0.31.7"
        call(sim.url, "POST", "/__sim/scenario", {"name": "default"})
        assert sim.state.snapshot()["machine"]["network"]["ipv4"]["address"] == "127.0.31.7"
    finally:
        sim.shutdown()
