"""Helpers of the accounts' end-to-end tests: polling the simulator's users, and a second
simulator on the standard HTTPS port of a loopback address, which the logins from params
need since they form their URL without a port."""

import pytest

from simulator.server import start_server

from tests.python.console import eventually
from tests.python.pace import e2e_latency

# Loopback addresses tried in turn for port 443; the shared simulator keeps 127.0.0.1.
ADDRESSES_443 = ["127.0.0.%d" % i for i in range(2, 10)]


def users(sim):
    """The users in the (subprocess) simulator's state."""
    return sim.state()["machine"]["users"]


class Console443(object):
    """A simulator of this process on port 443: .address, .state (the live State)."""

    def __init__(self, server, address):
        self.server = server
        self.address = address
        self.state = server.state


def console_on_443():
    """Generator for a module fixture: a simulator on <loopback>:443, shut down after.
    Fails (never skips) when no loopback address will take port 443."""
    errors = []
    for address in ADDRESSES_443:
        try:
            server = start_server(address, 443, True, "default", latency=e2e_latency())
        except OSError as e:
            errors.append("%s: %s" % (address, e))
            continue
        try:
            yield Console443(server, address)
        finally:
            server.shutdown()
        return
    pytest.fail("no loopback address would take port 443 (%s); the logins from params form their URL "
                "without a port, so their test needs that port: run as root or grant the Python "
                "interpreter CAP_NET_BIND_SERVICE" % "; ".join(errors))


def set_users(console, **extra):
    """Adds users to the in-process simulator: name=record (name and defaults filled in)."""
    from simulator.api_accounts import new_user
    with console.state.lock:
        for name, record in extra.items():
            user = new_user(name, record["password"], record.get("role", "Operator"))
            user.update(record)
            console.state.machine["users"] = [u for u in console.state.machine["users"] if u["name"] != name]
            console.state.machine["users"].append(user)
