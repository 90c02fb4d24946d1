"""The management IPv4 address through the whole stack. A change ends the browser, so each
test logs in on its own; the move to a new address runs on a simulator of its own, so the
shared one stays where it is."""
import json
from types import SimpleNamespace

from simulator.server import start_server

from tests.python.console import eventually, log_in
from tests.python.pace import e2e_latency
from tests.simulator.client import request

OWN_ADDRESS, NEW_ADDRESS = "127.77.0.1", "127.77.0.2"


def ipv4(sim):
    return sim.state()["machine"]["network"]["ipv4"]


def answers(url):
    try:
        with request(url, "GET", "/api/machine", timeout=5) as r:
            return json.loads(r.read().decode("utf-8"))["network"]["ipv4"]["address"]
    except OSError:
        return None


def test_read_and_change_the_gateway(sim, wrapper, log_lines):
    log_in(wrapper, {"bmc": sim.controller()})
    record = wrapper.get_manage_ipv4()
    assert list(record.items()) == [("ipv4_address", sim.address), ("ipv4_mask", "255.255.255.0"),
                                    ("ipv4_gateway", "127.0.0.254")]
    assert wrapper.get_bmc_ip_addr() == record

    try:
        # The record read goes back unchanged but for the gateway: the address stays.
        assert wrapper.mod_bmc_ip_addr(params=dict(record, ipv4_gateway="127.0.0.9")) is True
        assert wrapper.isClosed() and wrapper.isLogin
        assert log_lines.texts()[-1] == (
            "[modManageIpv4] ipv4_address:%s ipv4_mask:255.255.255.0 ipv4_gateway:127.0.0.9" % sim.address)
        assert eventually(lambda: ipv4(sim)["gateway"], "127.0.0.9") == "127.0.0.9"
        assert ipv4(sim)["address"] == sim.address
    finally:
        sim.request("POST", "/__sim/machine", {"network": {"ipv4": {"gateway": "127.0.0.254"}}})


def test_a_new_address_moves_the_console_and_the_next_login_follows(wrapper):
    own = start_server(address=OWN_ADDRESS, port=0, https=True, latency=e2e_latency())
    try:
        bmc = SimpleNamespace(local_ip=OWN_ADDRESS, username="admin", password="Admin@9000",
                              extra_port={"https": own.port})
        assert log_in(wrapper, {"bmc": bmc}) is True
        record = wrapper.get_manage_ipv4()
        assert record["ipv4_address"] == OWN_ADDRESS
        record["ipv4_address"] = NEW_ADDRESS
        assert wrapper._mod_manage_ipv4(record) is True
        assert wrapper.isClosed() and wrapper.bmc_ip == OWN_ADDRESS

        new_url = "https://%s:%d" % (NEW_ADDRESS, own.port)
        assert eventually(lambda: answers(new_url), NEW_ADDRESS) == NEW_ADDRESS
        assert answers("https://%s:%d" % (OWN_ADDRESS, own.port)) is None  # the old address is gone
        assert own.url == new_url

        # The record still names the old address; "ip_address" reaches the new one.
        assert log_in(wrapper, {"bmc": bmc, "ip_address": NEW_ADDRESS}) is True
        assert wrapper.browser.current_url.startswith(new_url)
        assert wrapper.get_manage_ipv4() == {"ipv4_address": NEW_ADDRESS, "ipv4_mask": "255.255.255.0",
                                             "ipv4_gateway": "127.0.0.254"}
        assert wrapper.bmc_ip == OWN_ADDRESS
        texts = [e["text"] for e in own.state.snapshot()["oplog"]]
        assert "Set IPv4 address (%s), mask (255.255.255.0), gateway (127.0.0.254) successfully" % NEW_ADDRESS in texts
    finally:
        wrapper.web_close()
        own.shutdown()
