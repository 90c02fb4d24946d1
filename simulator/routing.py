"""The request handler: which job each path goes to.

    /__sim/data/<section>  a page's data request (latency.py)
    /__sim/...             the tests' control API (control.py)
    /api/login, /api/logout  the session (session.py)
    /api/...               the console's actions (actions.py, api_<subsystem>.py)
    /, pages, static       the pages with their injected script (rendering.py)

Before any of them a request meets the faults (faults.py); a console that has moved to
another address stops answering on the old one (serving.py).
"""
import json
from http.server import BaseHTTPRequestHandler

from simulator import actions, control, faults, rendering, session
from simulator import latency as latency_profile


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
        return session.user(self.state, self.headers)

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

    def _retired(self):
        # A console that moved away no longer answers on its old address: the connection
        # is dropped with no reply, as a host that is gone would leave it.
        if getattr(self.server, "retired", False):
            self.close_connection = True
            return True
        return False

    def _retire_after_reply(self):
        # The request that moved the console is answered on the old address; right after
        # that reply the old address stops answering (see serving.Simulator.move).
        if getattr(self.server, "retire_pending", False) and not self.server.retired:
            self.close_connection = True
            self.server.retire()

    def do_GET(self):
        if self._retired():
            return
        path = self.path.split("?", 1)[0]
        self.hold_reply = None
        if faults.held_or_dropped(self, path):
            return
        faults.delay(self.state, path)
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
        found = rendering.page(self.state, path)
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
        if faults.held_or_dropped(self, path):
            return
        faults.delay(self.state, path)
        body = self._body()
        if path.startswith("/__sim/"):
            status, payload = control.handle(self.state, "POST", path, body)
            return self._json(status, payload)
        if path.startswith("/api/"):
            # A save takes effect at once and answers late: a page opened meanwhile shows it.
            latency = self._latency()
            self.hold_reply = lambda: latency_profile.hold_save(latency, path)
        if path == "/api/login":
            return self._json(*session.login(self.state, body or {}))
        if path == "/api/logout":
            return self._json(*session.logout(self.state, self._session_user()))
        if path.startswith("/api/"):
            status, payload = actions.post(self.state, path, body or {}, self._session_user())
            return self._json(status, payload)
        return self._json(404, {"error": "no endpoint"})
