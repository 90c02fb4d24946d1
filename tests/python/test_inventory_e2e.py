"""The inventory readers through the whole stack (the module, headless Firefox, the
console simulator): each reader's records against what the scenario describes, with
one, several and no components, the failure paths, and the faults that make the
console fill its tables late."""
import time

import pytest

from marlet.exception.marlet_exception import MarletException
from marlet.exception.webelementexception import WebElementException
from tests.python.console import scenario_file


def items(records):
    """Records as lists of (key, value) pairs: equality then includes key order."""
    if isinstance(records, dict):
        return [(k, items(v) if isinstance(v, (dict, list)) else v) for k, v in records.items()]
    return [items(r) if isinstance(r, (dict, list)) else r for r in records]


@pytest.fixture
def inv(console):
    """(wrapper, simulator, patch): `patch` changes the inventory in place (the login
    survives); the default inventory and no faults are restored after the test."""
    w, sim = console

    def patch(inventory):
        sim.request("POST", "/__sim/machine", {"inventory": inventory})

    yield w, sim, patch
    patch(scenario_file()["inventory"])
    sim.fault({"clear": True})


INV = scenario_file()["inventory"]


# ---- fans, power supplies, mainboard ----

@pytest.mark.smoke
def test_fans_and_power_supplies_with_their_consumption(inv):
    w, sim, patch = inv
    assert items(w.web_get_fan_web_info()) == items(INV["fans"])
    expected = [dict(s) for s in INV["power"]["supplies"]]
    expected[0]["ConsumedWatts"], expected[1]["ConsumedWatts"] = "236", "228"
    assert items(w.web_get_power_web_info()) == items(expected)


def test_mainboard_and_backplanes(inv):
    w, sim, patch = inv
    state = sim.state()["machine"]
    board = INV["mainboard"]
    assert items(w.web_get_main_board_info()) == [
        ("bmc_version", state["identity"]["firmware_version"]), ("bios_version", state["identity"]["bios_version"]),
        ("cpld_version", state["identity"]["cpld_version"]),
        ("primary_uboot_version", board["primary_uboot_version"]),
        ("secondary_uboot_version", board["secondary_uboot_version"]), ("pcb_version", board["pcb_version"]),
        ("board_id", board["board_id"]), ("manufacturer", board["manufacturer"]), ("model", board["model"]),
        ("serial_number", board["serial_number"])]
    assert w.get_back_info() == {"Front Disk Backplane": "1.05"}
    # It stays in the content frame: the page's own elements are at hand.
    assert w.getTextById("txtBoardID") == board["board_id"]
    # The RAID card's name where the storage readers look for it.
    assert w.getTextByXpath("//div[@id='raidTableid']/div/div[2]/div/div[2]/table/tbody/tr[1]/td[1]") == \
        "RAID Card VR3508"
    w.web_switch_page_logout()


# ---- the card tables, processors, memory, cards ----

def test_card_tables_processors_memory_and_cards_read_every_row(inv):
    # The readers' columns are their unit tests' concern; here every row of the console's
    # own tables comes through the browser, under the right reader.
    w, sim, patch = inv
    other = INV["other"]
    for reader, entry in ((w.web_get_pcie_web_info, other[0]), (w.web_get_hard_back_board_info, other[1]),
                          (w.web_get_riser_info, other[2]), (w.get_tpm_info, other[3]),
                          (w.web_get_other_raid_info, other[4])):
        records = reader()
        assert len(records) == len(entry["components"]) and records[0]
    assert w.web_get_riser_info()[0]["Name"] == other[2]["components"][0][0]
    cpus = INV["processors"]
    assert w.web_get_cpu_info_vorna({"type": "single"})["CPU_name"] == list(cpus[0].values())[0]
    assert [c["CPU_SN"] for c in w.web_get_cpu_info_vorna(params={"type": "all"})] == \
        [list(c.values())[9] for c in cpus]
    assert w.web_get_cpu_info_vorna({"requestType": "all"}) is None
    w.web_switch_page_logout()  # a type that selects nothing leaves the content frame entered
    memory = w.web_get_memory_web_info()
    assert [(m["name"], m["pn"]) for m in memory] == [(m["Name"], m["Part Number"]) for m in INV["memory"]["modules"]]
    nets, fcs = INV["cards"]["branches"]
    cards = w.web_get_netcard_web_info()
    assert [len(c["portInfos"]) for c in cards] == [len(c["ports"]) for c in nets["cards"]]
    assert len(w.web_get_fccard_info()) == len(fcs["cards"])
    first = dict(nets["cards"][0]["properties"])
    assert w.get_nic_info() == {"name": first["Name:"], "type": first["Type:"]}


# ---- the console's faults: tables filled late or on the second click ----

def test_a_table_filled_on_the_second_click_under_the_tab_loop(inv):
    w, sim, patch = inv
    sim.fault({"second_click": ["tabMemory", "tabOther"]})
    assert len(w.web_get_memory_web_info()) == 16
    assert len(w.web_get_other_devices_info()) == len(INV["other"])


def test_a_late_table_under_the_tab_loop_and_under_the_tab_retry(inv):
    w, sim, patch = inv
    sim.fault({"late": {"tabMemory": 0.4, "tabFan": 5}})
    assert len(w.web_get_memory_web_info()) == 16
    # The tab retry takes an empty lookup as it is: no second click, the guard raises.
    with pytest.raises(WebElementException) as e:
        w.web_get_fan_web_info()
    assert str(e.value).endswith(":[]")


def test_a_tab_missing_from_the_first_page_under_the_page_retry_and_the_tab_retry(inv):
    w, sim, patch = inv
    token = str(time.time())
    sim.fault({"missing_tab_once": {"tabOther": token}})
    # The page retry opens the page again: the second opening has the tab.
    assert len(w.web_get_riser_info()) == len(INV["other"][2]["components"])
    # The tab retry clicks again on the same page: the tab is still missing.
    sim.fault({"missing_tab_once": {"tabFan": token}})
    with pytest.raises(MarletException) as e:
        w.web_get_fan_web_info()
    assert "tabFan" in str(e.value) and not isinstance(e.value, WebElementException)
    w.web_switch_page_logout()


# ---- an inventory read, then compared against the bench ----

def test_inventory_then_bench_comparisons(inv, log_lines):
    w, sim, patch = inv
    bench = scenario_file("records/default_bench.json")
    oplog = sim.oplog()
    w.compare_power(w.web_get_power_web_info(), bench["power"])
    w.compare_pcie(w.web_get_pcie_web_info(), bench["pcie"])
    w.compare_back_board(w.web_get_hard_back_board_info(), bench["back_board"])
    w.compare_riser(w.web_get_riser_info(), bench["riser"])
    w.compare_raid(w.web_get_other_raid_info(), bench["raid"])
    assert "电源实际信息<类型>PAC1600S12 <厂商>Delvoe <额定功率>1600W <输入模式>AC <部件编码>02131877" in log_lines.said()
    assert sim.oplog() == oplog, "reading the inventory changes nothing on the console"
