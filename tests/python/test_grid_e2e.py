"""The module on a Selenium Grid: a hub with two nodes started here (tests/python/grid.py),
each with four headless Chromium slots and managed downloads. Eight wrappers from this one
process log in at once and spread over both nodes; each node takes a firmware upload
through the Grid's upload endpoint and hands back the diagnostics downloads into the
wrapper's download_dir here."""
import hashlib
import os
import tarfile
import threading

import pytest

from marlet.utils.time import set_time_scale
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.console import eventually, patch
from tests.python.grid import GridError, start_grid
from tests.python.pace import TIME_SCALE, roomy_scale

WRAPPERS = 8


@pytest.fixture(scope="module")
def grid():
    try:
        g = start_grid(nodes=2, max_sessions=WRAPPERS // 2)
    except GridError as e:
        pytest.fail("no Selenium Grid for the Grid tests: %s" % e)
    yield g
    g.stop()


def at_once(work, items):
    """Runs work(item) for every item, each in a thread of its own; raises the first failure."""
    errors = []

    def body(item):
        try:
            work(item)
        except BaseException as e:  # re-raised below, in the test's thread
            errors.append(e)

    threads = [threading.Thread(target=body, args=(item,)) for item in items]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    if errors:
        raise errors[0]


@pytest.fixture(scope="module")
def fleet(grid, simulator, tmp_path_factory):
    """Eight wrappers logged in through the Grid, each with a download folder of its own."""
    simulator.load({"name": "default"})
    wrappers = [VornaWebWrapper({"browser": {
        "name": "chromium", "driver": "remote", "remote_url": grid.url,
        "download_dir": str(tmp_path_factory.mktemp("downloads-%d" % i)),
        "screenshot_dir": str(tmp_path_factory.mktemp("pictures-%d" % i))}}) for i in range(WRAPPERS)]
    # Eight browsers starting at once on a small machine: the login's page may come late.
    set_time_scale(roomy_scale(30))
    try:
        at_once(lambda w: w.web_login({"bmc": simulator.controller()}), wrappers)
    except BaseException:
        at_once(lambda w: w.web_close(), wrappers)
        raise
    set_time_scale(TIME_SCALE)
    yield wrappers, simulator
    simulator.fault({"clear": True})
    at_once(lambda w: w.web_close(), wrappers)


def node_of(grid):
    """wrapper -> the URI of the node its session runs on."""
    by_address = {s["capabilities"]["goog:chromeOptions"]["debuggerAddress"]: s["uri"] for s in grid.sessions()}
    return lambda w: by_address[w.browser.capabilities["goog:chromeOptions"]["debuggerAddress"]]


def one_per_node(wrappers, grid):
    where, chosen = node_of(grid), {}
    for w in wrappers:
        chosen.setdefault(where(w), w)
    return chosen


def uploads(sim):
    return sim.state()["machine"]["firmware"]["uploads"]


def files_named(folder, name):
    return [os.path.join(d, name) for d, _, files in os.walk(folder) if name in files]


def sha256_of(path):
    with open(path, "rb") as f:
        return hashlib.sha256(f.read()).hexdigest()


def test_eight_wrappers_spread_over_both_nodes_and_read_the_console(fleet, grid):
    wrappers, sim = fleet
    sessions = grid.sessions()
    assert len(sessions) == WRAPPERS
    per_node = {}
    for s in sessions:
        per_node[s["uri"]] = per_node.get(s["uri"], 0) + 1
        assert s["capabilities"]["browserName"] == "chrome"
        assert s["capabilities"]["se:downloadsEnabled"] is True
    assert sorted(per_node.values()) == [WRAPPERS // 2, WRAPPERS // 2]
    patch(sim, {"identity": {"serial": "VRN-GRID-0007"}})
    serials = {}
    at_once(lambda w: serials.__setitem__(id(w), w.get_product_sn()), wrappers)
    assert sorted(serials.values()) == ["VRN-GRID-0007"] * WRAPPERS
    assert wrappers[-1].web_get_power_status() == "PowerOn"


def test_a_firmware_file_reaches_the_console_through_each_node(fleet, grid, tmp_path):
    wrappers, sim = fleet
    chosen = one_per_node(wrappers, grid)
    assert len(chosen) == 2
    patch(sim, {"firmware": {"upgrade_seconds": 1, "result": "The upgrade is complete."}})
    for n, (node, w) in enumerate(sorted(chosen.items())):
        data = os.urandom(200 * 1024) + b"VORNA-FW-GRID-%d" % n
        path = tmp_path / ("vorna_bmc_grid_%d.bin" % n)
        path.write_bytes(data)
        digest = hashlib.sha256(data).hexdigest()
        before = len(uploads(sim))
        assert w.update_fw(str(path)) is True, node
        received = uploads(sim)
        assert len(received) == before + 1
        assert (received[-1]["name"], received[-1]["size"], received[-1]["sha256"]) == (path.name, len(data), digest)
        # The browser read the node's copy, which that node unpacked from our upload.
        copies = files_named(grid.tmp, path.name)
        assert len(copies) == 1 and sha256_of(copies[0]) == digest
        assert eventually(lambda: uploads(sim)[-1]["finished"], bool) is True
        w.browser.switch_to_default_content()


def test_downloads_come_back_from_each_node_into_the_wrappers_download_dir(fleet, grid):
    wrappers, sim = fleet
    for node, w in sorted(one_per_node(wrappers, grid).items()):
        collections = sim.state()["machine"]["diagnostics"].get("collections", 0)
        path = w.set_info_collection()
        assert path == os.path.join(w.download_dir, "dump_info.tar.gz")
        assert sim.state()["machine"]["diagnostics"].get("collections", 0) == collections + 1
        with tarfile.open(path, "r:gz") as tar:
            assert "dump_info/machine.json" in tar.getnames(), node
        assert w.web_export_bmc_log() == "operate_log"
        with open(os.path.join(w.download_dir, "operate_log.csv"), encoding="utf-8") as f:
            assert "Log in successfully" in f.read()
