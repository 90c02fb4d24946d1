"""Which processes, and which browser and driver processes, descend from this test process
(read from /proc); the local browsers the tests run."""
import os

from tests.python.leaks import _stat_fields

BROWSER_NAMES = ("firefox", "firefox-esr", "chromium", "chrome", "chromedriver", "geckodriver")
# The two local browsers, each through its own driver, as a wrapper's "browser" map names them.
BROWSERS = {
    "firefox": {"name": "firefox", "driver": "marionette"},
    "chromium": {"name": "chromium", "driver": "chromedriver"},
}


def _parent(pid):
    fields = _stat_fields(pid)
    return int(fields[1]) if fields else None


def _name(pid):
    try:
        with open("/proc/%d/comm" % pid) as f:
            return f.read().strip()
    except (IOError, OSError):
        return ""


def _below_this_process(pid):
    me, p, hops = os.getpid(), _parent(pid), 0
    while p and p > 1 and hops < 64:
        if p == me:
            return True
        p, hops = _parent(p), hops + 1
    return False


def descendants():
    """Every live process below this one, whatever its name."""
    return [int(e) for e in os.listdir("/proc") if e.isdigit() and _below_this_process(int(e))]


def descendant_browsers():
    named = ((int(e), _name(int(e))) for e in os.listdir("/proc") if e.isdigit())
    return [(pid, name) for pid, name in named
            if any(name.startswith(n[:15]) for n in BROWSER_NAMES) and _below_this_process(pid)]
