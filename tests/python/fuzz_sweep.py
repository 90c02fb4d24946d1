"""The fuzz sweep's child interpreter: calls every public operation of VornaWebWrapper
with wrong inputs and reports each call on stdout, one JSON line before it ("begin") and
one after it ("end"), so that the parent sees a crash of this interpreter (with its
signal) or a call that does not return, and names the operation and inputs at fault.

Run as `python3 -m tests.python.fuzz_sweep --part PART --seed N [--url URL]`:
  compare  the comparisons (no browser), many inputs each;
  console  every operation that keeps the login, against one logged-in console at URL;
           the console's state (GET /__sim/state) must not change across a call refused
           with one of the Python kinds (TypeError, KeyError, ValueError, ...), and one
           refused before the browser got a command logs nothing and takes no picture;
  session  the operations that start or end a session (logins, logout, close, kill,
           password and address changes), on a wrapper that never logged in.
Every operation also gets a text too long to type in each argument (and under each key
of its map that it asks for), which it must refuse at once.
The operations are read from the module's table of operations (and the element layer's
from its class), so a new one is swept without any change here.
"""
import argparse
import collections.abc
import inspect
import json
import os
import random
import re
import ssl
import sys
import time
from urllib.request import Request, urlopen

from marlet.exception.marlet_exception import MarletException
from marlet.utils.time import set_time_scale
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper, _operations

# What an operation may raise on a bad day; anything else is a fault of the driver.
# The refusals of an input, raised before the console is changed (AttributeError: a
# controller record without one of the attributes a login reads).
REFUSALS = (TypeError, KeyError, ValueError, IndexError, ZeroDivisionError, AttributeError)
# What an operation may raise on a bad day: a refusal, or a failure of the console or the
# browser (a time-out, a missing element, a setting that did not take), which may come
# after the operation changed something. Anything else is a fault of the driver.
DOCUMENTED = REFUSALS + (MarletException,)

# Operations that log in, log out, close the browser or change what the login rests on.
SESSION = {"web_login", "web_register", "web_register_web", "web_logout", "web_close", "web_kill_firefox",
           "web_switch_page_logout", "web_mod_password", "mod_bmc_ip_addr", "web_set_bmc_reboot",
           "close", "killFirefox", "openFirefox"}

MB_TEXT = ("Abc\u00e9\u4e2d\U0001F600 " * (2 ** 20 // 12))[: 2 ** 20]


class RaisingStr(object):
    def __str__(self):
        raise RuntimeError("str() refused")

    def __repr__(self):
        return "RaisingStr()"


class RaisingEq(object):
    def __eq__(self, other):
        raise RuntimeError("== refused")

    __hash__ = object.__hash__

    def __repr__(self):
        return "RaisingEq()"


class RaisingMapping(collections.abc.Mapping):
    """A map whose every read fails."""

    def __getitem__(self, key):
        raise RuntimeError("read refused")

    def __iter__(self):
        raise RuntimeError("iteration refused")

    def __len__(self):
        return 3

    def __repr__(self):
        return "RaisingMapping()"


class RaisingNumber(object):
    def __index__(self):
        raise RuntimeError("index refused")

    def __float__(self):
        raise RuntimeError("float refused")

    def __bool__(self):
        raise RuntimeError("bool refused")

    def __repr__(self):
        return "RaisingNumber()"


class TextSubclass(str):
    pass


def nested(depth, make):
    value = None
    for _ in range(depth):
        value = make(value)
    return value


def self_list():
    v = [1, "a"]
    v.append(v)
    return v


def self_dict():
    v = {"a": 1}
    v["self"] = v
    v["list"] = [v]
    return v


# Every value the sweep draws from; built afresh per draw so that no call sees what an
# earlier one changed.
VALUES = [
    lambda: None, lambda: True, lambda: False, lambda: 0, lambda: 1, lambda: -1, lambda: 2 ** 63,
    lambda: -(2 ** 70), lambda: 1.5, lambda: -0.0, lambda: float("nan"), lambda: float("inf"),
    lambda: float("-inf"), lambda: 1e300, lambda: "", lambda: " ", lambda: "1", lambda: "GET",
    lambda: "Y", lambda: "0x1f", lambda: "\u4e2d\u6587 \u00fcml\u00e4ut \U0001F600", lambda: "a\x00b",
    lambda: "\ud800", lambda: "'\"\\%s{}", lambda: MB_TEXT, lambda: TextSubclass("sub"),
    lambda: b"bytes", lambda: b"\xff\xfe", lambda: bytearray(b"ba"), lambda: [], lambda: [1, "a", None],
    lambda: ["x"] * 100000, lambda: (), lambda: {}, lambda: {"a": 1}, lambda: {1: 2, (1, 2): 3},
    lambda: {"": None}, lambda: set([1]), lambda: 1j, lambda: object(), lambda: RaisingStr(),
    lambda: RaisingEq(), lambda: RaisingMapping(), lambda: RaisingNumber(), lambda: self_list(),
    lambda: self_dict(), lambda: nested(100000, lambda v: [v]), lambda: nested(100000, lambda v: {"k": v}),
    lambda: nested(50, lambda v: [v]), lambda: len, lambda: Ellipsis,
]


def describe(value, room=160):
    """A short, safe text of an input: never calls the value's own str() or a deep repr."""
    if isinstance(value, (str, bytes, bytearray)):
        return repr(value[:40]) + ("...(%d long)" % len(value) if len(value) > 40 else "")
    if isinstance(value, (list, tuple, dict, set)):
        return "%s of %d" % (type(value).__name__, len(value))
    if type(value).__module__ == __name__:
        return "%s()" % type(value).__name__
    try:
        return repr(value)[:room]
    except Exception:
        return "<%s>" % type(value).__name__


class Parameter(object):
    def __init__(self, name, required):
        self.name = name
        self.required = required


def parameters(fn, name=None):
    """The parameters of an operation: from the table of operations for the wrapper's
    own, else from its signature (pybind11 writes it as the first line of the docstring)
    or, for a Python function, from inspect."""
    entry = TABLE.get(name or getattr(fn, "__name__", None))
    if entry is not None:
        return [Parameter(a["name"], "default" not in a) for a in entry["args"]]
    try:
        sig = inspect.signature(fn)
        return [Parameter(p.name, p.default is inspect.Parameter.empty)
                for p in list(sig.parameters.values())[1:]]
    except (TypeError, ValueError):
        pass
    doc = (fn.__doc__ or "").strip()
    lines = [l for l in doc.splitlines() if re.match(r"^(\d+\. )?\w+\(", l)]
    if not lines:
        return []
    head = re.sub(r"^\d+\. ", "", lines[0])
    inner = head[head.index("(") + 1: head.rindex(") ->") if ") ->" in head else head.rindex(")")]
    parts, depth, current = [], 0, ""
    for ch in inner:
        if ch in "[(" :
            depth += 1
        elif ch in "])":
            depth -= 1
        if ch == "," and depth == 0:
            parts.append(current.strip())
            current = ""
        else:
            current += ch
    if current.strip():
        parts.append(current.strip())
    out = []
    for part in parts[1:]:  # the first is self
        name = part.split(":")[0].split("=")[0].strip()
        out.append(Parameter(name, "=" not in part))
    return out


# The wrapper's public operations, by name.
TABLE = {e["name"]: e for e in _operations if not e["name"].startswith("_")}


def operations(part):
    """The table's public operations and the element layer's methods of this part."""
    base = VornaWebWrapper.__mro__[1]
    names = set(TABLE)
    for name in dir(base):
        attr = getattr(base, name)
        if not name.startswith("_") and callable(attr) and not isinstance(attr, type):
            names.add(name)
    kept = []
    for name in sorted(names):
        offline = TABLE.get(name, {}).get("login") == "offline"
        if part == "compare":
            keep = offline
        elif part == "session":
            keep = name in SESSION
        else:
            keep = name not in SESSION and not offline
        if keep:
            kept.append(name)
    return kept


class Sweep(object):
    def __init__(self, wrapper, rng, state=None, picture_dir=None):
        self.wrapper = wrapper
        self.picture_dir = picture_dir
        self.quiet_refusals = True
        self.rng = rng
        self.state = state          # reads the console's state, or None
        self.known_keys = {}        # operation -> keys learnt from its KeyErrors
        self.calls = 0
        self.violations = 0
        self.login = None           # logs the wrapper in again, for the console part
        self.home = None            # the console's top page, for the console part
        self.last_state = state() if state else None

    def value(self, op):
        v = self.rng.choice(VALUES)()
        keys = self.known_keys.get(op)
        if keys and self.rng.random() < 0.5:  # a map with the keys the operation reads
            v = {k: self.rng.choice(VALUES)() for k in keys if self.rng.random() < 0.8}
        return v

    def call(self, op, args, kwargs):
        self.calls += 1
        shown = [describe(a) for a in args] + ["%s=%s" % (k, describe(v)) for k, v in kwargs.items()]
        emit({"event": "begin", "op": op, "inputs": ", ".join(shown)})
        if self.state is not None:
            self.last_state = self.state()  # just before the call: nothing else falls in between
        commands = self.wrapper.command_count()
        lines = LINES.count
        pictures = self.pictures()
        started = time.time()
        outcome, detail = "result", ""
        try:
            getattr(self.wrapper, op)(*args, **kwargs)
        except DOCUMENTED as e:
            outcome = "refused" if isinstance(e, REFUSALS) else "failed"
            detail = "%s: %s" % (type(e).__name__, _text(e))
            if isinstance(e, KeyError) and e.args and isinstance(e.args[0], str):
                keys = self.known_keys.setdefault(op, [])
                if e.args[0] not in keys and len(keys) < 12:
                    keys.append(e.args[0])
        except BaseException as e:  # everything else is a fault, KeyboardInterrupt included
            outcome = "undocumented"
            detail = "%s: %s" % (type(e).__name__, _text(e))
        seconds = time.time() - started
        changed = None
        if self.state is not None:
            now = self.state()
            if outcome == "refused" and now != self.last_state:
                changed = _difference(self.last_state, now)
            self.last_state = now
        if outcome == "refused" and self.quiet_refusals and self.wrapper.command_count() == commands:
            # Refused before the browser got a command: nothing to look at, nothing to say.
            # (The comparisons touch no console: they log their lines, then read the records.)
            if LINES.count != lines:
                changed = "logged %d line(s): %s" % (LINES.count - lines, LINES.last[:200])
            elif self.pictures() != pictures:
                changed = "took a picture"
        bad = outcome == "undocumented" or changed is not None
        self.violations += bad
        emit({"event": "end", "op": op, "outcome": outcome, "detail": detail[:300], "seconds": round(seconds, 3),
              "changed": changed, "bad": bad})
        if self.login is not None and not self.wrapper.isClosed() and self.wrapper.command_count() != commands:
            # The call worked the console's pages: load its top page afresh, so that the
            # next call starts from the top (a refusal midway may leave the browser inside
            # the content frame) and no timer of a page this call left (a collection's
            # download two seconds after its click) changes the console during the next.
            try:
                self.wrapper.browser.switch_to_default_content()
                self.wrapper.browser.get(self.home)
            except MarletException:
                pass
        if self.login is not None and self.wrapper.isClosed():
            # The call ended the browser: log in again, so the operations after it are
            # swept on a live console and not merely refused for want of a browser.
            emit({"event": "relogin", "after": op})
            self.login()
            self.last_state = self.state()

    def pictures(self):
        return len(os.listdir(self.picture_dir)) if self.picture_dir and os.path.isdir(self.picture_dir) else 0

    def too_long_to_type(self, op, params):
        """Every argument a text too long to type; a map of parameters holds it under every
        key the operation asks for, learnt from its KeyErrors (a few calls)."""
        if not params:
            return
        if params[0].name != "params":
            self.call(op, [MB_TEXT] * len(params), {})
            return
        keys = self.known_keys.setdefault(op, [])
        for _ in range(6):
            known = len(keys)
            self.call(op, [{k: MB_TEXT for k in keys}] + [MB_TEXT] * (len(params) - 1), {})
            if len(keys) == known:
                break

    def sweep(self, op, draws):
        params = parameters(getattr(VornaWebWrapper, op), op)
        required = [p for p in params if p.required]
        filler = [0] * (len(params) + 1)
        if required:
            self.call(op, [], {})                                   # too few
        self.call(op, filler, {})                                   # too many
        self.call(op, [], {"no_such_argument": 1})                  # an unknown keyword
        if params:
            self.call(op, [0] * len(params), {params[0].name: 0})  # one argument twice
        # An operation without arguments has no wrong values; drawing none for one with
        # defaults would call it as it is meant to be called: every draw sets one at least.
        for _ in range(draws if params else 0):
            args, kwargs = [], {}
            for i, p in enumerate(params):
                if not p.required and (args or kwargs) and self.rng.random() < 0.3:
                    continue
                v = self.value(op)
                if kwargs or self.rng.random() < 0.4 or (i > len(args)):
                    kwargs[p.name] = v
                else:
                    args.append(v)
            self.call(op, args, kwargs)
        self.too_long_to_type(op, params)


class LineCount(object):
    """The class's logger during the sweep: counts the lines, keeps the last."""

    def __init__(self):
        self.count = 0
        self.last = ""

    def _line(self, line):
        self.count += 1
        self.last = str(line)

    info = warn = error = _line


LINES = LineCount()


def _text(e):
    try:
        return str(e)[:300]
    except Exception:
        return "<no text>"


def _difference(before, after):
    """The top-level keys of the console's state that a call changed."""
    keys = sorted(k for k in set(before) | set(after) if before.get(k) != after.get(k))
    return "changed %s: %s" % (", ".join(keys), json.dumps({k: after.get(k) for k in keys})[:300])


def emit(record):
    sys.stdout.write(json.dumps(record) + "\n")
    sys.stdout.flush()


def state_reader(url):
    ctx = ssl.create_default_context()
    ctx.check_hostname = False
    ctx.verify_mode = ssl.CERT_NONE

    def read():
        with urlopen(Request(url + "/__sim/state"), context=ctx, timeout=20) as resp:
            return json.loads(resp.read().decode("utf-8"))
    return read


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--part", choices=["compare", "console", "session"], required=True)
    ap.add_argument("--seed", type=int, required=True)
    ap.add_argument("--draws", type=int, default=6)
    ap.add_argument("--url")
    ap.add_argument("--screenshots", default=None)
    ap.add_argument("--time-scale", type=float, default=0.02)
    a = ap.parse_args()
    sys.setrecursionlimit(10000)
    set_time_scale(a.time_scale)
    rng = random.Random(a.seed)
    browser = {"screenshot_dir": a.screenshots} if a.screenshots else {}
    VornaWebWrapper.logger = LINES
    wrapper = VornaWebWrapper({"browser": browser})
    state = None
    login = None
    if a.part == "console":
        address, port = a.url.split("://")[1].rsplit(":", 1)

        def login():
            wrapper.web_login({"bmc": {"local_ip": address, "username": "admin", "password": "Admin@9000",
                                       "extra_port": {"https": int(port)}}})
        login()
        state = state_reader(a.url)
    sweep = Sweep(wrapper, rng, state, a.screenshots)
    sweep.quiet_refusals = a.part != "compare"
    sweep.login = login
    sweep.home = a.url + "/index.html" if a.url else None
    ops = operations(a.part)
    emit({"event": "operations", "names": ops})
    for op in ops:
        sweep.sweep(op, a.draws)
    try:
        wrapper.web_close()
    except DOCUMENTED:
        pass
    emit({"event": "done", "calls": sweep.calls, "violations": sweep.violations})


if __name__ == "__main__":
    main()
