"""A child interpreter for the leak checks: opens and closes browsers in one of several
ways and reports, one JSON line per step, the browser's pid and its own descriptors and
memory. Run with the repository and the built module on PYTHONPATH and TMPDIR set to a
folder of its own (the driver makes its temporary profiles there).

    python3 -m tests.python.leak_child cycles N | kill | exit-live | interrupt
"""
import gc
import json
import os
import signal
import sys
import threading
import time

from marlet.utils.time import set_time_scale
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.leaks import open_fds, profiles, rss_kib


def threads():
    """This process's threads, once a thread just joined has left the task list."""
    count, deadline = len(os.listdir("/proc/self/task")), time.time() + 1.0
    while time.time() < deadline:
        time.sleep(0.05)
        now = len(os.listdir("/proc/self/task"))
        if now == count:
            break
        count = now
    return count


def report(**fields):
    fields.update(fds=open_fds(), threads=threads(), rss_kib=rss_kib(),
                  profiles=len(profiles(os.environ["TMPDIR"])))
    print(json.dumps(fields), flush=True)


def wrapper():
    return VornaWebWrapper({"browser": {"screenshot_dir": os.path.join(os.environ["TMPDIR"], "pictures")}})


def cycles(n):
    w = wrapper()
    for i in range(n):
        w.openFirefox()
        pid = w.browser_pid
        w.close()
        report(step="cycle", cycle=i, pid=pid, closed=w.isClosed())


def kill():
    w = wrapper()
    w.openFirefox()
    pid = w.browser_pid
    os.kill(pid, signal.SIGKILL)
    deadline = time.time() + 10
    while not w.isClosed() and time.time() < deadline:
        time.sleep(0.05)
    report(step="killed", pid=pid, closed=w.isClosed())


def exit_live():
    w = wrapper()
    w.openFirefox()
    w.cycle = w  # a reference cycle: only the exit handlers can end this browser
    globals()["kept"] = w
    report(step="open", pid=w.browser_pid)
    sys.exit(0)


def interrupt():
    w = wrapper()
    w.openFirefox()
    set_time_scale(1.0)
    timer = threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT))
    timer.start()
    start = time.time()
    try:
        w.waitElement("id", "neverThere", 60, 1)  # polls on the process clock
        outcome = "not interrupted"
    except KeyboardInterrupt:
        outcome = "KeyboardInterrupt"
    report(step="interrupted", pid=w.browser_pid, outcome=outcome, seconds=time.time() - start,
           closed=w.isClosed())
    # Left open on purpose: the exit ends it.


if __name__ == "__main__":
    mode = sys.argv[1]
    gc.collect()
    if mode == "cycles":
        cycles(int(sys.argv[2]))
    elif mode == "kill":
        kill()
    elif mode == "exit-live":
        exit_live()
    elif mode == "interrupt":
        interrupt()
    else:
        raise SystemExit("unknown mode " + mode)
