"""The inventory readers through the whole stack (the module, headless Firefox, the
console simulator): each reader's records against what the scenario describes, with
one, several and no components, the failure paths, and the faults that make the
console fill its tables late."""
import copy
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

def test_fans_several_one_and_none(inv):
    w, sim, patch = inv
    assert items(w.web_get_fan_web_info()) == items(INV["fans"])
    patch({"fans": INV["fans"][:1]})
    assert items(w.web_get_fan_web_info()) == items(INV["fans"][:1])
    patch({"fans": []})
    with pytest.raises(WebElementException) as e:
        w.web_get_fan_web_info()
    assert str(e.value) == "没有获取到风扇信息标签，《风扇标签》:[]"
    # The frame was left: a reader that starts from the top document works at once.
    assert w.web_get_main_board_info()["board_id"] == INV["mainboard"]["board_id"]


@pytest.mark.smoke
def test_power_supplies_with_their_consumption(inv, log_lines):
    w, sim, patch = inv
    expected = [dict(s) for s in INV["power"]["supplies"]]
    expected[0]["ConsumedWatts"], expected[1]["ConsumedWatts"] = "236", "228"
    assert items(w.web_get_power_web_info()) == items(expected)
    assert log_lines.said() == ["[getPower] start...", "get Power Consumption Info"]
    # One supply, a text naming two (one with a blank before W): the first is joined.
    patch({"power": {"supplies": INV["power"]["supplies"][:1], "consumption": "PS1 :311W PS2: 200 W"}})
    one = w.web_get_power_web_info()
    assert len(one) == 1 and one[0]["ConsumedWatts"] == "311"
    patch({"power": {"consumption": "PS1: 311 W"}})
    assert "ConsumedWatts" not in w.web_get_power_web_info()[0]
    patch({"power": {"supplies": []}})
    with pytest.raises(WebElementException) as e:
        w.web_get_power_web_info()
    assert str(e.value) == "没有获取到电源信息标签，《电源标签》:[]"


def test_power_without_its_statistics_field(inv, log_lines):
    w, sim, patch = inv
    sim.fault({"missing": {"power_statistics": ["actual_power"]}})
    supplies = w.web_get_power_web_info()
    assert items(supplies) == items(INV["power"]["supplies"])
    assert log_lines.said("warn") == ["There is no ConsumedWatts Info"]


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
    # With no PCIe card the backplanes' table is the tab's first. A body of two rows:
    # both are backplanes here, while the card reader takes one record from it.
    other = copy.deepcopy(INV["other"])
    other[0]["components"] = []
    front = other[1]["components"][0]
    rear = ["Rear Disk Backplane", "Rear", "Vorna", "1", "2 x 2.5\" NVMe", ".A", "1.01", "0x0092", "CPU1"]
    other[1]["components"] = [{"rows": [front, rear]}]
    other[1]["name"] = "Disk Backplane(2)"
    patch({"other": other})
    assert items(w.get_back_info()) == [("Front Disk Backplane", "1.05"), ("Rear Disk Backplane", "1.01")]
    w.web_switch_page_logout()
    assert [b["Name"] for b in w.web_get_hard_back_board_info()] == ["Front Disk Backplane"]
    # Two bodies of one row each: the second backplane is no second row of a table.
    other[1]["components"] = [front, rear]
    patch({"other": other})
    with pytest.raises(MarletException):
        w.get_back_info()
    w.web_switch_page_logout()


# ---- the card tables of tabOther and the security module ----

def card(entry, keys_and_columns):
    return [[(k, row[c - 1]) for k, c in keys_and_columns] for row in entry["components"]]


PCIE = [("CardDescription", 2), ("Manufacturer", 3), ("Slot", 4), ("VendorID", 5), ("DeviceID", 6),
        ("SubVendorID", 7), ("SubDeviceID", 8), ("ConnectedTo", 9)]
BACK = [("Name", 1), ("Manufacturer", 3), ("Location", 2), ("Number", 4), ("Type", 5), ("PCBVersion", 6),
        ("CPLDVersion", 7), ("BoardID", 8)]
RISER = [("Name", 1), ("Manufacturer", 2), ("Type", 4), ("PCBVersion", 5), ("Slot", 3), ("BoardID", 6)]
TPM = [("ProtocolType", 1), ("ProtocolVersion", 2), ("Manufacturer", 3), ("ManufacturerVersion", 4), ("SelfTest", 5)]
RAID = [("Name", 1), ("Manufacturer", 3), ("Type", 5), ("location", 2), ("Number", 4), ("CPLDersion", 7),
        ("PCBVersion", 6), ("ConnectedTo", 9), ("BoardID", 8)]


def test_card_tables_read_every_body(inv):
    w, sim, patch = inv
    other = INV["other"]
    assert items(w.web_get_pcie_web_info()) == card(other[0], PCIE)
    assert len(other[0]["components"]) == 3
    assert items(w.web_get_hard_back_board_info()) == card(other[1], BACK)
    assert items(w.web_get_riser_info()) == card(other[2], RISER)
    assert items(w.get_tpm_info()) == card(other[3], TPM)
    assert items(w.web_get_other_raid_info()) == card(other[4], RAID)


def test_card_tables_with_no_components(inv, log_lines):
    w, sim, patch = inv
    other = copy.deepcopy(INV["other"])
    for entry in other:
        entry["components"] = []
    patch({"other": other})
    assert w.web_get_pcie_web_info() == []
    assert log_lines.said("error") == ["没有获取到PCIE信息标签"]
    for reader, text in ((w.web_get_hard_back_board_info, "没有获取到硬盘背板信息标签，《硬盘背板标签》:[]"),
                         (w.web_get_riser_info, "没有获取到Riser卡信息标签，《Riser卡标签》:[]"),
                         (w.get_tpm_info, "没有获取到安全模块信息标签，《安全模块标签》:[]"),
                         (w.web_get_other_raid_info, "没有获取到Raid卡信息标签，《Raid卡标签》:[]")):
        with pytest.raises(WebElementException) as e:
            reader()
        assert str(e.value) == text


def test_a_row_short_of_cells_fails_within_the_lookup_bound(inv, log_lines):
    w, sim, patch = inv
    other = copy.deepcopy(INV["other"])
    other[2]["components"] = [["Riser1", "Vorna", "1"]]
    patch({"other": other})
    started = time.time()
    with pytest.raises(MarletException) as e:
        w.web_get_riser_info()
    assert "./td[4]" in str(e.value)
    assert time.time() - started < 30
    pictures = [t for t in log_lines.texts() if t.startswith("[screenshot] ")]
    assert pictures[-1].endswith("web_get_riser_info_failed.png"), "the failure leaves a picture of the page"
    w.web_switch_page_logout()


# ---- processors, memory ----

def cpu_records(full):
    out = []
    for cpu in INV["processors"]:
        v = list(cpu.values())
        cores, cache = v[5].split(), v[6].split()
        rec = [("CPU_name", v[0]), ("Manufacturer", v[1]), ("Model_name", v[2]), ("CPU_ID", v[3]),
               ("CPU_MHz", v[4].split()[0]), ("Core(s)_per_socket", cores[0]), ("Thread(s)_per_socket", cores[3]),
               ("L1_cache", cache[0]), ("L2_cache", cache[3]), ("L3_cache", cache[6])]
        if full:
            rec += [("CPU_Status", v[7]), ("Bom_Code", v[8]), ("CPU_SN", v[9]), ("Others", v[10])]
        out.append(rec)
    return out


def test_processors_one_or_all(inv, log_lines):
    w, sim, patch = inv
    assert items(w.web_get_cpu_info_vorna({"type": "single"})) == cpu_records(False)[0]
    assert items(w.web_get_cpu_info_vorna(params={"type": "all"})) == cpu_records(True)
    assert w.web_get_cpu_info_vorna({"requestType": "all"}) is None
    # A type that selects nothing leaves the frame entered on the open tab: the inner
    # reader works from there.
    assert items(w.web_get_cpu_info_all()) == cpu_records(True)
    assert log_lines.said() == ["[getCpuInfoVorna] get cpu info from vorna."] * 3
    patch({"processors": INV["processors"][:1]})
    assert len(w.web_get_cpu_info_vorna({"type": "all"})) == 1
    patch({"processors": []})
    with pytest.raises(WebElementException) as e:
        w.web_get_cpu_info_vorna({"type": "single"})
    assert str(e.value) == "没有获取到CPU信息标签"
    assert w.web_get_cpu_info_vorna({"type": "all"}) == []
    with pytest.raises(TypeError):
        w.web_get_cpu_info_vorna("all")


def memory_records(modules, pn=True):
    keys = [("name", "Name"), ("location", "Location"), ("manufacturer", "Manufacturer"), ("capacity", "Capacity"),
            ("clockSpeed", "Clock Speed"), ("sn", "SN"), ("type", "Type"), ("minimumVoltage", "Minimum Voltage"),
            ("rankQty", "Rank Qty"), ("bitWith", "Bit Width"), ("technology", "Technology")]
    out = []
    for m in modules:
        rec = [(k, m[t]) for k, t in keys]
        if pn:
            rec.append(("pn", m["Part Number"]))
        rec.append(("bomCode", m["BOM Code"]))
        out.append(rec)
    return out


def test_memory_by_titles_with_and_without_part_numbers(inv, log_lines):
    w, sim, patch = inv
    modules = INV["memory"]["modules"]
    memory = w.web_get_memory_web_info()
    assert len(memory) == 16
    assert items(memory) == memory_records(modules)
    w.compare_memory(memory, scenario_file("records/default_os_memory.json"))
    patch({"memory": {"part_number": False, "bom_title": "BOM Code", "modules": modules[:1]}})
    log_lines.lines[:] = []
    assert items(w.web_get_memory_web_info()) == memory_records(modules[:1], pn=False)
    assert log_lines.said() == ["[getFan] start...", "No part number exists."]
    patch({"memory": {"modules": []}})
    with pytest.raises(WebElementException) as e:
        w.web_get_memory_web_info()
    assert str(e.value) == "没有获取到内存信息标签，《内存标签》:[]"


# ---- cards of tabCard ----

def card_records(branch, fourth):
    out = []
    for c in branch["cards"]:
        rec = [(label, value) for label, value in c["properties"][3:]]
        ports = []
        for p in c["ports"]:
            port = [("Port", p["Port"]), ("Status", p["Status"]), ("Port_Type", p["Port Type"]),
                    (fourth[0], p[fourth[1]])]
            port += [(k.replace(":", ""), v) for k, v in p["details"]]
            ports.append(port)
        rec.append(("portInfos", ports))
        out.append(rec)
    return out


def test_network_and_fc_cards(inv):
    w, sim, patch = inv
    nets, fcs = INV["cards"]["branches"]
    assert items(w.web_get_netcard_web_info()) == card_records(nets, ("Media_type", "Media type"))
    assert items(w.web_get_fccard_info()) == card_records(fcs, ("FC_ID", "FC_ID"))
    first = dict(nets["cards"][0]["properties"])
    assert w.get_nic_info() == {"name": first["Name:"], "type": first["Type:"]}
    # One card without ports; no FC card at all.
    lone = copy.deepcopy(nets)
    lone["cards"] = lone["cards"][:1]
    lone["cards"][0]["ports"] = []
    patch({"cards": {"branches": [lone, dict(fcs, cards=[])]}})
    assert items(w.web_get_netcard_web_info()) == card_records(lone, ("Media_type", "Media type"))
    with pytest.raises(WebElementException) as e:
        w.web_get_fccard_info()
    assert str(e.value) == "没有获取到FC卡信息"
    patch({"cards": {"branches": [dict(nets, cards=[]), dict(fcs, cards=[])]}})
    with pytest.raises(WebElementException) as e:
        w.web_get_netcard_web_info()
    assert str(e.value) == "没有获取到网络信息标签"


def test_a_port_detail_that_never_appears(inv):
    w, sim, patch = inv
    sim.fault({"no_port_detail": True})
    with pytest.raises(MarletException):
        w.web_get_netcard_web_info()
    w.web_switch_page_logout()


# ---- other devices ----

def test_other_devices_take_columns_from_their_headers(inv):
    w, sim, patch = inv
    devices = w.web_get_other_devices_info()
    assert [d["name"] for d in devices] == [e["title"] for e in INV["other"]]
    pcie = INV["other"][0]
    assert items(devices[0]["info"]) == [list(zip(pcie["columns"], row)) for row in pcie["components"]]
    other = copy.deepcopy(INV["other"])
    other.append({"title": "GPU Card", "name": " GPU Card ", "columns": ["Name", "", "Slot", "Name"],
                  "components": [["G1", "hidden", "7", "dup"]]})
    other[2]["components"] = []
    patch({"other": other})
    devices = w.web_get_other_devices_info()
    assert devices[2] == {"name": "Riser Card", "info": []}
    assert items(devices[-1]) == [("name", "GPU Card"), ("info", [[("Name", "G1"), ("Slot", "7")]])]


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
    assert items(w.web_get_riser_info()) == card(INV["other"][2], RISER)
    # The tab retry clicks again on the same page: the tab is still missing.
    sim.fault({"missing_tab_once": {"tabFan": token}})
    with pytest.raises(MarletException) as e:
        w.web_get_fan_web_info()
    assert "tabFan" in str(e.value) and not isinstance(e.value, WebElementException)
    w.web_switch_page_logout()


def test_a_missing_tab_fails_both_runs_of_the_page_retry(inv):
    w, sim, patch = inv
    sim.fault({"missing": {"system_info": ["tabOther"]}})
    with pytest.raises(MarletException) as e:
        w.web_get_riser_info()
    assert not isinstance(e.value, WebElementException)
    assert "tabOther" in str(e.value)
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
    # A supply that the console shows differently is the comparison's difference.
    supplies = copy.deepcopy(INV["power"]["supplies"])
    supplies[1]["Input Mode"] = "DC"
    patch({"power": {"supplies": supplies}})
    from marlet.exception.webdisplayexception import WebDisplayException
    with pytest.raises(WebDisplayException) as e:
        w.compare_power(w.web_get_power_web_info(), bench["power"])
    assert str(e.value) == "电源输入模式不一致 标准:AC 实际:DC"
