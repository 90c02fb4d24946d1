"""Firmware upgrades and the diagnostics export through the whole stack; each effect is
read back from the simulator (the file it received) or from the download folder."""
import hashlib
import os

import pytest

from marlet.exception.marlet_exception import MarletException
from marlet.exception.webdriverexception import InvalidArgumentException
from marlet.utils.time import set_settle_policy
from tests.python.firmware_support import (complete_archive, console_with_downloads, eventually, listing, patch,
                                           text_file)


@pytest.fixture(scope="module")
def console(simulator, tmp_path_factory):
    yield from console_with_downloads(simulator, tmp_path_factory)


def uploads(sim):
    return sim.state()["machine"]["firmware"]["uploads"]


@pytest.fixture
def image(tmp_path):
    data = os.urandom(150 * 1024) + b"VORNA-FW-3.13.01"
    path = tmp_path / "vorna_bmc_3.13.01.bin"
    path.write_bytes(data)
    return str(path), len(data), hashlib.sha256(data).hexdigest()


@pytest.mark.smoke
def test_the_console_receives_the_very_file(console, image):
    w, sim, _ = console
    path, size, digest = image
    patch(sim, {"firmware": {"upgrade_seconds": 1, "result": "The upgrade is complete."}})
    before = len(uploads(sim))
    assert w.set_firmware_upgrade(path) is True
    received = uploads(sim)
    assert len(received) == before + 1
    assert received[-1]["name"] == "vorna_bmc_3.13.01.bin"
    assert (received[-1]["size"], received[-1]["sha256"]) == (size, digest)
    assert eventually(lambda: uploads(sim)[-1]["finished"], bool) is True
    assert "Upgrade BMC firmware (vorna_bmc_3.13.01.bin) successfully" in [e["text"] for e in sim.oplog()]


def test_update_fw_waits_its_fixed_time_and_stays_in_the_page(console, image):
    w, sim, _ = console
    path, size, digest = image
    patch(sim, {"firmware": {"upgrade_seconds": 1, "result": "The upgrade is complete."}})
    assert w.update_fw(fw_path=path) is True
    assert (uploads(sim)[-1]["size"], uploads(sim)[-1]["sha256"]) == (size, digest)
    # Still inside the content frame: the page's own result is at hand.
    assert w.getTextById("upgrade_result") == "The upgrade is complete."
    w.web_switch_page_logout()


@pytest.mark.parametrize("policy", ["fixed", "adaptive"])
def test_update_fw_waits_for_a_controller_whose_page_is_quiet(console, image, log_lines, policy):
    # The page shows its ring, asks nothing while the upgrade runs, then writes the result
    # from a page timer: a quiet page is not a finished upgrade, under either policy.
    w, sim, _ = console
    path, _, _ = image
    patch(sim, {"firmware": {"upgrade_seconds": 1, "result": "The upgrade is complete.", "progress": "silent"}})
    set_settle_policy(policy)
    try:
        assert w.update_fw(fw_path=path) is True
    finally:
        set_settle_policy("fixed")
        patch(sim, {"firmware": {"progress": "asks"}})
    assert log_lines.texts() == ["The upgrade is complete."]
    w.web_switch_page_logout()


def test_paths_that_are_no_firmware_file(console, tmp_path):
    w, sim, _ = console
    before = len(uploads(sim))
    missing = str(tmp_path / "missing.bin")
    # No test of its own here: the browser refuses a file that is not there.
    with pytest.raises(MarletException):
        w.set_firmware_upgrade(missing)
    w.web_switch_page_logout()
    # A folder exists: both go on to the upload, where the file input refuses it with the
    # browser's invalid-argument kind, naming the path.
    with pytest.raises(InvalidArgumentException, match=str(tmp_path)):
        w.update_fw(str(tmp_path))
    w.web_switch_page_logout()
    assert len(uploads(sim)) == before


def test_the_collection_lands_in_the_download_folder(console):
    w, sim, downloads = console
    patch(sim, {"diagnostics": {"collect_seconds": 1}})
    old = os.path.join(downloads, "dump_info.tar.gz")
    with open(old, "w") as f:
        f.write("an older collection")
    collections = sim.state()["machine"]["diagnostics"].get("collections", 0)
    path = w.set_info_collection(timeout=60)
    assert path == old
    names = eventually(lambda: complete_archive(path), bool)
    assert names and "dump_info/operation_log.txt" in names, listing(downloads)
    assert sim.state()["machine"]["diagnostics"]["collections"] == collections + 1
    assert "dump_info(1).tar.gz" not in listing(downloads)


def test_the_operation_log_download(console):
    w, sim, downloads = console
    assert w.web_export_bmc_log() == "operate_log"
    text = eventually(lambda: text_file(os.path.join(downloads, "operate_log.csv"), "Log in successfully"), bool)
    assert text, listing(downloads)
    assert text.splitlines()[0] == "no,time,user,interface,ip,text"
