"""Service settings through the whole stack (the module, headless Firefox, the console
simulator): LDAP, device location, time zone, SNMP engine id, web time-out and disk usage.
Each change is read back from the simulator's state, not from the operation's word."""
import re
import time

import pytest

from marlet.utils.time import set_time_scale
from tests.python.console import eventually, patch
from tests.python.pace import TIME_SCALE, roomy_scale

TIME_RE = re.compile(r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d$")


def settings(sim):
    return sim.state()["machine"]["settings"]


def oplog_texts(sim):
    return [e["text"] for e in sim.oplog()]


@pytest.fixture
def top(console):
    """Some operations return inside the content frame: every test starts and ends in
    the top document, with no fault left behind."""
    w, sim = console
    w.browser.switch_to_default_content()
    yield w, sim
    sim.fault({"clear": True})
    w.browser.switch_to_default_content()


# ---------------------------------------------------------------- device location

@pytest.mark.smoke
def test_location_is_saved_read_back_and_logged(top):
    w, sim = top
    assert w.web_set_system_config({"location": "Lab 7 Rack 3 U20"}) is True
    assert eventually(lambda: settings(sim)["location"], "Lab 7 Rack 3 U20") == "Lab 7 Rack 3 U20"
    assert w.web_get_device_location_info() == "Lab 7 Rack 3 U20"
    entries = [e for e in sim.oplog() if e["text"] == "Set device location to (Lab 7 Rack 3 U20) successfully"]
    assert len(entries) == 1, "the second click of the same value saves nothing new"
    assert entries[0]["user"] == "admin" and TIME_RE.match(entries[0]["time"])


def test_a_location_the_console_does_not_keep_is_false(top):
    w, sim = top
    patch(sim, {"settings": {"location": "Row 1"}})
    # The field takes 64 characters: what is saved differs from what was asked.
    assert w.web_set_system_config({"location": "x" * 80}) is False
    assert eventually(lambda: settings(sim)["location"], "x" * 64) == "x" * 64


# ---------------------------------------------------------------- engine id, time-out, disks

def test_engine_id_and_web_timeout_are_the_machines(top):
    w, sim = top
    patch(sim, {"settings": {"snmp_engine_id": "0x80001f88041122334455", "web_timeout": "45"}})
    assert w.get_snmp_engine_id() == {"value": "0x80001f88041122334455"}
    # It returns inside the content frame: the page's own elements are at hand.
    assert w.getTextById("snmp_engine_id") == "0x80001f88041122334455"
    w.browser.switch_to_default_content()
    assert w.web_get_web_timeout() == "45"
    # That one leaves the frame: a menu path follows at once.
    assert w.web_get_device_location_info() == settings(sim)["location"]


def test_disk_usage_follows_the_chart(top):
    w, sim = top
    usage = w.web_get_disk_usage_percent()
    assert list(usage.items()) == [("/dev/sda1", "5%"), ("/dev/sda2", "37%"), ("/dev/mapper/vg0-root", "62%"),
                                   ("/dev/sdb1", "0%")]


# ---------------------------------------------------------------- time zone

def test_time_zone_is_listed_set_and_read_back(top):
    w, sim = top
    patch(sim, {"settings": {"time_zone": {"state": "Asia", "city": "Shanghai"}}})
    assert w.bmc_time_zone() == {"state": "Asia", "city": "Shanghai"}
    # A region's cities, without saving the region.
    assert w.bmc_time_zone("GET", "Europe") == ["Berlin (GMT+01:00)", "London (GMT+00:00)", "Moscow (GMT+03:00)",
                                               "Paris (GMT+01:00)"]
    assert settings(sim)["time_zone"] == {"state": "Asia", "city": "Shanghai"}
    # The set looks for the page's field once within the element layer's bound of 10 s
    # of the console's pace, half a second at the tests' pace: room for a busy machine.
    set_time_scale(roomy_scale(10))
    assert w.bmc_time_zone(method="SET", state="America", city="New York (GMT-05:00)") is None
    set_time_scale(TIME_SCALE)
    assert settings(sim)["time_zone"] == {"state": "America", "city": "New York"}
    assert "Set time zone to America/New York (GMT-05:00) successfully" in oplog_texts(sim)
    assert w.bmc_time_zone(method="GET") == {"state": "America", "city": "New York"}


# ---------------------------------------------------------------- LDAP

BLANK = {"cert_enable": "off", "cert_verify_level": "Demand", "ip": "", "port": "636", "domain": "",
         "bind_dn": "", "bind_password": "", "user_folder": "", "password": ""}


def test_ldap_forms_are_saved_per_controller(top, log_lines):
    w, sim = top
    patch(sim, {"settings": {"ldap": {"1": BLANK, "2": BLANK, "3": BLANK}}})
    w.enter_ldap_config(ldap_controller_id="2")
    w.config_ldap_service(ldap_ip="10.20.0.8", ldap_domainName="corp.example", ldap_pwd="Ldap@pw1",
                          ldap_cert_enable="2", ldap_cert_verify_level="2", ldaps_port="3269",
                          ldap_bind_dn="cn=admin,dc=corp,dc=example", ldap_dn_pwd="Bind@pw2",
                          user_group_folder_hidden="ou=people")
    saved = {"cert_enable": "on", "cert_verify_level": "Allow", "ip": "10.20.0.8", "port": "3269",
             "domain": "corp.example", "bind_dn": "cn=admin,dc=corp,dc=example", "bind_password": "Bind@pw2",
             "user_folder": "ou=people", "password": "Ldap@pw1"}
    assert eventually(lambda: settings(sim)["ldap"]["2"], saved) == saved
    assert settings(sim)["ldap"]["1"] == BLANK and settings(sim)["ldap"]["3"] == BLANK
    # The defaults switch the check off at level Demand on port 636; the optional fields
    # not given keep what the page shows, the saved values of this controller.
    w.browser.switch_to_default_content()
    w.enter_ldap_config("2")
    w.config_ldap_service("10.20.0.9", "corp.example", "Ldap@pw3")
    again = dict(saved, cert_enable="off", cert_verify_level="Demand", ip="10.20.0.9", port="636",
                 password="Ldap@pw3")
    assert eventually(lambda: settings(sim)["ldap"]["2"], again) == again
    assert "Set LDAP controller 2 (10.20.0.9) successfully" in oplog_texts(sim)
    assert log_lines.texts() == [], "neither operation writes a log line: no password in the log"


def test_ldap_form_refusals(top):
    w, sim = top
    patch(sim, {"settings": {"ldap": {"3": BLANK}}})
    w.enter_ldap_config("3")
    # The console refuses a port out of range and says so on the page; nothing is saved.
    w.config_ldap_service("10.20.0.8", "corp.example", "pw", ldaps_port="70000")
    deadline = time.time() + 10
    while w.getTextById("ldapMessage") in ("", "Saving...") and time.time() < deadline:
        time.sleep(0.05)
    assert w.getTextById("ldapMessage") == "The LDAPS port must be a number from 1 to 65535."
    assert settings(sim)["ldap"]["3"] == BLANK
    # Refused by the operation before a click (a typed error naming the argument): the
    # form keeps what it shows.
    with pytest.raises(TypeError, match="ldap_ip"):
        w.config_ldap_service(None, "corp.example", "pw")
    assert w.locateElementById("LdapIp", click=False).get_attribute("value") == "10.20.0.8"
    w.browser.switch_to_default_content()
