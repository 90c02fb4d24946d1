"""The browser as Python sees it through the module (frames, keys, Select, waits), on
Firefox through its built-in remote protocol and on Chromium through chromedriver, and
the lifecycle promises: no browser outlives its wrapper, its interpreter or a kill.
The browser client's own end-to-end suite lives with the C++ tests."""
import os
import threading

import pytest

from marlet.exception.webdriverexception import (NoSuchElementException, NoSuchFrameException,
                                                  TimeoutException)
from marlet.utils.gui.web.web_base import By, Keys, Select, WebDriverWait
from marlet.utils.gui.web.web_base import expected_conditions as EC
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.browsers import BROWSERS, descendant_browsers
from tests.python.threads import CountingThread

FIXTURES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "fixtures")


@pytest.fixture(autouse=True)
def fast_clock():
    """Waits here run at the real pace: the page's own timers do."""
    from marlet.utils.time import set_time_scale
    set_time_scale(1.0)
    yield


@pytest.fixture(scope="module")
def fixture_server():
    try:
        from http.server import SimpleHTTPRequestHandler, ThreadingHTTPServer
    except ImportError:  # Python 3.6
        pytest.fail("needs Python 3.7 or later")
    import functools

    class Quiet(SimpleHTTPRequestHandler):
        def log_message(self, *args):
            pass

    handler = functools.partial(Quiet, directory=FIXTURES)
    httpd = ThreadingHTTPServer(("127.0.0.1", 0), handler)
    t = threading.Thread(target=httpd.serve_forever)
    t.daemon = True
    t.start()
    yield "http://127.0.0.1:%d" % httpd.server_address[1]
    httpd.shutdown()
    httpd.server_close()


@pytest.fixture(scope="module", params=sorted(BROWSERS))
def session(request, fixture_server, tmp_path_factory):
    downloads = str(tmp_path_factory.mktemp("downloads"))
    w = VornaWebWrapper({"browser": dict(BROWSERS[request.param], download_dir=downloads)})
    w.download_dir = downloads
    w.openFirefox()
    yield w, fixture_server
    w.web_close()
    assert descendant_browsers() == []


@pytest.fixture
def page(session):
    w, base = session
    w.browser.get(base + "/page.html")
    return w, w.browser


@pytest.mark.smoke
def test_frames_by_name_and_by_id_and_back(page):
    w, b = page
    for name in ("byname", "byid"):
        b.switch_to_frame(name)
        assert b.find_element_by_id("inner").text == "inside"
        b.switch_to_default_content()
        assert b.find_element_by_id("plain")
    with pytest.raises(NoSuchFrameException):
        b.switch_to_frame("nowhere")


def test_clicks_keys_select_and_files(page, tmp_path):
    w, b = page
    b.execute_script("arguments[0].click();", b.find_element_by_id("btn"))
    assert b.find_element_by_id("out").text == "clicked"
    sel = b.find_element_by_id("sel")
    sel.send_keys(Keys.DOWN)
    assert sel.get_attribute("value") == "2"
    Select(sel).select_by_visible_text("Three")
    assert sel.get_attribute("value") == "3"
    Select(sel).select_by_visible_text("Two words")               # blanks are normalised
    assert sel.get_attribute("value") == "2"
    with pytest.raises(NoSuchElementException) as info:
        Select(sel).select_by_visible_text("Four")
    assert "Could not locate element with visible text: Four" in str(info.value)
    upload = tmp_path / "firmware.bin"
    upload.write_bytes(b"\x00\x01")
    w.fillElementById("file", str(upload), highlight=False)
    assert b.execute_script("return arguments[0].files[0].name;", b.find_element_by_id("file")) == "firmware.bin"
    b.find_element_by_id("keys").send_keys(Keys.PAGE_DOWN, Keys.DOWN, "x")
    assert b.find_element_by_id("pressed").text == "PageDown ArrowDown x"


def test_waits_visible_hidden_and_time_out(page):
    w, b = page
    late = WebDriverWait(b, 5, 0.1).until(EC.visibility_of_element_located((By.ID, "late")))
    assert late.text == "late"
    assert WebDriverWait(b, 2, 0.1).until_not(EC.visibility_of_element_located((By.ID, "hidden")))
    with pytest.raises(TimeoutException):
        WebDriverWait(b, 0.5, 0.1).until(EC.visibility_of_element_located((By.ID, "hidden")))
    assert w.waitElement("id", "late", 5, 0.5).text == "late"


def test_kill_ends_a_browser_while_another_thread_waits_on_it(fixture_server):
    import time
    from marlet.exception.webdriverexception import WebDriverException
    others = set(descendant_browsers())
    w = VornaWebWrapper({})
    w.openFirefox()
    w.browser.get(fixture_server + "/page.html")
    outcome = {}

    def stuck():
        try:
            w.browser.execute_script("var end = Date.now() + 60000; while (Date.now() < end) {}")
        except WebDriverException as e:
            outcome["error"] = e

    t = threading.Thread(target=stuck)
    t.start()
    time.sleep(1)
    started = time.time()
    w.web_kill_firefox()
    t.join(30)
    assert not t.is_alive() and "error" in outcome
    assert time.time() - started < 20
    assert w.isClosed() and set(descendant_browsers()) - others == set()


def test_a_collected_wrapper_leaves_no_browser():
    import gc
    import time
    others = set(descendant_browsers())
    w = VornaWebWrapper({})
    assert w.openFirefox().title == ""
    assert set(descendant_browsers()) - others
    with CountingThread() as counter:
        started = time.time()
        del w
        gc.collect()
        elapsed = time.time() - started
    assert set(descendant_browsers()) - others == set()
    # Quitting the browser takes a good part of a second; the counter must have moved
    # while it did (the interpreter lock was let go), not only before and after.
    assert counter.count > 100 * elapsed * 0.2
