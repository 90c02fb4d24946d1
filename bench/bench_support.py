"""What the Python benchmarks share: console simulators in their own processes, the
built module on the path, resident memory, and a plain table printer."""
import os
import resource
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD_PYTHON = os.path.join(ROOT, "build", "python")
for path in (BUILD_PYTHON, ROOT):
    if path not in sys.path:
        sys.path.insert(0, path)


class SimulatorProcess(object):
    """One console simulator, started as `python3 -m simulator.server`, serving one
    scenario over HTTPS on a loopback address and a free port."""

    def __init__(self, address="127.0.0.1", scenario="default", startup=60):
        self.proc = subprocess.Popen(
            [sys.executable, "-m", "simulator.server", "--address", address, "--port", "0", "--https",
             "--scenario", scenario],
            cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, universal_newlines=True)
        self.url = None
        deadline = time.time() + startup
        while time.time() < deadline:
            line = self.proc.stdout.readline()
            if line.startswith("SIMULATOR READY"):
                self.url = line.split()[-1]
                break
            if not line and self.proc.poll() is not None:
                break
        if self.url is None:
            self.stop()
            raise RuntimeError("the console simulator for %s did not start" % address)
        rest = self.url.split("://", 1)[1]
        self.address, port = rest.rsplit(":", 1)
        self.port = int(port)

    def login_params(self, username="admin", password="Admin@9000"):
        bmc = {"local_ip": self.address, "username": username, "password": password,
               "extra_port": {"https": self.port}}
        return {"bmc": bmc}

    def stop(self):
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(10)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.stop()


def rss_kib():
    """(peak, now) resident memory of this process in KiB."""
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    now = 0
    with open("/proc/self/status") as status:
        for line in status:
            if line.startswith("VmRSS:"):
                now = int(line.split()[1])
    return peak, now


def table(header, rows):
    """Prints rows under a header, columns as wide as their widest cell."""
    cells = [list(map(str, header))] + [list(map(str, r)) for r in rows]
    widths = [max(len(r[i]) for r in cells) for i in range(len(header))]
    for r in cells:
        print("  ".join(c.ljust(w) for c, w in zip(r, widths)).rstrip())


PAGE_KIB = os.sysconf("SC_PAGE_SIZE") // 1024

# The preferences the launcher has set since this benchmark's first figures, at the
# values Firefox takes without them: the "earlier" setting puts them back.
EARLIER_PREFS = {
    "extensions.webextensions.remote": True,
    "browser.translations.enable": True,
    "signon.rememberSignons": True,
    "extensions.formautofill.addresses.enabled": True,
    "extensions.formautofill.creditCards.enabled": True,
    "browser.sessionstore.interval": 15000,
    "browser.pagethumbnails.capturing_disabled": False,
}


class Quiet(object):
    def info(self, line):
        pass
    warn = error = info


def process_tree_rss_kib(roots):
    """Resident memory in KiB of each root's process tree (the process and all its
    descendants), from one pass over /proc."""
    parent, rss = {}, {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open("/proc/%s/stat" % entry) as f:
                stat = f.read()
            with open("/proc/%s/statm" % entry) as f:
                pages = int(f.read().split()[1])
        except (OSError, ValueError, IndexError):
            continue  # gone meanwhile
        pid = int(entry)
        parent[pid] = int(stat[stat.rindex(")") + 2:].split()[1])
        rss[pid] = pages * PAGE_KIB
    children = {}
    for pid, ppid in parent.items():
        children.setdefault(ppid, []).append(pid)
    totals = []
    for root in roots:
        total, todo = 0, [root]
        while todo:
            pid = todo.pop()
            total += rss.get(pid, 0)
            todo.extend(children.get(pid, ()))
        totals.append(total)
    return totals
