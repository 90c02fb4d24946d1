"""The console's realistic latency through the whole stack: a polling page keeps asking
and shows what changed without a reload (the module, headless Firefox, the simulator
under the realistic profile scaled as the tests' clock is). Every
operation's records and saves against this profile are the adaptive rerun's
(scripts/test.sh)."""
import pytest

from marlet.utils.time import set_time_scale
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.console import eventually, log_in, patch
from tests.python.pace import TIME_SCALE

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
