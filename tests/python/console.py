"""A console logged in once for a whole test module: most end-to-end tests read or change
the machine through one login, which saves a browser start and a login per test."""
from marlet.utils.time import set_time_scale
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.pace import TIME_SCALE


def logged_in_console(simulator, tmp_path_factory, scenario="default"):
    """Generator for a module-scoped fixture: yields (wrapper, simulator) with `scenario`
    loaded and the wrapper logged in; clears the faults and closes the browser after."""
    set_time_scale(TIME_SCALE)  # module fixtures run before the per-test fast clock
    simulator.load({"name": scenario} if isinstance(scenario, str) else {"scenario": scenario})
    w = VornaWebWrapper({"browser": {"screenshot_dir": str(tmp_path_factory.mktemp("pictures"))}})
    w.web_login({"bmc": simulator.controller()})
    yield w, simulator
    simulator.fault({"clear": True})
    w.web_close()
