"""The console simulator's HTTP(S) server.

    python3 -m simulator.server --address 127.0.0.1 --port 0 --https [--scenario default]
        [--latency realistic --latency-scale 0.05]

prints "SIMULATOR READY <scheme>://<address>:<port>" once it listens. Pages are plain
files under pages/ and static/; the console's actions are JSON endpoints under /api/;
the control API for tests lives under /__sim/ (see control.py); how late the console
answers is the latency profile (see latency.py).
"""
import argparse
import json
import os
import shutil
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import uuid

try:
    from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
except ImportError:  # Python 3.6 has no ThreadingHTTPServer
    from http.server import BaseHTTPRequestHandler, HTTPServer
    from socketserver import ThreadingMixIn

    class ThreadingHTTPServer(ThreadingMixIn, HTTPServer):
        daemon_threads = True

if __package__ in (None, ""):
    sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

from simulator import actions, control  # noqa: E402
from simulator import latency as latency_profile  # noqa: E402
from simulator.pages_table import PLACEHOLDERS, placeholder  # noqa: E402
from simulator.state import State  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
# The longest a request held by the "hang" fault stays open (seconds).
HANG_LIMIT = 300
CONTENT_TYPES = {".html": "text/html; charset=utf-8", ".js": "application/javascript; charset=utf-8",
                 ".css": "text/css; charset=utf-8", ".json": "application/json"}


def make_certificate(directory):
    """A self-signed certificate for loopback, made with the openssl command line."""
    cert, key = os.path.join(directory, "cert.pem"), os.path.join(directory, "key.pem")
    subprocess.check_call(
        ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", cert,
         "-days", "30", "-subj", "/CN=vorna-console-simulator",
         "-addext", "subjectAltName=IP:127.0.0.1,DNS:localhost"],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return cert, key


class Handler(BaseHTTPRequestHandler):
    server_version = "VornaConsoleSimulator/1.0"
    protocol_version = "HTTP/1.1"

    def log_message(self, fmt, *args):  # quiet: tests read stdout for the ready line
        pass

    @property
    def state(self):
        return self.server.state

    def _send(self, status, body, content_type="application/json", headers=None):
        data = body if isinstance(body, bytes) else body.encode("utf-8")
        hold, self.hold_reply = getattr(self, "hold_reply", None), None
        if hold:
            hold()
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        self.send_header("Content-Length", str(len(data)))
        self.send_header("Cache-Control", "no-store")
        for k, v in (headers or {}).items():
            self.send_header(k, v)
        self.end_headers()
        self.wfile.write(data)

    def _json(self, status, payload, headers=None):
        self._send(status, json.dumps(payload, ensure_ascii=False), headers=headers)

    def _body(self):
        length = int(self.headers.get("Content-Length") or 0)
        if not length:
            return None
        raw = self.rfile.read(length)
        # A file the page uploads (the firmware image) comes as the file's own bytes, as
        # a browser sends a File; its handler gets them with the file's name.
        if (self.headers.get("Content-Type") or "").startswith("application/octet-stream"):
            from urllib.parse import unquote
            return {"_raw": raw, "_filename": unquote(self.headers.get("X-File-Name") or "")}
        try:
            return json.loads(raw.decode("utf-8"))
        except ValueError:
            return None

    def _session_user(self):
        cookie = self.headers.get("Cookie") or ""
        for part in cookie.split(";"):
            name, _, value = part.strip().partition("=")
            if name == "sid":
                with self.state.lock:
                    return self.state.sessions.get(value)
        return None

    def _held_or_dropped(self, path):
        """The faults of a console that stops answering: True when the request got no
        answer (the connection is then closed) and nothing more should be done."""
        if path.startswith("/__sim/"):
            return False  # the tests' own channel always answers
        with self.state.lock:
            hang = self.state.faults.get("hang", [])
            drop = self.state.faults.get("drop", [])
            held = path in hang or "*" in hang
            dropped = path in drop or "*" in drop
        if held:
            # Held open as a console that accepted the connection and went quiet: no
            # status line, no headers, until the fault is cleared or HANG_LIMIT passes.
            deadline = time.time() + HANG_LIMIT
            while time.time() < deadline and getattr(self.server, "state", None) is not None:
                with self.state.lock:
                    hang = self.state.faults.get("hang", [])
                    if path not in hang and "*" not in hang:
                        break
                time.sleep(0.05)
            dropped = True
        if dropped:
            self.close_connection = True
            try:
                self.connection.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
            return True
        return False

    def _delay(self, path):
        with self.state.lock:
            delay = self.state.faults["slow"].get(path, 0)
        if delay:
            time.sleep(float(delay))

    def _latency(self):
        with self.state.lock:
            return dict(self.state.latency)

    def _section_data(self, section):
        # A page's data request (console.js whenData): answered after the section's delay
        # with the machine as it is now.
        if not latency_profile.hold_section(self._latency(), section):
            return self._json(404, {"error": "no data section %r" % section})
        with self.state.lock:
            machine = json.loads(json.dumps(self.state.machine))
        return self._json(200, {"section": section, "machine": machine})

    def _page(self, path):
        """(bytes, content type) of a page or static file, or None."""
        if path in ("/login.html", "/index.html"):
            rel = "pages" + path
        elif path.startswith("/pages/") or path.startswith("/static/"):
            rel = path.lstrip("/")
        else:
            return None
        full = os.path.normpath(os.path.join(HERE, rel))
        allowed = (os.path.join(HERE, "pages") + os.sep, os.path.join(HERE, "static") + os.sep)
        if not full.startswith(allowed):
            return None
        page = os.path.splitext(os.path.basename(full))[0]
        if os.path.isfile(full):
            with open(full, "rb") as f:
                data = f.read()
        elif rel.startswith("pages/") and page in PLACEHOLDERS:
            data = placeholder(page).encode("utf-8")
        else:
            return None
        ext = os.path.splitext(full)[1]
        if ext == ".html":
            # Pages render from the machine as it is when they load, with no round trip:
            # what the driver reads right after opening a page is already there.
            with self.state.lock:
                missing = list(self.state.faults["missing"].get(page, []))
                refused = list(self.state.faults["refuse"])
                faults = json.dumps(self.state.faults, ensure_ascii=False).replace("</", "<\\/")
                machine = json.dumps(self.state.machine, ensure_ascii=False).replace("</", "<\\/")
                latency = json.dumps(latency_profile.page_settings(self.state.latency))
            # The refused actions too: a page that shows a change at once (as the console
            # does) must know before it asks that the save will be turned down.
            # Clicks that land before a page's own scripts have run (a driver is quicker than
            # a page that is still loading) are kept in SIM_EARLY_CLICKS, so that a script
            # can answer them once it is ready.
            inject = ("<script>window.SIM_MISSING = %s; window.SIM_REFUSE = %s; window.SIM_FAULTS = %s; "
                      "window.MACHINE = %s; window.SIM_LATENCY = %s; window.SIM_EARLY_CLICKS = []; "
                      "document.addEventListener('click', function (e) { window.SIM_EARLY_CLICKS.push(e.target); "
                      "}, true);</script>") % (json.dumps(missing), json.dumps(refused), faults, machine, latency)
            data = data.replace(b"</head>", inject.encode("utf-8") + b"</head>", 1)
        return data, CONTENT_TYPES.get(ext, "application/octet-stream")

    def _retired(self):
        # A console that moved away no longer answers on its old address: the connection
        # is dropped with no reply, as a host that is gone would leave it.
        if getattr(self.server, "retired", False):
            self.close_connection = True
            return True
        return False

    def _retire_after_reply(self):
        # The request that moved the console is answered on the old address; right after
        # that reply the old address stops answering (see Simulator.move).
        if getattr(self.server, "retire_pending", False) and not self.server.retired:
            self.server.retired = True
            self.close_connection = True
            threading.Thread(target=_close_server, args=(self.server,), name="console-retire").start()

    def do_GET(self):
        if self._retired():
            return
        path = self.path.split("?", 1)[0]
        self.hold_reply = None
        if self._held_or_dropped(path):
            return
        self._delay(path)
        if path.startswith("/__sim/data/"):
            return self._section_data(path[len("/__sim/data/"):])
        if path.startswith("/__sim/"):
            status, payload = control.handle(self.state, "GET", path, None)
            return self._json(status, payload)
        if path.startswith("/api/"):
            latency_profile.hold_get(self._latency(), path)
            status, payload = actions.get(self.state, path, self._session_user())
            # A download (the diagnostics archive, the operation log): a handler returns
            # {"_download": file name, "_bytes": content}, served as an attachment.
            if isinstance(payload, dict) and "_download" in payload:
                return self._send(status, payload["_bytes"], payload.get("_type", "application/octet-stream"),
                                  {"Content-Disposition": 'attachment; filename="%s"' % payload["_download"]})
            return self._json(status, payload)
        if path == "/":
            return self._send(302, "", headers={"Location": "/login.html"})
        found = self._page(path)
        if found is None:
            return self._send(404, "<h1>Not found</h1>", "text/html; charset=utf-8")
        return self._send(200, found[0], found[1])

    def do_POST(self):
        if self._retired():
            return
        try:
            self._post()
        finally:
            self._retire_after_reply()

    def _post(self):
        path = self.path.split("?", 1)[0]
        self.hold_reply = None
        if self._held_or_dropped(path):
            return
        self._delay(path)
        body = self._body()
        if path.startswith("/__sim/"):
            status, payload = control.handle(self.state, "POST", path, body)
            return self._json(status, payload)
        if path.startswith("/api/"):
            # A save takes effect at once and answers late: a page opened meanwhile shows it.
            latency = self._latency()
            self.hold_reply = lambda: latency_profile.hold_save(latency, path)
        if path == "/api/login":
            return self._login(body or {})
        if path == "/api/logout":
            cookie_user = self._session_user()
            with self.state.lock:
                for sid, user in list(self.state.sessions.items()):
                    if user == cookie_user:
                        del self.state.sessions[sid]
            if cookie_user:
                self.state.log_operation(cookie_user, "Log out successfully")
            return self._json(200, {"ok": True}, {"Set-Cookie": "sid=; Path=/; Max-Age=0"})
        if path.startswith("/api/"):
            status, payload = actions.post(self.state, path, body or {}, self._session_user())
            return self._json(status, payload)
        return self._json(404, {"error": "no endpoint"})

    def _login(self, body):
        name, password = body.get("username", ""), body.get("password", "")
        with self.state.lock:
            record = next((u for u in self.state.machine["users"]
                           if u["name"] == name and u["password"] == password), None)
            ok = record is not None
            tips = bool(self.state.machine.get("login", {}).get("password_tips"))
            # An account that must change its password at its first login (api_accounts.py).
            first_login = bool(ok and record.get("first_login"))
            if ok:
                sid = uuid.uuid4().hex
                self.state.sessions[sid] = name
        if not ok:
            self.state.log_operation(name, "Log in failed")
            return self._json(200, {"ok": False, "message": "Invalid user name or password."})
        self.state.log_operation(name, "Log in successfully")
        return self._json(200, {"ok": True, "password_tips": tips, "first_login": first_login},
                          {"Set-Cookie": "sid=%s; Path=/; HttpOnly; SameSite=Lax" % sid})


def _close_server(httpd):
    httpd.shutdown()
    httpd.server_close()


class Simulator(object):
    """A running simulator (in this process): .url, .address, .port, .state, .shutdown().

    A saved management address moves it (see move): .url and .address follow."""

    def __init__(self, httpd, scheme, address, tmpdir, ssl_context=None, on_move=None):
        self.httpd = httpd
        self.state = httpd.state
        self.port = httpd.server_address[1]
        self.scheme = scheme
        self.address = address
        self.url = "%s://%s:%d" % (scheme, address, self.port)
        self.on_move = on_move
        self._tmpdir = tmpdir
        self._ssl_context = ssl_context
        self._servers = []
        self._serve(httpd)
        self.state.set_served_address(address)
        self.state.move_console = self.move

    def _serve(self, httpd):
        thread = threading.Thread(target=httpd.serve_forever, name="console-simulator")
        thread.daemon = True
        thread.start()
        self._servers.append((httpd, thread))

    def move(self, address):
        """Serves the console on `address`, same port and scheme, from now on. Raises
        OSError (nothing changed) when the address cannot be bound. The old address keeps
        answering only the request under way, the one that asked for the move."""
        httpd = _bind(address, self.port, self._ssl_context)
        httpd.state = self.state
        old = self.httpd
        old.retire_pending = True
        self.httpd = httpd
        self.address = address
        self.url = "%s://%s:%d" % (self.scheme, address, self.port)
        self._serve(httpd)
        self.state.set_served_address(address)
        if self.on_move:
            self.on_move(self)

    def shutdown(self):
        for httpd, thread in self._servers:
            if not getattr(httpd, "retired", False):
                httpd.retired = True
                _close_server(httpd)
            thread.join(10)
        if self._tmpdir:
            shutil.rmtree(self._tmpdir, ignore_errors=True)


def _bind(address, port, ssl_context):
    if not address.startswith("127."):
        raise ValueError("the simulator serves loopback addresses only (127.0.0.0/8)")
    httpd = ThreadingHTTPServer((address, port), Handler)
    httpd.daemon_threads = True
    httpd.retired = False
    httpd.retire_pending = False
    if ssl_context is not None:
        httpd.socket = ssl_context.wrap_socket(httpd.socket, server_side=True)
    return httpd


def _make_server(address, port, https, scenario, latency=None):
    ctx, tmpdir = None, None
    if https:
        tmpdir = tempfile.mkdtemp(prefix="vorna-sim-")
        cert, key = make_certificate(tmpdir)
        ctx = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        ctx.load_cert_chain(cert, key)
    httpd = _bind(address, port, ctx)
    httpd.state = State(scenario, latency)
    return httpd, tmpdir, ctx


def start_server(address="127.0.0.1", port=0, https=True, scenario="default", on_move=None, latency=None):
    """`latency`: the latency profile, e.g. {"profile": "realistic", "scale": 0.05}."""
    httpd, tmpdir, ctx = _make_server(address, port, https, scenario, latency)
    return Simulator(httpd, "https" if https else "http", address, tmpdir, ctx, on_move)


def main(argv=None):
    parser = argparse.ArgumentParser(description="Console simulator")
    parser.add_argument("--address", default="127.0.0.1")
    parser.add_argument("--port", type=int, default=0)
    group = parser.add_mutually_exclusive_group()
    group.add_argument("--https", dest="https", action="store_true", default=True)
    group.add_argument("--http", dest="https", action="store_false")
    parser.add_argument("--scenario", default="default")
    parser.add_argument("--latency", choices=latency_profile.PROFILES, default="instant",
                        help="how late the console answers: instant (default) or realistic")
    parser.add_argument("--latency-scale", type=float, default=1.0, metavar="FACTOR",
                        help="multiplies every delay of the latency profile (default 1.0)")
    args = parser.parse_args(argv)
    try:
        latency = latency_profile.normalize({"profile": args.latency, "scale": args.latency_scale})
    except ValueError as e:
        parser.error(str(e))
    def moved(sim):
        print("SIMULATOR MOVED %s" % sim.url)
        sys.stdout.flush()

    sim = start_server(args.address, args.port, args.https, args.scenario, on_move=moved, latency=latency)
    stop = threading.Event()
    signal.signal(signal.SIGTERM, lambda *a: stop.set())
    signal.signal(signal.SIGINT, lambda *a: stop.set())
    print("SIMULATOR READY %s" % sim.url)
    sys.stdout.flush()
    while not stop.wait(0.5):
        pass
    sim.shutdown()


if __name__ == "__main__":
    main()
