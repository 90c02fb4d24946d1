"""The alarm page, the login error label, the operation log and the system events
through the whole stack, fed by what was done on the console."""
import time

import pytest

from marlet.exception.marlet_exception import MarletException
from marlet.utils.time import set_time_scale
from tests.python.console import log_in
from tests.python.firmware_support import console_with_downloads, eventually, patch
from tests.python.pace import roomy_scale


@pytest.fixture(scope="module")
def console(simulator, tmp_path_factory):
    yield from console_with_downloads(simulator, tmp_path_factory)


def test_health_in_both_languages(console, log_lines):
    w, sim, _ = console
    patch(sim, {"alarms": {"language": "en", "current": []}})
    assert w.check_health() is True
    patch(sim, {"alarms": {"language": "zh"}})
    assert w.check_health() is True
    patch(sim, {"alarms": {"language": "en", "current": [
        {"level": "Critical", "time": "2026-11-23 10:00:00", "text": "Power supply 2 AC input lost"}]}})
    assert w.check_health() is False
    assert "Power supply 2 AC input lost" in log_lines.texts("error")[0]
    patch(sim, {"alarms": {"current": []}})


@pytest.mark.smoke
def test_a_power_action_is_found_in_the_operation_log(console, log_lines):
    w, sim, _ = console
    w.set_power_off()
    sentence = "Force power off the server successfully"
    assert eventually(lambda: [e["text"] for e in sim.oplog()], lambda t: sentence in t)
    assert w.web_check_bmc_log({"check_list": [sentence, "Log in successfully"]}) is True
    rows = log_lines.texts("info")[-1]
    assert rows.startswith("['") and sentence in rows
    assert w.web_check_bmc_log(params={}) is True  # the default sentences, from the machine's history
    assert w.web_check_bmc_log({"check_list": ["Nobody did this"]}) is False
    w.set_power_on()


# The event scan opens the events page and looks for its pager once, within the element
# layer's bound of 10 s of the console's pace: half a second at the tests' pace, too little
# for a busy machine's browser to load the page and its rows.
EVENTS_PACE = roomy_scale(10)


def test_keywords_in_the_system_events(console, log_lines):
    w, sim, _ = console
    set_time_scale(EVENTS_PACE)
    now = time.time()
    # The history puts a lost AC input every four hours; the first click of the scan
    # leads to the second page, twenty events back.
    assert w.check_keyword_in_system_log(["no such words", "AC input lost"], int(now - 3 * 86400)) is True
    error = log_lines.texts("error")[-1]
    assert error.startswith("关键字AC input lost出现在系统日志Power supply 2 AC input lost中，事件ID为")
    w.web_switch_page_logout()  # a find leaves the wrapper in the content frame
    # An hour-old limit is passed on the first rows read.
    assert w.check_keyword_in_system_log(keyword_list=["AC input lost"], check_time=int(now - 3600)) is False
    assert w.getTextById("current_user_label") is not None  # back in the top document


def test_a_scan_over_the_whole_table_ends(console, log_lines):
    w, sim, _ = console
    set_time_scale(EVENTS_PACE)
    live = len(sim.request("GET", "/__sim/events"))
    # Full pages to the end, all newer than the limit: the last page repeats and ends it.
    patch(sim, {"logs": {"events": {"count": 100 - live % 20}}})
    assert w.check_keyword_in_system_log(["no such words"], 0) is False
    assert len(log_lines.texts("warn")) == 1
    patch(sim, {"logs": {"events": {"count": 120}}})


def test_the_login_error_label(simulator, wrapper, log_lines):
    w = wrapper
    log_in(w, {"bmc": simulator.controller()})
    with pytest.raises(MarletException):
        w.web_get_error_warning()  # the console's pages have no login label
    # The logout waits 20 s of the console's pace for the login page to load: at the
    # tests' pace that is one second, too little for a busy machine's browser.
    set_time_scale(roomy_scale(20))
    w.web_logout()
    # A person mistypes the password on the login page.
    w.fillElementById("iptUserName", "admin")
    w.fillElementById("iptPassword", "Wrong@1234")
    w.locateElementById("btnLogin")
    w.waitElement("id", "lblLoginError", 20, 0.5)
    assert w.web_get_error_warning() == "Invalid user name or password."
    assert w.getAttributeById("lblLoginError", "style").lower() == "display: none;"
    assert w.getTextById("lblLoginError") == ""  # hidden again
    assert "Log in failed" in [e["text"] for e in simulator.oplog()]
