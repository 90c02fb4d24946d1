"""Identity, versions and power through the whole stack, each effect read back from the
simulator's state rather than from the operation's own word."""
import time

import pytest

from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper


def eventually(read, expected, timeout=10):
    """The console saves in the background after OK: poll the simulator briefly."""
    deadline = time.time() + timeout
    value = read()
    while value != expected and time.time() < deadline:
        time.sleep(0.05)
        value = read()
    return value


@pytest.fixture(scope="module")
def console(simulator, tmp_path_factory):
    from marlet.utils.time import set_time_scale
    set_time_scale(0.02)
    simulator.load({"name": "default"})
    w = VornaWebWrapper({"browser": {"screenshot_dir": str(tmp_path_factory.mktemp("pictures"))}})
    w.web_login({"bmc": simulator.controller()})
    yield w, simulator
    w.web_close()


def machine(sim):
    return sim.state()["machine"]


def test_identity_and_versions(console, log_lines):
    w, sim = console
    identity = machine(sim)["identity"]
    assert w.get_product_sn() == identity["serial"]
    assert w.get_guid() == identity["guid"]
    assert w.get_bios_name() == identity["product_alias"]
    versions = w.web_get_firmware_version()
    assert list(versions.items()) == [("bmc_version", identity["firmware_version"]),
                                      ("bios_version", identity["bios_version"]),
                                      ("cpld_version", identity["cpld_version"])]
    software = w.web_get_software_info()
    assert software == dict(machine(sim)["software"]["rows"])
    assert log_lines.texts() == ["[getProductSN] start...", "[getGUID] start...", "[getBiosName] start...",
                                 "[getBmcFirmwareVersion] start...", "[getSoftwareInfo] start..."]


def test_power_state_follows_the_actions(console):
    w, sim = console
    assert w.web_get_power_status() == "PowerOn"
    w.set_power_off()
    assert eventually(lambda: machine(sim)["power"]["state"], "Off") == "Off"
    assert w.web_get_power_status() == "PowerOff"
    w.set_power_on()
    assert eventually(lambda: machine(sim)["power"]["state"], "On") == "On"
    for action, expected in ((w.set_power_cycle, "reset"), (w.set_power_reboot, "cs"), (w.reboot, "restart")):
        action()
        assert eventually(lambda: machine(sim)["power"]["actions"][-1], expected) == expected
    texts = [e["text"] for e in sim.oplog()]
    assert "Force power off the server successfully" in texts


def test_controller_restart_is_refused_unless_asked_with_y(console):
    w, sim = console
    before = machine(sim).get("bmc_restarts", 0)
    w.web_set_bmc_reboot({"option": "N"})
    w.web_set_bmc_reboot({})
    time.sleep(0.5)
    assert machine(sim).get("bmc_restarts", 0) == before
    w.web_set_bmc_reboot({"option": "Y"})
    assert eventually(lambda: machine(sim).get("bmc_restarts", 0), before + 1) == before + 1


def test_power_capping_figures_cap_and_switch(console):
    w, sim = console
    capping = machine(sim)["power"]["capping"]
    info = w.web_get_power_capping_info({})
    assert info == {"Current Power": capping["current"], "Average Power": capping["average"],
                    "Peak Power": capping["peak"], "Total Consumed Power": "1834.6"}
    assert list(info) == ["Current Power", "Average Power", "Peak Power", "Total Consumed Power"]
    assert w.web_set_power_cap({"enbale": True, "value": 420}) is True
    assert eventually(lambda: machine(sim)["power"]["capping"]["limit"], 420) == 420
    assert machine(sim)["power"]["capping"]["enabled"] is True
    assert w.web_set_power_cap({"enbale": True, "value": 0}) is False
    assert w.web_set_power_cap({"enbale": False}) is True
    assert eventually(lambda: machine(sim)["power"]["capping"]["enabled"], False) is False
    with pytest.raises(TypeError):
        w.web_set_power_cap({"enbale": True, "value": [420]})
    assert machine(sim)["power"]["capping"]["limit"] == 420


def test_restore_policy(console):
    w, sim = console
    assert w.web_set_poweron_strategy({"flag": False}) is True
    assert eventually(lambda: machine(sim)["power"]["restore_policy"], "always_on") == "always_on"
    assert w.web_set_poweron_strategy({"flag": True}) is True
    assert eventually(lambda: machine(sim)["power"]["restore_policy"], "previous") == "previous"
    assert "Set power restore policy to (previous) successfully" in [e["text"] for e in sim.oplog()]


def test_software_notice_when_the_agent_does_not_report(sim, wrapper, log_lines):
    sim.load({"name": "agent_missing"})
    wrapper.web_login({"bmc": sim.controller()})
    assert wrapper.web_get_software_info() == (
        "To enable complete software information to be displayed, install Tolmar 2.0 and start it on the OS.")
    assert "Tolmar is not installed or running" in log_lines.texts("error")
