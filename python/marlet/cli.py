"""vorna: one console operation from the command line.

    vorna [options] call OPERATION [PARAMS]
    vorna [options] inventory
    vorna show-trace FILE [--out report.html]

Logs into one console, runs the operation (or every inventory reader), prints the result
as JSON on standard output, and logs out and closes the browser, also when something
fails. PARAMS is one JSON text (or @FILE holding one): an array gives the operation's
positional arguments, an object is the operation's one params map; an operation that
takes no arguments takes no PARAMS.

Failures are one JSON object on standard error, {"error": <type>, "message": <text>}
(with "operation" when an operation raised it, and "console" when the console said
something during it). Exit codes: 0 done; 1 the operation or
the login failed (or a reader of the inventory did); 2 bad input, found before the
console is touched where possible (bad JSON, an unknown operation, wrong arguments, and
the KeyError, TypeError and ValueError an operation raises for its params); 130
interrupted. The password never appears in output, errors or log lines.

With --trace DIR the browser session is traced into a file in DIR (docs/traces.md);
`show-trace` turns such a file into one HTML page, needing no console and no login.
"""
import argparse
import getpass
import json
import logging
import os
import re
import sys
import threading
import time

# The password is read from a file, this variable or the terminal; never from an option,
# which any user of the machine could read in the process list.
PASSWORD_ENV = "VORNA_PASSWORD"
MASK = "********"

# The operations, their subsystems and docs come from the module's table of operations
# (`_operations`, in the order --help shows them); these notes are the command line's own.
NOTES = {
    "session": "vorna logs in and out by itself",
    "first-login registration": "no login before; address and user from the options",
    "bench comparison": "offline: no console, no login",
}
OTHER = "other"

# vorna itself logs in before and out after: these would undo or repeat that.
NOT_CALLABLE = {"web_login", "web_logout", "web_close", "web_kill_firefox"}
# `vorna inventory`: every reader, with its arguments. The processors are read through
# web_get_cpu_info_vorna: web_get_cpu_info_vorna_single and web_get_cpu_info_all are its
# inner readers and work only on the processors' tab it opens ("all" gives every one).
INNER_READERS = {"web_get_cpu_info_vorna_single", "web_get_cpu_info_all"}
INVENTORY_ARGS = {"web_get_cpu_info_vorna": [{"type": "all"}]}

EXIT_OK, EXIT_FAILED, EXIT_BAD_INPUT, EXIT_INTERRUPTED = 0, 1, 2, 130


class UsageError(Exception):
    """Bad input found by vorna itself, before the console is touched."""


def wrapper_class():
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    return VornaWebWrapper


def operation_table():
    """[{"subsystem", "name", "args", "login", "doc"}]: every operation of the class."""
    from marlet.wrapper.gui.web.vorna.vornav1 import vornawebwrapper
    return vornawebwrapper._operations


def public_operations(cls):
    """The operations of the class: its own public methods (the element layer it stands
    on and the attributes are not operations)."""
    return sorted(name for name, value in vars(cls).items()
                  if not name.startswith("_") and callable(value) and not isinstance(value, logging.Logger))


def operation_groups(cls):
    """[(subsystem, [operations])] with every public operation exactly once, in the
    table's order; one the table lacks is shown under "other"."""
    present = set(public_operations(cls))
    groups, seen = [], set()
    for entry in operation_table():
        name = entry["name"]
        if name not in present or name in seen:
            continue
        seen.add(name)
        if not groups or groups[-1][0] != entry["subsystem"]:
            groups.append((entry["subsystem"], []))
        groups[-1][1].append(name)
    rest = sorted(present - seen)
    if rest:
        groups.append((OTHER, rest))
    return groups


def no_login():
    """Run with no login first: they log in themselves from their params, or need no console."""
    return {e["name"] for e in operation_table() if e["login"] != "needed"}


def offline():
    """The operations that touch no console at all."""
    return {e["name"] for e in operation_table() if e["login"] == "offline"}


def inventory_readers():
    """Every reader `vorna inventory` runs, in the table's order."""
    return [e["name"] for e in operation_table()
            if e["subsystem"] == "inventory" and e["name"] not in INNER_READERS]


# ---- arguments of an operation ----

def parse_params(text):
    """The operation's positional arguments from PARAMS: an array is the arguments, an
    object is one params map, nothing is no arguments. @FILE reads the JSON from FILE."""
    if text is None:
        return []
    source = "PARAMS"
    if text.startswith("@"):
        source = text[1:]
        try:
            with open(source, encoding="utf-8") as f:
                text = f.read()
        except OSError as e:
            raise UsageError("cannot read %s: %s" % (source, e.strerror))
    try:
        value = json.loads(text)
    except ValueError as e:
        raise UsageError("%s is no JSON: %s" % (source, e))
    if isinstance(value, list):
        return value
    if isinstance(value, dict):
        return [value]
    raise UsageError("%s must be a JSON array (the arguments) or object (one params map), not %s"
                     % (source, type(value).__name__))


def _split_top_level(text):
    """Splits a parameter list on the commas outside brackets and quotes."""
    parts, depth, quote, current = [], 0, None, ""
    for ch in text:
        if quote:
            if ch == quote:
                quote = None
        elif ch in "'\"":
            quote = ch
        elif ch in "([{":
            depth += 1
        elif ch in ")]}":
            depth -= 1
        elif ch == "," and depth == 0:
            parts.append(current.strip())
            current = ""
            continue
        current += ch
    if current.strip():
        parts.append(current.strip())
    return parts


def arity(method, name):
    """(required, most) positional arguments of a bound operation, from the signature the
    binding writes atop its docstring; None when there is none to read."""
    doc = getattr(method, "__doc__", None) or ""
    first = doc.strip().splitlines()[0] if doc.strip() else ""
    m = re.match(r"^%s\((.*)\)\s*->" % re.escape(name), first)
    if not m:
        return None
    params = _split_top_level(m.group(1))
    if params and params[0].startswith("self"):
        params = params[1:]
    if any(p.startswith("*") for p in params):
        return None
    required = sum(1 for p in params if "=" not in p)
    return required, len(params)


def check_arguments(cls, name, args):
    """UsageError for an unknown operation or a wrong number of arguments."""
    if name in NOT_CALLABLE:
        raise UsageError("%s is not called through vorna: it logs in before and out after every call" % name)
    if name not in public_operations(cls):
        raise UsageError("unknown operation %r (vorna --help lists them)" % name)
    bounds = arity(getattr(cls, name), name)
    if bounds is None:
        return
    required, most = bounds
    if not required <= len(args) <= most:
        wanted = str(required) if required == most else "%d to %d" % (required, most)
        raise TypeError("%s() takes %s argument%s (%d given)" % (name, wanted, "" if most == 1 else "s", len(args)))


# ---- output ----

class Scrubber(object):
    """Replaces the password wherever a text would show it."""

    def __init__(self, password=None):
        self.password = password

    def __call__(self, text):
        from marlet.utils.trace import mask  # the traces mask with the same function
        return mask(text, [self.password])


class MaskingFilter(logging.Filter):
    def __init__(self, scrub):
        logging.Filter.__init__(self)
        self.scrub = scrub

    def filter(self, record):
        record.msg = self.scrub(record.getMessage())
        record.args = ()
        return True


def error_record(exc, scrub, operation=None):
    """{"error": type name, "message": text} (and "operation", and "console": what the
    console said during the operation), password masked."""
    if isinstance(exc, KeyError) and len(exc.args) == 1:
        message = str(exc.args[0])  # str(KeyError) would quote the key
    else:
        message = str(exc)
    record = {"error": type(exc).__name__, "message": scrub(message)}
    if operation:
        record["operation"] = operation
    console = getattr(exc, "console_messages", None)
    if console:
        record["console"] = [scrub(text) for text in console]
    return record


def exit_code_of(exc):
    if isinstance(exc, (UsageError, KeyError, TypeError, ValueError)):
        return EXIT_BAD_INPUT
    return EXIT_FAILED


def to_json(value):
    return json.dumps(value, indent=2, ensure_ascii=False, default=str)


# ---- progress ----

def progress_text(activity):
    """'[web_get_memory_web_info] settle 15.0 s, 9.2 s left' from wrapper.activity()."""
    tag = activity.get("operation") or "vorna"
    what = " " + activity["what"] if activity.get("what") else ""
    return "[%s] %s%s %.1f s, %.1f s left" % (tag, activity["kind"], what, activity["seconds"], activity["left"])


class Progress(object):
    """Shows the wrapper's current settle or wait on `stream`, at most once per `interval`
    seconds: redrawn in place on a terminal, one plain line each otherwise. Nothing is
    shown in the first `interval` seconds, so quick operations stay silent."""

    def __init__(self, wrapper, stream, interval=1.0, redraw=None, now=time.monotonic):
        self.wrapper = wrapper
        self.stream = stream
        self.interval = interval
        self.redraw = stream.isatty() if redraw is None else redraw
        self.now = now
        self.last = now()
        self.drawn = False
        self._stop = threading.Event()
        self._thread = None

    def tick(self):
        """Shows the activity if one is under way and `interval` has passed; True if shown."""
        current = self.now()
        if current - self.last < self.interval:
            return False
        activity = self.wrapper.activity()
        if activity is None:
            return False
        self.last = current
        text = progress_text(activity)
        if self.redraw:
            self.stream.write("\r" + text + "\x1b[K")
            self.drawn = True
        else:
            self.stream.write(text + "\n")
        self.stream.flush()
        return True

    def clear(self):
        """Takes a line drawn in place off the terminal, before other output."""
        if self.drawn:
            self.stream.write("\r\x1b[K")
            self.stream.flush()
            self.drawn = False

    def _run(self):
        while not self._stop.wait(0.1):
            try:
                self.tick()
            except Exception:  # a progress line is never worth a failure
                pass

    def __enter__(self):
        self._thread = threading.Thread(target=self._run, name="vorna-progress")
        self._thread.daemon = True
        self._thread.start()
        return self

    def __exit__(self, *exc):
        self._stop.set()
        self._thread.join(5)
        self.clear()
        return False


class NoProgress(object):
    def __enter__(self):
        return self

    def __exit__(self, *exc):
        return False

    def clear(self):
        pass


# ---- the command line ----

class Parser(argparse.ArgumentParser):
    """An ArgumentParser whose errors are UsageError (shown as JSON, exit code 2)."""

    def error(self, message):
        raise UsageError(message)


def build_parser(cls):
    docs = {e["name"]: e["doc"] for e in operation_table()}
    epilog = ["operations, by subsystem:"]
    for title, names in operation_groups(cls):
        epilog.append("  %s:" % ("%s (%s)" % (title, NOTES[title]) if title in NOTES else title))
        width = max(len(n) for n in names)
        epilog.extend(("    %-*s  %s" % (width, n, docs.get(n, ""))).rstrip() for n in names)
    epilog += ["",
               "PARAMS is one JSON text, or @FILE: an array gives the positional arguments, an",
               "object is one params map. Result: JSON on standard output. Errors: one JSON",
               'object on standard error, {"error": <type>, "message": <text>}. Exit codes: 0 done,',
               "1 operation or login failed, 2 bad input, 130 interrupted.",
               "The password comes from --password-file, $%s or the terminal." % PASSWORD_ENV]
    p = Parser(prog="vorna", description="Runs one operation against one controller's web console.",
               epilog="\n".join(epilog), formatter_class=argparse.RawDescriptionHelpFormatter)
    c = p.add_argument_group("console")
    c.add_argument("--address", help="the controller's address (the login record's local_ip)")
    c.add_argument("--port", type=int, help="its HTTPS port (the record's extra_port['https']; default 443)")
    c.add_argument("--protocol", choices=["https", "http"], help="the login's web_protocol (default https)")
    c.add_argument("--user", help="the user to log in as")
    c.add_argument("--password-file", metavar="FILE",
                   help="a file whose first line is the password ('-': standard input)")
    b = p.add_argument_group("wrapper")
    b.add_argument("--host", help="the constructor's 'host' (text, kept for the harness)")
    b.add_argument("--device", help="the constructor's 'device' (text, kept for the harness)")
    b.add_argument("--browser", metavar="JSON", help="the constructor's 'browser' map, e.g. "
                   '\'{"name": "chromium", "driver": "chromedriver"}\'')
    b.add_argument("--visible", action="store_true", help="show the browser window (headless otherwise)")
    b.add_argument("--screenshots", metavar="DIR", help="folder for the pictures taken (one on each failure)")
    b.add_argument("--time-scale", type=float, default=1.0, metavar="F",
                   help="factor on every settle and wait (default 1.0, the console's pace)")
    b.add_argument("--settle", choices=["adaptive", "fixed"], default="adaptive",
                   help="adaptive: each settle ends once the page is quiet (default); "
                        "fixed: each settle waits its whole length")
    b.add_argument("--trace", metavar="DIR", help="trace the browser session into a file in DIR")
    b.add_argument("--trace-mode", choices=["on", "retain-on-failure"], default="on",
                   help="on: keep the trace, a picture after each operation (default); "
                        "retain-on-failure: keep it only when something failed")
    o = p.add_argument_group("output")
    o.add_argument("--no-progress", action="store_true", help="no progress line on standard error")
    o.add_argument("--verbose", "-v", action="store_true", help="the wrapper's log lines on standard error")
    sub = p.add_subparsers(dest="command", metavar="COMMAND", parser_class=Parser)
    call = sub.add_parser("call", help="run one operation and print its result")
    call.add_argument("operation")
    call.add_argument("params", nargs="?", metavar="PARAMS", help="JSON array or object, or @FILE")
    sub.add_parser("inventory", help="every inventory reader in one JSON document")
    show = sub.add_parser("show-trace", help="write a trace file as one HTML page (no console needed)")
    show.add_argument("file", metavar="FILE", help="a trace written with --trace")
    show.add_argument("--out", metavar="HTML", help="the page to write (default: FILE with .html)")
    return p


def show_trace(args, stdout):
    """Writes the page of a trace and prints its path."""
    from marlet.trace.viewer import TraceError, write_report
    try:
        out = write_report(args.file, args.out)
    except OSError as e:
        raise UsageError("cannot read %s or write its page: %s" % (args.file, e.strerror))
    except TraceError as e:
        raise UsageError(str(e))
    stdout.write(to_json({"report": os.path.abspath(out)}) + "\n")
    stdout.flush()
    return EXIT_OK


def read_password(args):
    if args.password_file:
        try:
            if args.password_file == "-":
                line = sys.stdin.readline()
            else:
                with open(args.password_file, encoding="utf-8") as f:
                    line = f.readline()
        except OSError as e:
            raise UsageError("cannot read the password file: %s" % e.strerror)
        return line.rstrip("\r\n")
    if os.environ.get(PASSWORD_ENV):
        return os.environ[PASSWORD_ENV]
    if sys.stdin.isatty():
        return getpass.getpass("password for %s@%s: " % (args.user, args.address))
    raise UsageError("no password: give --password-file FILE or set %s" % PASSWORD_ENV)


def browser_map(args):
    browser = {}
    if args.browser:
        try:
            browser = json.loads(args.browser)
        except ValueError as e:
            raise UsageError("--browser is no JSON: %s" % e)
        if not isinstance(browser, dict):
            raise UsageError("--browser must be a JSON object")
    if args.visible:
        browser["headless"] = False
    if args.screenshots:
        browser["screenshot_dir"] = os.path.abspath(args.screenshots)
    return browser


def wrapper_params(args, browser):
    """The constructor's params from the options."""
    params = {"host": args.host, "device": args.device, "settle": args.settle}
    if browser:
        params["browser"] = browser
    if args.trace:
        params["trace"] = {"dir": os.path.abspath(args.trace), "mode": args.trace_mode}
    return params


def controller_record(args, password):
    record = {"local_ip": args.address, "username": args.user, "password": password}
    if args.port is not None:
        record["extra_port"] = {"https": args.port}
    return record


def setup_logging(cls, verbose, scrub):
    """The wrapper's log lines: none by default, masked lines on stderr with --verbose.
    Returns a function that puts the logger back as it was."""
    logger = cls.logger
    saved = (list(logger.handlers), logger.propagate, logger.level)

    def restore():
        logger.handlers[:] = saved[0]
        logger.propagate, logger.level = saved[1], saved[2]

    logger.propagate = False
    for h in list(logger.handlers):
        logger.removeHandler(h)
    if verbose:
        handler = logging.StreamHandler(sys.stderr)
        handler.setFormatter(logging.Formatter("%(asctime)s %(levelname)s %(message)s"))
        handler.addFilter(MaskingFilter(scrub))
        logger.addHandler(handler)
        logger.setLevel(logging.INFO)
    else:
        logger.addHandler(logging.NullHandler())
    return restore


class Session(object):
    """One wrapper, logged in for the block (unless `login` is false), logged out and
    closed after it whatever happens."""

    def __init__(self, wrapper, login_params, login, report):
        self.wrapper = wrapper
        self.login_params = login_params
        self.login = login
        self.report = report  # called with a warning record
        self.logging_in = False

    def __enter__(self):
        if self.login:
            self.logging_in = True
            try:
                self.wrapper.web_login(self.login_params)
            except BaseException:
                self._close()
                raise
            self.logging_in = False
        return self.wrapper

    def __exit__(self, exc_type, exc, tb):
        if self.login and self.wrapper.isLogin and not self.wrapper.isClosed():
            try:
                # Several operations end inside the content frame; the log-out link is
                # in the top document.
                self.wrapper.browser.switch_to_default_content()
                self.wrapper.web_logout()
            except Exception as e:
                self.report({"warning": "logout failed", "error": type(e).__name__, "message": str(e)})
        self._close()
        return False

    def _close(self):
        try:
            self.wrapper.web_close()
        except Exception as e:
            self.report({"warning": "closing the browser failed", "error": type(e).__name__, "message": str(e)})


def run_inventory(wrapper, scrub):
    """{reader: result or {"error", "message"}}, and how many readers failed."""
    document, failed = {}, 0
    for name in inventory_readers():
        try:
            document[name] = getattr(wrapper, name)(*INVENTORY_ARGS.get(name, []))
        except Exception as e:
            failed += 1
            document[name] = error_record(e, scrub)
        # Some readers end inside the content frame; the next one starts at the top.
        try:
            if not wrapper.isClosed():
                wrapper.browser.switch_to_default_content()
        except Exception:
            pass
    return document, failed


def main(argv=None, stdout=None, stderr=None):
    stdout = stdout or sys.stdout
    stderr = stderr or sys.stderr
    scrub = Scrubber()
    progress = NoProgress()

    def emit_error(record):
        progress.clear()
        stderr.write(json.dumps(record, ensure_ascii=False) + "\n")
        stderr.flush()

    def warn(record):
        record = {k: scrub(v) for k, v in record.items()}
        emit_error(record)

    operation = None
    session = None
    restore_logging = None
    try:
        cls = wrapper_class()
        parser = build_parser(cls)
        args = parser.parse_args(argv)
        if args.command is None:
            raise UsageError("give a command: call OPERATION [PARAMS], inventory, or show-trace FILE (vorna --help)")
        if args.command == "show-trace":
            return show_trace(args, stdout)
        call_args = []
        login = True
        if args.command == "call":
            operation = args.operation
            call_args = parse_params(args.params)
            check_arguments(cls, operation, call_args)
            login = operation not in no_login()
        offline_call = args.command == "call" and operation in offline()
        password = None
        if not offline_call:
            if not args.address:
                raise UsageError("--address is needed")
            if not args.user:
                raise UsageError("--user is needed")
            password = read_password(args)
        scrub.password = password
        browser = browser_map(args)
        from marlet.utils.time import set_time_scale
        if not args.time_scale > 0:
            raise UsageError("--time-scale must be above 0")
        set_time_scale(args.time_scale)
        restore_logging = setup_logging(cls, args.verbose, scrub)

        wrapper = cls(wrapper_params(args, browser))
        if password is not None:
            # Defaults of the operations that log in from their own params.
            wrapper.bmc_ip, wrapper.username, wrapper.password = args.address, args.user, password
        login_params = {"bmc": controller_record(args, password)}
        if args.protocol:
            login_params["web_protocol"] = args.protocol
        if not args.no_progress:
            progress = Progress(wrapper, stderr, redraw=None if not args.verbose else False)
        session = Session(wrapper, login_params, login and not offline_call, warn)
        with progress, session as w:
            if args.command == "inventory":
                operation = None
                document, failed = run_inventory(w, scrub)
                result, code = document, (EXIT_FAILED if failed else EXIT_OK)
            else:
                result, code = getattr(w, operation)(*call_args), EXIT_OK
        stdout.write(to_json(result) + "\n")
        stdout.flush()
        if code != EXIT_OK:
            emit_error({"error": "InventoryIncomplete",
                        "message": "%d of %d readers failed" % (failed, len(inventory_readers()))})
        return code
    except KeyboardInterrupt:
        emit_error({"error": "KeyboardInterrupt", "message": "interrupted"})
        return EXIT_INTERRUPTED
    except Exception as e:
        if session is not None and session.logging_in:
            operation = "web_login"
        emit_error(error_record(e, scrub, operation if not isinstance(e, UsageError) else None))
        return exit_code_of(e)
    finally:
        if restore_logging:
            restore_logging()


if __name__ == "__main__":
    sys.exit(main())
