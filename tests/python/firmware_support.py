"""Helpers of the firmware, diagnostics and log end-to-end tests: a console logged in
once per module whose browser downloads into a folder of the module's own, and bounded
polls of the simulator's state and of the download folder."""
import os
import tarfile

from marlet.utils.time import set_time_scale
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.pace import TIME_SCALE
from tests.python.console import eventually, log_in, patch


def console_with_downloads(simulator, tmp_path_factory, scenario="default"):
    """Generator for a module-scoped fixture: yields (wrapper, simulator, download folder)."""
    set_time_scale(TIME_SCALE)
    simulator.load({"name": scenario})
    downloads = str(tmp_path_factory.mktemp("downloads"))
    w = VornaWebWrapper({"browser": {"screenshot_dir": str(tmp_path_factory.mktemp("pictures")),
                                     "download_dir": downloads}})
    log_in(w, {"bmc": simulator.controller()})
    yield w, simulator, downloads
    simulator.fault({"clear": True})
    w.web_close()


def complete_archive(path):
    """The member names of the gzip'd tar at `path`, or None while it is absent or partial."""
    try:
        with tarfile.open(path, "r:gz") as tar:
            return tar.getnames()
    except (OSError, EOFError, tarfile.TarError):
        return None


def text_file(path, must_hold):
    """The file's text once it holds `must_hold`, else None."""
    try:
        with open(path, encoding="utf-8") as f:
            text = f.read()
    except OSError:
        return None
    return text if must_hold in text else None


def listing(folder):
    return sorted(os.listdir(folder))
