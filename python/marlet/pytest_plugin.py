"""pytest plugin for harnesses written against the console simulator (entry point
``vorna``; docs/pytest-plugin.md).

Fixtures:
    vorna_simulator  (session) one simulator process on a free loopback port
    vorna_console    that simulator with the test's scenario loaded afresh:
                     @pytest.mark.vorna_scenario("agent_missing") or a machine as a map
                     (default "default"); its URL, credentials, state and fault API
    vorna            a VornaWebWrapper logged into vorna_console, closed at the end

Options: --vorna-trace on|retain-on-failure|off, --vorna-settle fixed|adaptive,
--vorna-browser JSON (merged into the constructor's "browser" key), --vorna-time-scale F.
A failed test's report gets a section "vorna" with its last picture and its trace.
"""
import argparse
import json
import os
import ssl
import subprocess
import sys
import threading

import pytest

# How long a simulator may take to say it listens: it makes a certificate first, and the
# machine may be busy with browsers.
START_BOUND = 60.0
# Console seconds from the login's click to the end of its wait for the menu (a settle of
# 30 s, then waits of 5 s and 5 s), and the real seconds a fresh browser gets for them
# whatever the time scale: a browser's first page load is real time, not console time.
LOGIN_CONSOLE_SECONDS = 40.0
LOGIN_REAL_SECONDS = 4.0
SIMULATOR_PACKAGE_FILES = ("server.py", "scenarios")


def _browser_json(text):
    try:
        value = json.loads(text)
    except ValueError as e:
        raise argparse.ArgumentTypeError("not JSON: %s" % e)
    if not isinstance(value, dict):
        raise argparse.ArgumentTypeError("a JSON map of the constructor's \"browser\" key, got %s" % text)
    return value


def _time_scale(text):
    try:
        value = float(text)
    except ValueError:
        raise argparse.ArgumentTypeError("not a number: %s" % text)
    if not value > 0:
        raise argparse.ArgumentTypeError("a time scale above 0, got %s" % text)
    return value


def pytest_addoption(parser):
    group = parser.getgroup("vorna", "console driver (fixtures vorna_console, vorna)")
    group.addoption("--vorna-trace", choices=("on", "retain-on-failure", "off"), default="off",
                    help="trace each `vorna` wrapper into its test's folder (default off)")
    group.addoption("--vorna-settle", choices=("fixed", "adaptive"), default=None,
                    help="the process's settle policy for the run (default: left as it is, fixed)")
    group.addoption("--vorna-browser", type=_browser_json, default=None, metavar="JSON",
                    help="the `vorna` wrapper's \"browser\" params, e.g. '{\"headless\": false}'")
    group.addoption("--vorna-time-scale", type=_time_scale, default=None, metavar="F",
                    help="scale every settle, wait and poll of the process by F for each test")


def pytest_configure(config):
    config.addinivalue_line(
        "markers", "vorna_scenario(scenario): the simulator's machine for vorna_console: a scenario's "
                   "name or a scenario as a map (\"extends\": \"default\" starts from the default)")


class ControllerRecord(object):
    """The controller record web_login reads: address, credentials, the port by scheme."""

    def __init__(self, local_ip, username, password, extra_port):
        self.local_ip = local_ip
        self.username = username
        self.password = password
        self.extra_port = extra_port


class SimulatedConsole(object):
    """A simulator process and its control API (docs/simulator.md): `url`, `address`,
    `port`, `scheme`, `username` and `password` of its administrator, `state()`,
    `fault(...)`, `clear_faults()`, `load(...)`, `patch(...)`, `oplog()`, `events()`."""

    def __init__(self, proc, url):
        self.proc = proc
        self._set_url(url)
        self.username = "admin"
        self.password = "Admin@9000"

    def _set_url(self, url):
        self.url = url
        self.scheme, rest = url.split("://")
        self.address, port = rest.rsplit(":", 1)
        self.port = int(port)

    def request(self, method, path, body=None):
        """One request to the console (any path, the control API's or the console's own);
        returns its JSON answer."""
        from urllib.request import Request, urlopen
        data = None if body is None else json.dumps(body).encode("utf-8")
        req = Request(self.url + path, data=data, method=method, headers={"Content-Type": "application/json"})
        ctx = ssl.create_default_context()
        ctx.check_hostname = False
        ctx.verify_mode = ssl.CERT_NONE
        with urlopen(req, context=ctx if self.scheme == "https" else None, timeout=30) as resp:
            return json.loads(resp.read().decode("utf-8") or "null")

    def state(self):
        """The machine, the sessions, the operation log, the events, the faults, the latency."""
        return self.request("GET", "/__sim/state")

    def oplog(self):
        return self.request("GET", "/__sim/oplog")

    def events(self):
        return self.request("GET", "/__sim/events")

    def load(self, scenario):
        """Loads a scenario: {"name": "agent_missing"} or {"scenario": {...}}. Ends every
        session and clears the faults."""
        answer = self.request("POST", "/__sim/scenario", scenario)
        self._take_credentials()
        return answer

    def fault(self, faults=None, **more):
        """Adds faults, e.g. fault(refuse=["power"]) or fault({"missing": {"summary": [...]}});
        answers the faults and latency in effect."""
        body = dict(faults or {})
        body.update(more)
        return self.request("POST", "/__sim/fault", body)

    def clear_faults(self):
        return self.fault({"clear": True})

    def patch(self, machine):
        """Deep-merges a change into the machine; the sessions stay logged in."""
        return self.request("POST", "/__sim/machine", machine)

    def controller(self, username=None, password=None):
        """The record for web_login({"bmc": ...}), by default with the administrator's
        credentials."""
        return ControllerRecord(self.address, username or self.username,
                                self.password if password is None else password, {self.scheme: self.port})

    def _take_credentials(self):
        users = self.state()["machine"].get("users") or []
        admins = [u for u in users if u.get("role") == "Administrator"] or users
        if admins:
            self.username, self.password = admins[0]["name"], admins[0]["password"]

    def stop(self):
        self.proc.terminate()
        try:
            self.proc.wait(10)
        except subprocess.TimeoutExpired:
            self.proc.kill()
            self.proc.wait()


def simulator_home():
    """The folder that holds the `simulator` package: the one installed with this package
    (<prefix>/share/vorna, found from the package's folder upwards), else an importable
    one (a checkout on sys.path)."""
    here = os.path.dirname(os.path.abspath(__file__))
    folder = here
    while True:
        candidate = os.path.join(folder, "share", "vorna")
        if _is_simulator(os.path.join(candidate, "simulator")):
            return candidate
        parent = os.path.dirname(folder)
        if parent == folder:
            break
        folder = parent
    import importlib.util
    spec = importlib.util.find_spec("simulator")
    if spec is not None and spec.submodule_search_locations:
        for location in spec.submodule_search_locations:
            if _is_simulator(location):
                return os.path.dirname(os.path.abspath(location))
    raise RuntimeError("no console simulator found: neither <prefix>/share/vorna/simulator beside %s "
                       "nor a `simulator` package on sys.path" % here)


def _is_simulator(folder):
    return all(os.path.exists(os.path.join(folder, name)) for name in SIMULATOR_PACKAGE_FILES)


def start_simulator(address="127.0.0.1", https=True):
    """Starts a simulator process on a free port of `address` (127.0.0.0/8); returns its
    SimulatedConsole."""
    home = simulator_home()
    env = dict(os.environ)
    env["PYTHONPATH"] = os.pathsep.join([home] + [p for p in [env.get("PYTHONPATH")] if p])
    proc = subprocess.Popen([sys.executable, "-m", "simulator.server", "--address", address, "--port", "0",
                             "--https" if https else "--http"],
                            cwd=home, env=env, stdout=subprocess.PIPE, universal_newlines=True)
    ready = threading.Event()
    console = []

    def read():
        # The first line says where it listens; later ones where a saved address moved it.
        for line in proc.stdout:
            if line.startswith("SIMULATOR READY"):
                console.append(SimulatedConsole(proc, line.split()[-1]))
                ready.set()
            elif line.startswith("SIMULATOR MOVED") and console:
                console[0]._set_url(line.split()[-1])
        ready.set()

    threading.Thread(target=read, name="vorna-simulator-output", daemon=True).start()
    ready.wait(START_BOUND)
    if not console:
        proc.kill()
        proc.wait()
        raise RuntimeError("the console simulator on %s did not start within %d s" % (address, START_BOUND))
    return console[0]


@pytest.fixture(scope="session")
def vorna_simulator():
    """One simulator process for the session; vorna_console loads each test's scenario."""
    console = start_simulator()
    yield console
    console.stop()


@pytest.fixture
def vorna_console(vorna_simulator, request):
    """The simulator with the test's scenario loaded afresh (marker vorna_scenario, default
    "default"); its faults are cleared after the test."""
    marker = request.node.get_closest_marker("vorna_scenario")
    scenario = marker.args[0] if marker and marker.args else "default"
    vorna_simulator.load({"name": scenario} if isinstance(scenario, str) else {"scenario": scenario})
    yield vorna_simulator
    vorna_simulator.clear_faults()


@pytest.fixture(scope="session", autouse=True)
def _vorna_process(request):
    """The run's settle policy and time scale, for the process, restored at the end."""
    settle = request.config.getoption("vorna_settle")
    scale = request.config.getoption("vorna_time_scale")
    if settle is None and scale is None:
        yield
        return
    from marlet.utils import time as vorna_time
    policy, before = vorna_time.get_settle_policy(), vorna_time.get_time_scale()
    if settle is not None:
        vorna_time.set_settle_policy(settle)
    if scale is not None:
        vorna_time.set_time_scale(scale)
    yield
    vorna_time.set_settle_policy(policy)
    vorna_time.set_time_scale(before)


@pytest.fixture(autouse=True)
def _vorna_time_scale(request):
    """Each test starts at --vorna-time-scale, whatever the one before it set."""
    scale = request.config.getoption("vorna_time_scale")
    if scale is not None:
        from marlet.utils.time import set_time_scale
        set_time_scale(scale)


def vorna_params(config, folder):
    """The `vorna` wrapper's constructor params under the run's options: pictures (and the
    trace) in `folder`."""
    browser = dict(config.getoption("vorna_browser") or {})
    browser.setdefault("screenshot_dir", os.path.join(folder, "pictures"))
    params = {"browser": browser}
    trace = config.getoption("vorna_trace")
    if trace != "off":
        params["trace"] = {"dir": os.path.join(folder, "trace"), "mode": trace}
    return params


@pytest.fixture
def vorna(vorna_console, request, tmp_path):
    """A VornaWebWrapper logged into vorna_console, closed after the test whatever happened."""
    from marlet.utils.time import get_time_scale, set_time_scale
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    params = vorna_params(request.config, str(tmp_path / "vorna"))
    w = VornaWebWrapper(params)
    request.node._vorna_wrapper = (w, params["browser"]["screenshot_dir"])
    try:
        scale = get_time_scale()
        set_time_scale(max(scale, LOGIN_REAL_SECONDS / LOGIN_CONSOLE_SECONDS))
        try:
            w.web_login({"bmc": vorna_console.controller()})
        finally:
            set_time_scale(scale)
        yield w
    finally:
        w.web_close()


def last_picture(folder):
    """The newest picture in `folder`, or None."""
    try:
        names = [os.path.join(folder, n) for n in os.listdir(folder) if n.endswith(".png")]
    except OSError:
        return None
    return max(names, key=lambda p: (os.path.getmtime(p), p)) if names else None


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    """A failed test that used `vorna` gets a report section naming its last picture and
    its trace (also as the user properties vorna_picture and vorna_trace)."""
    outcome = yield
    report = outcome.get_result()
    held = getattr(item, "_vorna_wrapper", None)
    if call.when == "teardown":
        item.__dict__.pop("_vorna_wrapper", None)  # the last report: let the wrapper go
    if not report.failed or held is None:
        return
    w, pictures = held
    picture = last_picture(pictures)
    trace = getattr(w, "trace_path", None)
    if not trace:
        trace = None
        trace_text = "none (--vorna-trace off)" if item.config.getoption("vorna_trace") == "off" else "none"
    lines = ["picture: %s" % (picture or "none taken (folder %s)" % pictures),
             "trace: %s" % (trace or trace_text)]
    report.sections.append(("vorna", "\n".join(lines)))
    # The item's properties go into the later phases' reports (junitxml writes the teardown's).
    for key, value in (("vorna_picture", picture), ("vorna_trace", trace)):
        for properties in (report.user_properties, item.user_properties):
            if value and (key, value) not in properties:
                properties.append((key, value))
