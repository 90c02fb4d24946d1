"""The comparisons through the module: dicts and lists in, Python's failure kinds out."""
import pytest

from marlet.exception.webdisplayexception import WebDisplayException
from marlet.exception.webelementexception import WebElementException
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper

POWER = [{"Type": "PSU", "Manufacturer": "Vorna", "Rated Power": "800W", "Input Mode": "AC", "BOM Code": "P1"}]
BENCH = {"P1": {"Model": "M", "Manufacturer": "Vorna", "PowerCapacityWatts": "800W", "PowerSupplyType": "AC"}}

pytestmark = pytest.mark.smoke


def test_agreement_returns_none_and_leaves_the_arguments_alone(log_lines):
    w = VornaWebWrapper({})
    before = (repr(POWER), repr(BENCH))
    assert w.compare_power(POWER, BENCH) is None
    assert (repr(POWER), repr(BENCH)) == before
    assert log_lines.texts()[0].startswith("电源标准信息<类型>M <厂商>Vorna")


def test_differences_and_misses_keep_their_kinds():
    w = VornaWebWrapper({})
    bench = {"P1": dict(BENCH["P1"], PowerSupplyType="DC")}
    with pytest.raises(WebDisplayException) as info:
        w.compare_power(POWER, bench)
    assert str(info.value) == "电源输入模式不一致 标准:DC 实际:AC"
    memory = {"name": "D0", "manufacturer": "V", "capacity": "x"}
    bench_memory, riser = {"D0": {"Manufacturer": "V", "Size": "1"}}, {"BoardID": "1", "Name": None}
    for call, args, kind in ((w.compare_power, ([], BENCH), WebElementException),
                             (w.compare_power, (POWER, {}), KeyError),
                             (w.compare_power, ("not a list", BENCH), TypeError),
                             (w.compare_riser, ([riser], {"1": {"BoardName": "R"}}), TypeError),
                             (w.compare_memory, ([memory], bench_memory), ValueError),
                             (w.compare_memory, ([dict(memory, capacity=" ")], bench_memory), IndexError)):
        with pytest.raises(kind):
            call(*args)


def test_a_zero_console_capacity_divides_by_zero():
    w = VornaWebWrapper({})
    disk = {"Interface Type": "SAS", "Model": "M", "Serial Number": "S", "Firmware Version": "F",
            "Firmware State": "ONLINE", "Capacity": "0 GB", "Capable Speed": "12 Gbps", "Negotiated Speed": "12 Gbps"}
    os_disk = {"PD Type": "SAS", "Model": "M", "Serial Number": "S", "Device Firmware Level": "F",
               "Firmware state": "Online", "Raw Size": "1 GB", "Device Speed": "12Gb/s", "Link Speed": "12Gb/s"}
    with pytest.raises(ZeroDivisionError):
        w.compare_storage({}, {}, {"c0": {"d": disk}}, {"c0": {"d": os_disk}})


def test_harness_values_without_a_record_form_keep_their_type():
    w = VornaWebWrapper({})
    with pytest.raises(TypeError) as info:
        w.compare_power({"x"}, BENCH)
    assert str(info.value).startswith("webPowerInfo must be a list, not set")
    # A bench table keyed by the number 33 has no row under the console's text "33".
    board = [{"BoardID": "33", "Name": "B", "Manufacturer": "V", "PCBVersion": "A"}]
    with pytest.raises(KeyError) as info:
        w.compare_back_board(board, {33: {"BoardName": "B", "Manufacturer": "V", "PCBVersion": "A"}})
    assert info.value.args == ("33",)
