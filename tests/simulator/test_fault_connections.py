"""The faults of a console that stops answering: held requests and dropped connections."""
import http.client
import ssl
import threading
import time

import pytest

from simulator.server import start_server
from tests.simulator.client import request


@pytest.fixture
def sim():
    s = start_server(https=True)
    yield s
    s.shutdown()


def fault(sim, body):
    with request(sim.url, "POST", "/__sim/fault", body) as r:
        return r.status


def fetch(sim, path, timeout):
    """(status, None) for an answer, (None, exception) for none."""
    ctx = ssl.create_default_context()
    ctx.check_hostname = False
    ctx.verify_mode = ssl.CERT_NONE
    conn = http.client.HTTPSConnection(sim.address, sim.port, timeout=timeout, context=ctx)
    try:
        conn.request("GET", path)
        response = conn.getresponse()
        response.read()  # all of it: a reader that leaves early shows as an error on the server
        return response.status, None
    except Exception as e:  # the point of these tests: which failure, if any
        return None, e
    finally:
        conn.close()


def test_drop_closes_the_connection_without_an_answer_and_clears(sim):
    fault(sim, {"drop": ["/login.html"]})
    status, error = fetch(sim, "/login.html", 10)
    assert status is None
    assert isinstance(error, (http.client.RemoteDisconnected, ConnectionError, ssl.SSLError)), repr(error)
    assert fetch(sim, "/pages/summary.html", 10)[0] == 200  # other paths still answer
    fault(sim, {"drop": ["*"]})
    assert fetch(sim, "/pages/summary.html", 10)[0] is None
    assert fault(sim, {"clear": True}) == 200  # the control API answers through "*"
    assert fetch(sim, "/login.html", 10)[0] == 200


def test_hang_holds_the_request_until_cleared_then_drops_it(sim):
    fault(sim, {"hang": ["/login.html"]})
    status, error = fetch(sim, "/login.html", 0.5)
    assert status is None and isinstance(error, (TimeoutError, OSError)), repr(error)

    outcome = {}

    def held():
        outcome["result"] = fetch(sim, "/login.html", 30)
        outcome["at"] = time.time()

    t = threading.Thread(target=held)
    t.start()
    time.sleep(0.3)
    assert t.is_alive()  # still held: no answer at all
    cleared = time.time()
    fault(sim, {"clear": True})
    t.join(10)
    assert not t.is_alive()
    assert outcome["result"][0] is None  # dropped, not answered late
    assert outcome["at"] - cleared < 5
    assert fetch(sim, "/login.html", 10)[0] == 200
