"""The module's Python surface without a browser: import, construction and injection,
the logger, failure kinds, units and the time scale."""
import os
import pydoc
import re
import tempfile
import time

import pytest

from marlet.wrapper.gui.web.vorna.vornav1 import vornawebwrapper
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.threads import CountingThread

pytestmark = pytest.mark.smoke


def test_the_module_has_one_public_name():
    assert vornawebwrapper.__all__ == ("VornaWebWrapper",)
    public = [n for n in dir(vornawebwrapper) if not n.startswith("_")]
    assert public == ["VornaWebWrapper"]


def test_construction_sets_the_attributes_and_keeps_the_harness_objects():
    host, device = object(), object()
    w = VornaWebWrapper({"host": host, "device": device, "unused": {1, 2}})
    assert w.host is host and w.device is device
    assert (w.isLogin, w.bmc_ip, w.username, w.password, w.current_user) == (False, None, None, None, None)
    assert (w.bmc, w.page, w.UniWebDrivers) == (None, None, [])
    record = object()
    w.bmc = record
    w.UniWebDrivers.append(record)
    assert w.bmc is record and w.UniWebDrivers == [record]  # the harness's objects, as stored
    assert w.timeout == 10 and w.isClosed() and w.browser is None
    bare = VornaWebWrapper({})
    assert bare.host is None and bare.device is None
    # No download folder given: downloads go to the shared temporary one.
    assert bare.download_dir == os.path.join(tempfile.gettempdir(), "vorna_downloads")
    assert VornaWebWrapper.modules == ["marlet.wrapper.gui.web.vorna.vornav1.function.home"]


def test_operations_show_their_doc_and_defaults_in_help():
    assert "Sets the power cap from params" in pydoc.render_doc(VornaWebWrapper.web_set_power_cap)
    # Defaults are the table's, shown in the signature the caller reads.
    assert VornaWebWrapper.bmc_time_zone.__doc__.startswith(
        "bmc_time_zone(self: marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper.VornaWebWrapper, "
        "method: object = 'GET', state: object = None, city: object = None) -> object")
    assert "timeout: float = 600) -> str" in VornaWebWrapper.set_info_collection.__doc__


def test_construction_refuses_a_missing_or_wrong_map():
    for args, kind in (((), TypeError), ((["host"],), TypeError), (({"browser": {"name": "opera"}},), ValueError),
                       (({"browser": {"driver": "remote"}},), ValueError)):  # the last names no remote_url
        with pytest.raises(kind):
            VornaWebWrapper(*args)


def test_injection_binds_functions_copies_values_and_skips_double_underscores(monkeypatch):
    monkeypatch.setattr(VornaWebWrapper, "modules", ["tests.python.injected_home"])
    w = VornaWebWrapper({})
    assert w.describe("x") == "VornaWebWrapper/x"          # bound: receives the wrapper
    assert w.MARKER == {"kind": "plain value"}             # copied, not bound
    assert not hasattr(w, "not__injected")
    assert not hasattr(w, "_injected_home__hidden") and not hasattr(w, "__hidden")
    assert w.web_logout() == "shadowed"                    # a module name shadows an operation
    assert VornaWebWrapper({}).get_boot_mode() == "UEFI"   # every construction injects anew


def test_log_lines_go_to_the_class_logger_as_swapped_by_the_harness(log_lines):
    w = VornaWebWrapper({})
    with pytest.raises(KeyError):
        w.web_login({})
    w.web_logout()  # closed browser: returns at once, logs nothing
    assert log_lines.lines == []
    w._screenshot()  # no browser: a warning, no picture
    assert log_lines.texts("warn") == ["[screenshot] no browser open, no picture taken"]


def test_failures_reach_python_as_their_kinds():
    from marlet.exception.marlet_exception import MarletException
    from marlet.exception import webdriverexception
    from marlet.exception.webdriverexception import WebDriverException
    assert issubclass(WebDriverException, MarletException)
    # The binding raises each of the browser client's failure types as the class of its
    # name (python/errors.cpp): every one of them must be there.
    header = os.path.join(os.path.dirname(__file__), "..", "..", "webdriver", "errors.h")
    with open(header, encoding="utf-8") as f:
        names = re.findall(r"^  X\((\w+)\)", f.read(), re.M)
    assert "NoSuchElementException" in names and "RemoteFileException" in names
    assert all(issubclass(getattr(webdriverexception, n), WebDriverException) for n in names)
    w = VornaWebWrapper({})
    with pytest.raises(KeyError) as info:
        w.web_login({"username": "x"})
    assert info.value.args == ("bmc",)
    with pytest.raises(MarletException):
        w.locateElementById("anything")  # no browser open
    with pytest.raises(AttributeError):
        w.web_login({"bmc": object()})  # a record without local_ip


def test_bad_login_input_fails_before_any_browser_starts():
    class Record(object):
        local_ip, username, password, extra_port = "127.0.0.1", "u", "p", {"https": 443}

    w = VornaWebWrapper({})
    for params, kind in [({"bmc": Record(), "web_port": "443"}, ValueError),
                         ({"bmc": Record(), "web_port": 70000}, ValueError),
                         ({"bmc": Record(), "web_protocol": "ftp"}, ValueError)]:
        with pytest.raises(kind):
            w.web_login(params)
        assert w.isClosed()
    assert w.bmc_ip is None  # nothing was stored either


def test_units_and_time_scale():
    from marlet.utils.time import get_time_scale, set_time_scale, sleep
    from marlet.utils.units import Units
    assert Units.convert("2048MB", "GB") == "2.0GB"
    with pytest.raises(ValueError):
        Units.convert("lots", "GB")
    set_time_scale(0.001)
    assert get_time_scale() == 0.001
    started = time.time()
    sleep(100)
    assert time.time() - started < 5
    for bad in (0, float("inf"), float("nan")):
        with pytest.raises(ValueError):
            set_time_scale(bad)


def test_a_settle_releases_the_interpreter_for_other_threads():
    from marlet.utils.time import set_time_scale, sleep
    set_time_scale(1.0)
    with CountingThread() as counter:
        sleep(0.5)
    assert counter.count > 50
