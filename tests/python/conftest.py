"""Fixtures: the console simulator on loopback over HTTPS, a controller record, and a
fast process clock (every settle and wait of the console's pace, scaled down)."""
import json
import os
import ssl
import subprocess
import sys
import time

import pytest

from tests.python.pace import TIME_SCALE, e2e_latency

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class Controller(object):
    def __init__(self, local_ip, username, password, extra_port):
        self.local_ip = local_ip
        self.username = username
        self.password = password
        self.extra_port = extra_port


class Simulator(object):
    def __init__(self, proc, url):
        self.proc = proc
        self.url = url
        scheme, rest = url.split("://")
        self.address, port = rest.rsplit(":", 1)
        self.port = int(port)

    def _request(self, method, path, body=None):
        try:
            from urllib.request import Request, urlopen
        except ImportError:  # pragma: no cover
            raise
        data = None if body is None else json.dumps(body).encode("utf-8")
        req = Request(self.url + path, data=data, method=method,
                      headers={"Content-Type": "application/json"})
        ctx = ssl.create_default_context()
        ctx.check_hostname = False
        ctx.verify_mode = ssl.CERT_NONE
        with urlopen(req, context=ctx, timeout=10) as resp:
            return json.loads(resp.read().decode("utf-8") or "null")

    def state(self):
        return self._request("GET", "/__sim/state")

    def load(self, scenario):
        return self._request("POST", "/__sim/scenario", scenario)

    def fault(self, fault):
        return self._request("POST", "/__sim/fault", fault)

    def oplog(self):
        return self._request("GET", "/__sim/oplog")

    def controller(self, username="admin", password="Admin@9000"):
        return Controller(self.address, username, password, {"https": self.port})


@pytest.fixture(scope="session")
def simulator():
    proc = subprocess.Popen(
        ["/usr/bin/python3", "-m", "simulator.server", "--address", "127.0.0.1", "--port", "0", "--https"],
        cwd=ROOT, stdout=subprocess.PIPE, universal_newlines=True)
    url = None
    deadline = time.time() + 30
    while time.time() < deadline:
        line = proc.stdout.readline()
        if line.startswith("SIMULATOR READY"):
            url = line.split()[-1]
            break
        if not line and proc.poll() is not None:
            break
    if url is None:
        proc.kill()
        pytest.fail("the console simulator did not start")
    sim = Simulator(proc, url)
    # VORNA_E2E_LATENCY=realistic runs every test against a console that answers late,
    # scaled as the tests' clock is; it stays through scenario loads and fault clears.
    latency = e2e_latency()
    if latency:
        sim.fault({"latency": latency})
    yield sim
    proc.terminate()
    try:
        proc.wait(10)
    except subprocess.TimeoutExpired:
        proc.kill()


@pytest.fixture
def sim(simulator):
    """The simulator with the default scenario loaded afresh."""
    simulator.load({"name": "default"})
    return simulator


@pytest.fixture(scope="session", autouse=True)
def settle_policy():
    """VORNA_E2E_SETTLE=adaptive runs every test with the process's settles adaptive."""
    from marlet.utils.time import set_settle_policy
    set_settle_policy(os.environ.get("VORNA_E2E_SETTLE") or "fixed")
    yield
    set_settle_policy("fixed")


@pytest.fixture(autouse=True)
def fast_clock():
    from marlet.utils.time import set_time_scale
    set_time_scale(TIME_SCALE)
    yield
    set_time_scale(1.0)


@pytest.fixture
def wrapper(tmp_path):
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    w = VornaWebWrapper({"host": None, "device": None,
                         "browser": {"screenshot_dir": str(tmp_path / "pictures")}})
    yield w
    w.web_close()


class LogCapture(object):
    """A stand-in for the class attribute ``logger`` that keeps every line."""

    def __init__(self):
        self.lines = []

    def info(self, line):
        self.lines.append(("info", line))

    def warn(self, line):
        self.lines.append(("warn", line))

    def error(self, line):
        self.lines.append(("error", line))

    def texts(self, level=None):
        return [t for (lv, t) in self.lines if level is None or lv == level]


@pytest.fixture
def log_lines(monkeypatch):
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    capture = LogCapture()
    monkeypatch.setattr(VornaWebWrapper, "logger", capture)
    return capture

