"""Which browser and driver processes descend from this test process (read from /proc)."""
import os

BROWSER_NAMES = ("firefox", "firefox-esr", "chromium", "chrome", "chromedriver", "geckodriver")


def _parent(pid):
    try:
        with open("/proc/%d/stat" % pid) as f:
            data = f.read()
    except (IOError, OSError):
        return None
    # the command name may hold blanks and brackets: fields resume after the last ')'
    return int(data[data.rindex(")") + 2:].split()[1])


def _name(pid):
    try:
        with open("/proc/%d/comm" % pid) as f:
            return f.read().strip()
    except (IOError, OSError):
        return ""


def descendant_browsers():
    me = os.getpid()
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        pid = int(entry)
        name = _name(pid)
        if not any(name.startswith(n[:15]) for n in BROWSER_NAMES):
            continue
        p, hops = _parent(pid), 0
        while p and p > 1 and hops < 64:
            if p == me:
                found.append((pid, name))
                break
            p, hops = _parent(p), hops + 1
    return found
