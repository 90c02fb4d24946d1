"""The module on a Selenium Grid: a standalone server started here (tests/python/grid.py)
runs headless Chromium for the wrapper's session; a login, readers, a firmware upload
through the Grid's upload endpoint, and downloads refused with the reason."""
import hashlib
import os

import pytest

from marlet.exception.webdriverexception import RemoteFileException
from marlet.utils.time import set_time_scale
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.console import eventually, patch
from tests.python.grid import GridError, start_grid
from tests.python.pace import TIME_SCALE


@pytest.fixture(scope="module")
def grid():
    try:
        g = start_grid()
    except GridError as e:
        pytest.fail("no Selenium Grid for the Grid tests: %s" % e)
    yield g
    g.stop()


@pytest.fixture(scope="module")
def console(grid, simulator, tmp_path_factory):
    set_time_scale(TIME_SCALE)
    simulator.load({"name": "default"})
    w = VornaWebWrapper({"browser": {"name": "chromium", "driver": "remote", "remote_url": grid.url,
                                     "screenshot_dir": str(tmp_path_factory.mktemp("pictures"))}})
    try:
        assert w.web_login({"bmc": simulator.controller()}) is True
    except BaseException:
        w.web_close()
        raise
    yield w, simulator
    simulator.fault({"clear": True})
    w.web_close()


def uploads(sim):
    return sim.state()["machine"]["firmware"]["uploads"]


def files_named(folder, name):
    return [os.path.join(d, name) for d, _, files in os.walk(folder) if name in files]


def sha256_of(path):
    with open(path, "rb") as f:
        return hashlib.sha256(f.read()).hexdigest()


def test_the_session_runs_on_the_node_and_reads_the_console(console, grid):
    w, sim = console
    sessions = grid.sessions()
    assert len(sessions) == 1
    assert sessions[0]["capabilities"]["browserName"] == "chrome"
    assert sessions[0]["capabilities"]["acceptInsecureCerts"] is True
    patch(sim, {"identity": {"serial": "VRN-GRID-0007"}})
    assert w.get_product_sn() == "VRN-GRID-0007"
    assert w.web_get_power_status() == "PowerOn"


def test_a_firmware_file_reaches_the_console_through_the_upload_endpoint(console, grid, tmp_path):
    w, sim = console
    data = os.urandom(200 * 1024) + b"VORNA-FW-GRID"
    path = tmp_path / "vorna_bmc_grid.bin"
    path.write_bytes(data)
    digest = hashlib.sha256(data).hexdigest()
    patch(sim, {"firmware": {"upgrade_seconds": 1, "result": "The upgrade is complete."}})
    before = len(uploads(sim))
    assert files_named(grid.tmp, path.name) == []
    assert w.update_fw(str(path)) is True
    received = uploads(sim)
    assert len(received) == before + 1
    assert (received[-1]["name"], received[-1]["size"], received[-1]["sha256"]) == (path.name, len(data), digest)
    # The browser read the node's copy, which the Grid unpacked from our upload.
    copies = files_named(grid.tmp, path.name)
    assert len(copies) == 1 and sha256_of(copies[0]) == digest
    assert eventually(lambda: uploads(sim)[-1]["finished"], bool) is True
    w.browser.switch_to_default_content()


def test_downloads_are_refused_naming_the_node(console, grid):
    w, sim = console
    collections = sim.state()["machine"]["diagnostics"].get("collections", 0)
    with pytest.raises(RemoteFileException, match="Selenium Grid node \\(%s\\)" % grid.url.replace(".", "\\.")):
        w.set_info_collection()
    with pytest.raises(RemoteFileException, match="operate_log.csv"):
        w.web_export_bmc_log()
    assert sim.state()["machine"]["diagnostics"].get("collections", 0) == collections
    # The session is still good after the refusals.
    assert w.web_get_power_status() == "PowerOn"
