"""Fixtures: the console simulator on loopback over HTTPS and the run's pace, from the vorna
pytest plugin (marlet/pytest_plugin.py, loaded by its entry point from <build>/python), with
the suites' own settings: every settle and wait of the console's pace scaled down
(VORNA_E2E_TIME_SCALE), the settle policy (VORNA_E2E_SETTLE) and the simulator's latency
(VORNA_E2E_LATENCY), unless the command line's --vorna-* options chose them."""
import os

import pytest

from tests.python.pace import TIME_SCALE, e2e_latency

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def pytest_configure(config):
    if not config.pluginmanager.hasplugin("vorna"):
        raise pytest.UsageError("the end-to-end suites need the vorna pytest plugin: put <build>/python on "
                                "PYTHONPATH (or give -p vorna when plugins do not load by themselves)")
    if config.getoption("vorna_time_scale") is None:
        config.option.vorna_time_scale = TIME_SCALE
    if config.getoption("vorna_settle") is None:
        config.option.vorna_settle = os.environ.get("VORNA_E2E_SETTLE") or "fixed"


@pytest.fixture(scope="session")
def vorna_simulator(vorna_simulator):
    """The plugin's simulator for the session; VORNA_E2E_LATENCY=realistic runs every test
    against a console that answers late, scaled as the tests' clock is; it stays through
    scenario loads and fault clears."""
    latency = e2e_latency()
    if latency:
        vorna_simulator.fault({"latency": latency})
    return vorna_simulator


@pytest.fixture(scope="session")
def simulator(vorna_simulator):
    return vorna_simulator


@pytest.fixture
def sim(vorna_console):
    """The simulator with the default scenario loaded afresh."""
    return vorna_console


@pytest.fixture(scope="module")
def console(simulator, tmp_path_factory):
    """(wrapper, simulator): one login for the whole test module (tests/python/console.py)."""
    from tests.python.console import logged_in_console
    yield from logged_in_console(simulator, tmp_path_factory)


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

    def said(self, level=None):
        """The lines but the pictures' own."""
        return [t for t in self.texts(level) if not t.startswith("[screenshot] ")]


@pytest.fixture
def log_lines(monkeypatch):
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    capture = LogCapture()
    monkeypatch.setattr(VornaWebWrapper, "logger", capture)
    return capture

