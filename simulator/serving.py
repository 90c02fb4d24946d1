"""A running console: bound to a loopback address, served from a thread, moved to
another address when the console's management address is saved (api_network.py), and
shut down.
"""
import shutil
import ssl
import sys
import threading

try:
    from http.server import ThreadingHTTPServer
except ImportError:  # Python 3.6 has no ThreadingHTTPServer
    from http.server import HTTPServer
    from socketserver import ThreadingMixIn

    class ThreadingHTTPServer(ThreadingMixIn, HTTPServer):
        daemon_threads = True

from simulator import certificates
from simulator.routing import Handler
from simulator.state import State


class ConsoleServer(ThreadingHTTPServer):
    """One address the console is served on. `retire_pending`: the console has moved,
    and the request under way is the last this address answers; `retired`: it answers
    nothing more."""
    daemon_threads = True
    retired = False
    retire_pending = False

    def handle_error(self, request, client_address):
        """A browser that leaves a page drops the requests still being answered: that is
        no fault of the console, so no traceback for it."""
        if isinstance(sys.exc_info()[1], (ConnectionError, ssl.SSLError)):
            return
        ThreadingHTTPServer.handle_error(self, request, client_address)

    def retire(self):
        """Stops answering from now on, and closes in a thread of its own (the caller
        may be one of this server's handlers)."""
        self.retired = True
        threading.Thread(target=_close_server, args=(self,), name="console-retire").start()


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
    httpd = ConsoleServer((address, port), Handler)
    if ssl_context is not None:
        httpd.socket = ssl_context.wrap_socket(httpd.socket, server_side=True)
    return httpd


def start_server(address="127.0.0.1", port=0, https=True, scenario="default", on_move=None, latency=None):
    """Starts a console in this process, serving from a thread of its own.
    `latency`: the latency profile, e.g. {"profile": "realistic", "scale": 0.05}."""
    ctx, tmpdir = certificates.server_context() if https else (None, None)
    httpd = _bind(address, port, ctx)
    httpd.state = State(scenario, latency)
    return Simulator(httpd, "https" if https else "http", address, tmpdir, ctx, on_move)
