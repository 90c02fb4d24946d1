"""Ctrl-C during a settle, a wait or a poll: KeyboardInterrupt reaches the harness within
a slice of the sleep, the wrapper's browser stays usable, other threads sleep on."""
import os
import signal
import threading
import time

import pytest

from marlet.utils.time import set_time_scale, sleep

# Real seconds from the signal to the exception on a loaded machine: the sleep ends
# within 50 ms; the rest is the interpreter getting back to the main thread.
PROMPT = 3.0


def interrupt_after(seconds):
    """Sends SIGINT to this process after `seconds`; returns (timer, the time it was sent)."""
    sent = {}

    def fire():
        sent["at"] = time.time()
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(seconds, fire)
    timer.start()
    return timer, sent


def interrupted(call, after=0.3):
    """Runs `call` (which must last well beyond `after`) and interrupts it: returns the
    seconds from the signal to the KeyboardInterrupt."""
    assert signal.getsignal(signal.SIGINT) is signal.default_int_handler
    timer, sent = interrupt_after(after)
    try:
        with pytest.raises(KeyboardInterrupt):
            call()
        return time.time() - sent["at"]
    finally:
        timer.cancel()
        timer.join()


def test_a_settle_is_interrupted_and_the_browser_stays_usable(console):
    w, sim = console
    set_time_scale(1.0)  # the logout first settles 5 real seconds
    started = time.time()
    assert interrupted(w.web_logout) < PROMPT
    assert time.time() - started < 5, "the settle did not run to its end"
    assert w.isLogin is True and not w.isClosed()
    set_time_scale(0.05)
    assert w.get_bios_name()  # the same browser works on


def test_an_explicit_wait_and_a_lookup_poll_are_interrupted(console):
    w, sim = console
    set_time_scale(1.0)
    # A wait of 60 s for an element that never shows, polled every second.
    assert interrupted(lambda: w.waitElement("id", "noSuchElement", 60, 1)) < PROMPT
    # A lookup that polls for presence within the element layer's time-out (10 s).
    assert interrupted(lambda: w.locateElementById("noSuchElement")) < PROMPT
    set_time_scale(0.05)
    assert not w.isClosed()
    assert w.get_bios_name()


def test_a_long_sleep_ends_at_the_interrupt_while_other_threads_sleep_on():
    set_time_scale(1.0)
    done = {}

    def worker():
        start = time.time()
        try:
            sleep(1.0)
            done["slept"] = time.time() - start
        except BaseException as e:  # noqa: B902 - whatever ends it is the failure
            done["error"] = e

    t = threading.Thread(target=worker)
    t.start()
    assert interrupted(lambda: sleep(30), after=0.2) < PROMPT
    t.join(10)
    assert "error" not in done, done
    assert done["slept"] >= 1.0


def test_a_command_held_by_the_console_is_interrupted_and_the_login_starts_anew(sim, tmp_path):
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    from tests.python.leaks import live_in_groups
    w = VornaWebWrapper({"browser": {"screenshot_dir": str(tmp_path / "pictures")}})
    sim.fault({"hang": ["/login.html"]})  # the navigation waits on the browser's 300 s
    sent = {}

    def interrupt_when_navigating():
        deadline = time.time() + 60
        while not w.browser_pid and time.time() < deadline:
            time.sleep(0.02)
        sent["pid"] = w.browser_pid
        time.sleep(1.0)
        sent["at"] = time.time()
        os.kill(os.getpid(), signal.SIGINT)

    t = threading.Thread(target=interrupt_when_navigating)
    t.start()
    try:
        with pytest.raises(KeyboardInterrupt):
            w.web_login({"bmc": sim.controller()})
        arrived = time.time()
        t.join()
        # The browser quits (bounded) before the interrupt goes on: it never reached the
        # console, and a login that starts anew needs none stuck on a held page.
        assert arrived - sent["at"] < PROMPT + 15
        assert w.isClosed()
        deadline = time.time() + 15
        while live_in_groups([sent["pid"]]) and time.time() < deadline:
            time.sleep(0.05)
        assert live_in_groups([sent["pid"]]) == []
        sim.fault({"clear": True})
        assert w.web_login({"bmc": sim.controller()}) is True
    finally:
        t.join()
        sim.fault({"clear": True})
        w.web_close()
