"""The faults a request meets before it is handled: a console that stops answering
("hang", "drop") and a slow one ("slow"). The control API sets them (control.py); the
faults of what a page shows ("missing", "refuse", the areas' own) reach the pages
through the injected script (rendering.py) and the actions (actions.py).
"""
import socket
import time

# The longest a request held by the "hang" fault stays open (seconds).
HANG_LIMIT = 300


def held_or_dropped(handler, path):
    """The faults of a console that stops answering: True when the request got no
    answer (the connection is then closed) and nothing more should be done."""
    if path.startswith("/__sim/"):
        return False  # the tests' own channel always answers
    state = handler.state
    with state.lock:
        hang = state.faults.get("hang", [])
        drop = state.faults.get("drop", [])
        held = path in hang or "*" in hang
        dropped = path in drop or "*" in drop
    if held:
        # Held open as a console that accepted the connection and went quiet: no
        # status line, no headers, until the fault is cleared or HANG_LIMIT passes.
        deadline = time.time() + HANG_LIMIT
        while time.time() < deadline and getattr(handler.server, "state", None) is not None:
            with state.lock:
                hang = state.faults.get("hang", [])
                if path not in hang and "*" not in hang:
                    break
            time.sleep(0.05)
        dropped = True
    if dropped:
        handler.close_connection = True
        try:
            handler.connection.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        return True
    return False


def delay(state, path):
    """Sleeps the "slow" fault's seconds for `path`, if it names it."""
    with state.lock:
        seconds = state.faults["slow"].get(path, 0)
    if seconds:
        time.sleep(float(seconds))
