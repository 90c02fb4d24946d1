"""Power through the whole stack (the module, headless Firefox, the console simulator);
each effect is read back from the simulator's state, not from the operation's word."""
import time

import pytest

from tests.python.console import eventually, patch


def power(sim):
    return sim.state()["machine"]["power"]


@pytest.mark.smoke
def test_status_follows_the_actions(console):
    w, sim = console
    patch(sim, {"power": {"state": "On"}})
    assert w.web_get_power_status() == "PowerOn"
    w.set_power_off()
    assert eventually(lambda: power(sim)["state"], "Off") == "Off"
    assert w.web_get_power_status() == "PowerOff"
    w.set_power_on()
    assert eventually(lambda: power(sim)["state"], "On") == "On"
    for action, expected in ((w.set_power_cycle, "reset"), (w.set_power_reboot, "cs"), (w.reboot, "restart")):
        action()
        assert eventually(lambda: power(sim)["actions"][-1], expected) == expected
    assert "Force power off the server successfully" in [e["text"] for e in sim.oplog()]


def test_inner_steps(console):
    w, sim = console
    patch(sim, {"power": {"state": "On"}})
    w._set_power_state(state="fpf")
    assert eventually(lambda: power(sim)["state"], "Off") == "Off"
    w._switch_to_power()  # stays in the content frame: the page's own field is at hand
    assert w.getTextById("current_state") == "Off"
    w.web_switch_page_logout()  # back to the top document


def test_controller_restart_only_on_y(console):
    w, sim = console
    before = sim.state()["machine"].get("bmc_restarts", 0)
    w.web_set_bmc_reboot({"option": "y"})
    w.web_set_bmc_reboot({})
    time.sleep(0.5)
    assert sim.state()["machine"].get("bmc_restarts", 0) == before
    w.web_set_bmc_reboot({"option": "Y"})
    assert eventually(lambda: sim.state()["machine"].get("bmc_restarts", 0), before + 1) == before + 1


def test_capping_figures_are_the_machines(console):
    w, sim = console
    patch(sim, {"power": {"capping": {"current": "198", "average": "207", "peak": "388"}}})
    info = w.web_get_power_capping_info({})
    assert list(info.items()) == [("Current Power", "198"), ("Average Power", "207"), ("Peak Power", "388"),
                                  ("Total Consumed Power", "1834.6")]


def test_power_cap_switch_and_limit(console):
    w, sim = console
    patch(sim, {"power": {"capping": {"enabled": False, "limit": 500}}})
    # 50 counts as met by the limit 500: the cap is switched on, the limit stays.
    assert w.web_set_power_cap({"enbale": True, "value": 50}) is True
    assert eventually(lambda: power(sim)["capping"]["enabled"], True) is True
    assert power(sim)["capping"]["limit"] == 500

    assert w.web_set_power_cap({"enbale": True, "value": "420"}) is True
    assert eventually(lambda: power(sim)["capping"]["limit"], 420) == 420
    with pytest.raises(TypeError):
        w.web_set_power_cap({"enbale": True, "value": [300]})
    assert w.web_set_power_cap({"enable": True, "value": 420}) is True  # "enbale" absent: off
    assert eventually(lambda: power(sim)["capping"]["enabled"], False) is False


def test_restore_policy(console):
    w, sim = console
    patch(sim, {"power": {"restore_policy": "previous"}})
    for flag, policy in ((False, "always_on"), (True, "previous")):
        assert w.web_set_poweron_strategy({"flag": flag}) is True
        assert eventually(lambda: power(sim)["restore_policy"], policy) == policy
    assert "Set power restore policy to (previous) successfully" in [e["text"] for e in sim.oplog()]
