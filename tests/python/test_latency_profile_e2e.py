"""The console's realistic latency through the whole stack: pages that fill by requests
after they load defeat a read that skips its settle, while a reader with its settles
gets the whole record, and a polling page keeps asking (the module, headless Firefox,
the simulator under the realistic profile scaled as the tests' clock is). Every
operation's records and saves against this profile are the adaptive rerun's
(scripts/test.sh)."""
import pytest

from marlet.utils.time import set_time_scale
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.console import eventually, log_in, patch, scenario_file
from tests.python.pace import TIME_SCALE

FAN_ROWS = '//*[@id="DataTables_Table_0"]/tbody/tr'
REALISTIC = {"profile": "realistic", "scale": TIME_SCALE}


@pytest.fixture(scope="module")
def realistic(simulator, tmp_path_factory):
    """(wrapper, simulator): the default machine under the realistic profile, the login
    made under it too; the latency in effect before is restored after."""
    set_time_scale(TIME_SCALE)  # module fixtures run before the per-test fast clock
    before = simulator.state()["latency"]
    simulator.load({"name": "default"})
    simulator.fault({"latency": REALISTIC})
    w = VornaWebWrapper({"browser": {"screenshot_dir": str(tmp_path_factory.mktemp("pictures"))}})
    try:
        assert log_in(w, {"bmc": simulator.controller()}) is True
        yield w, simulator
    finally:
        w.web_close()
        simulator.fault({"clear": True, "latency": before})


def open_system_info(b):
    """The system information page in the content frame, its fan tab there to click."""
    b.switch_to_default_content()
    b.find_element_by_id("menu_INFO").click()
    b.find_element_by_id("menu_SYSTEM_INFO").click()
    b.switch_to_frame("rightMid")
    # Loaded whole: the tab's own script listens for its clicks.
    loaded = eventually(lambda: b.execute_script(
        "return document.readyState === 'complete' && !!document.getElementById('tabFan');"), True)
    assert loaded, "the system information page did not load"


# Clicks the fan tab and counts its rows within the same script: what a driver reads
# when it looks right after the click, with no settle at all.
CLICK_AND_COUNT = """
window.simClickedAt = performance.now();
document.getElementById("tabFan").click();
return document.querySelectorAll("#DataTables_Table_0 tbody tr").length;
"""

# When the tab's data request started, in ms after the click (null before it did).
REQUEST_STARTED = """
var asked = performance.getEntriesByType("resource").filter(function (e) {
  return e.name.indexOf("/__sim/data/tabFan") >= 0 && e.startTime >= window.simClickedAt;
});
return asked.length ? asked[0].startTime - window.simClickedAt : null;
"""


def test_a_read_without_settle_misses_the_timer_tab_the_reader_gets_it_whole(realistic):
    w, sim = realistic
    fans = scenario_file()["inventory"]["fans"]
    b = w.browser
    try:
        open_system_info(b)
        assert b.execute_script(CLICK_AND_COUNT) == 0
        # The rows do come, from a request the tab made on its timer, after the click.
        assert eventually(lambda: len(b.find_elements_by_xpath(FAN_ROWS)), len(fans)) == len(fans)
        started = b.execute_script(REQUEST_STARTED)
        assert started is not None and started >= 0.5 * TIME_SCALE * 1000 * 0.9
    finally:
        b.switch_to_default_content()
    # The reader, with its fixed settles, returns every fan.
    assert w.web_get_fan_web_info() == fans
    # Under the instant profile the same click shows the rows at once: the empty read
    # above is the profile's doing.
    sim.fault({"latency": {"profile": "instant"}})
    try:
        open_system_info(b)
        assert b.execute_script(CLICK_AND_COUNT) == len(fans)
    finally:
        sim.fault({"latency": REALISTIC})
        b.switch_to_default_content()


def test_the_alarms_page_keeps_asking_and_shows_new_alarms_without_a_reload(realistic):
    w, sim = realistic
    assert w.check_health() is True
    b = w.browser
    b.switch_to_default_content()
    b.find_element_by_id("menu_ALARMS").click()
    b.switch_to_frame("rightMid")
    box = '//*[@id="currentAlarmTable"]'
    read = lambda: " ".join(e.text for e in b.find_elements_by_xpath(box))
    assert eventually(read, "No current alarms.") == "No current alarms."
    alarm = {"level": "Major", "time": "2026-11-23 10:00:00", "text": "Fan 3 speed low"}
    patch(sim, {"alarms": {"current": [alarm]}})
    try:
        assert "Fan 3 speed low" in eventually(read, lambda text: "Fan 3" in text)
        # Polled, not reloaded: the page is the one opened above.
        assert b.execute_script("return performance.getEntriesByType('resource').filter(function (e) {"
                                " return e.name.indexOf('/__sim/data/alarms') >= 0; }).length;") >= 2
    finally:
        patch(sim, {"alarms": {"current": []}})
        b.switch_to_default_content()
    assert w.check_health() is True
