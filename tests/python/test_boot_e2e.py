"""Boot settings through the whole stack (the module, headless Firefox, the console
simulator); every effect is read back from the simulator's state, not from the operation."""
import time
import types

import pytest

from marlet.exception.webdisplayexception import WebDisplayException
from marlet.wrapper.gui.web.vorna.vornav1.function import home
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.console import eventually

def boot(sim):
    b = sim.state()["machine"]["boot"]
    return b["option"], b["effective"], b["mode"]


def saves(sim):
    return sim.state()["machine"]["boot"].get("saves", 0)


def patch(sim, option="2", effective="1", mode="1"):
    """Puts the machine's boot settings in place; the login survives."""
    sim.request("POST", "/__sim/machine", {"boot": {"option": option, "effective": effective, "mode": mode}})


def settled(sim, before, wait=1.0):
    """The save count after a short pause: a save in flight would have landed by then."""
    time.sleep(wait)
    return saves(sim) - before


@pytest.fixture
def fresh(console):
    w, sim = console
    sim.fault({"clear": True})
    patch(sim)
    return w, sim


@pytest.mark.smoke
def test_each_setting_is_saved_and_read_back(fresh, log_lines):
    w, sim = fresh
    for code, page_value in (("3", "5"), ("0", "0")):
        assert w.web_set_boot_option({"option": code}) is None
        assert eventually(lambda: boot(sim)[0], page_value) == page_value
        assert w.web_get_boot_option() == code

    for index, set_it, get_it in ((1, w.web_set_effective, w.web_get_effective),
                                  (2, w.web_set_boot_mode, w.web_get_boot_mode)):
        set_it(params={"mode": "0"})
        assert eventually(lambda: boot(sim)[index], "0") == "0"
        assert get_it() == "0"
    assert log_lines.texts("error") == []
    assert "Set boot device to (DVD-ROM) successfully" in [e["text"] for e in sim.oplog()]


def test_setting_what_is_shown_saves_nothing(fresh):
    w, sim = fresh
    patch(sim, option="15")
    before = saves(sim)
    w.web_set_boot_option({"option": "4"})
    assert settled(sim, before) == 0


def test_startup_mode_goes_by_truth(fresh):
    w, sim = fresh
    # A non-empty text is true (legacy, "0"); no argument is true as well.
    for args, kwargs, mode in ((("0",), {}, "0"), ((0,), {}, "1"), ((), {}, "0"), ((), {"mode": []}, "1")):
        w.change_startup_mode(*args, **kwargs)
        assert eventually(lambda: boot(sim)[2], mode) == mode


def test_msconfig_from_a_changed_and_an_unchanged_start(fresh):
    w, sim = fresh
    found = w.modify_msconfig("0", "0", "3")
    assert found == ("1", "1", "2")
    assert boot(sim) == ("5", "0", "0")
    before = saves(sim)
    assert w.modify_msconfig(boot_mode="0", effective="0", option_mode="3") == ("0", "0", "3")
    assert settled(sim, before) == 0


def test_a_function_replaced_on_the_object_is_the_one_called(fresh):
    w, sim = fresh
    calls = []
    w.get_boot_option = lambda: calls.append("read") or "3"
    try:
        assert w.modify_msconfig("1", "1", "3") == ("1", "1", "3")
        assert calls == ["read"]
        w.set_boot_option = lambda value: calls.append(value)
        with pytest.raises(WebDisplayException) as info:
            w.modify_msconfig("1", "1", "4")
        assert str(info.value) == "Set Blade Boot Option To CD_ROM_BOOT Failed "
        assert calls == ["read", "read", "4", "read"]
        assert boot(sim)[0] == "2"
    finally:  # the module's functions back on the shared console
        for name in ("get_boot_option", "set_boot_option"):
            setattr(w, name, types.MethodType(getattr(home, name), w))


class CountingWrapper(VornaWebWrapper):
    """A harness's subclass that brings its own boot functions: no sibling module, and
    the mode read and written through its own coding (True for UEFI)."""
    modules = []

    def __init__(self, params):
        super(CountingWrapper, self).__init__(params)
        self.writes = []

    def get_boot_mode(self):
        return self.web_get_boot_mode() == "1"

    def set_boot_mode(self, value):
        self.writes.append(value)
        self.web_set_boot_mode({"mode": "1" if value else "0"})

    def get_boot_option(self):
        return self.web_get_boot_option()

    def set_effective(self, value):
        self.web_set_effective({"mode": value})

    def set_boot_option(self, value):
        self.web_set_boot_option({"option": value})


def test_a_subclass_brings_its_own_functions(sim, tmp_path):
    sim.request("POST", "/__sim/machine", {"boot": {"option": "2", "effective": "1", "mode": "0"}})
    w = CountingWrapper({"browser": {"screenshot_dir": str(tmp_path)}})
    try:
        w.web_login({"bmc": sim.controller()})
        assert w.modify_msconfig(True, "1", "2") == (False, "1", "2")
        assert w.writes == [True]
        assert eventually(lambda: boot(sim)[2], "1") == "1"
    finally:
        w.web_close()
