"""Logins through the whole stack: the module, headless Firefox, the console simulator."""
import os
import time

import pytest

from marlet.exception.marlet_exception import MarletException
from marlet.exception.webdriverexception import TimeoutException
from marlet.exception.webloginexception import WebLoginException
from tests.python.browsers import descendant_browsers
from tests.python.threads import CountingThread


@pytest.mark.smoke
def test_login_and_logout_over_https(sim, wrapper, log_lines):
    with CountingThread() as counter:
        started = time.time()
        assert wrapper.web_login({"bmc": sim.controller()}) is True
        elapsed = time.time() - started
    # At the test pace the login settles about a second; another thread's counter must
    # have moved all along, not only before and after.
    assert counter.count > 100 * elapsed * 0.2
    assert wrapper.isLogin and wrapper.current_user == "admin"
    assert wrapper.bmc_ip == sim.address and wrapper.username == "admin"
    assert wrapper.browser.current_url.startswith("https://%s:%d/" % (sim.address, sim.port))
    assert log_lines.texts()[-1].startswith("[login] Login success, title: ")
    assert "No need to update password." in log_lines.texts("warn")

    wrapper.web_logout()
    assert wrapper.isLogin is False and not wrapper.isClosed()
    assert wrapper.browser.find_element_by_id("iptUserName").is_displayed()
    assert log_lines.texts()[-1].startswith("[logout] Logout success, title: ")


def test_wrong_credentials_raise_a_login_failure_and_close_the_browser(sim, wrapper, tmp_path):
    secret = "Wr0ng-S3cret"
    with pytest.raises(WebLoginException) as info:
        wrapper.web_login({"bmc": sim.controller(password=secret)})
    assert str(info.value).startswith("Login Bmc Web Fail!")
    assert isinstance(info.value.__cause__, TimeoutException)
    assert isinstance(info.value, MarletException)
    assert wrapper.isClosed() and wrapper.isLogin is False and wrapper.current_user is None
    assert descendant_browsers() == []
    # The password is in no error of the chain and in no picture's name.
    texts, e = [], info.value
    while e is not None:
        texts.append(str(e))
        e = e.__cause__
    assert secret not in "\n".join(texts)
    pictures = os.listdir(str(tmp_path / "pictures"))
    assert pictures and [f for f in pictures if secret in f] == []


@pytest.mark.vorna_scenario("password_tips")
def test_the_password_tips_dialog_is_dismissed(log_lines, vorna, vorna_console):
    assert vorna.isLogin and vorna.current_user == vorna_console.username
    assert "No need to update password." not in log_lines.texts("warn")
    assert vorna.browser.find_element_by_id("menu_INFO").is_displayed()
    # the dialog's "do not remind me again" was ticked before OK
    assert vorna_console.state()["machine"]["login"]["password_tips"] is False


def test_a_second_login_fails_at_the_user_field_and_close_and_kill_leave_no_browser_behind(sim, wrapper):
    wrapper.web_login({"bmc": sim.controller()})
    with pytest.raises(TimeoutException):
        wrapper.web_login({"bmc": sim.controller()})
    assert not wrapper.isClosed()  # the failure leaves the browser as it was
    assert descendant_browsers() != []
    wrapper.web_close()
    assert wrapper.isClosed() and descendant_browsers() == []
    assert wrapper.isLogin is True  # closing does not touch the login flag

    wrapper.web_login({"bmc": sim.controller()})
    wrapper.web_kill_firefox()
    assert wrapper.isClosed()
    deadline = time.time() + 10
    while descendant_browsers() and time.time() < deadline:
        time.sleep(0.1)
    assert descendant_browsers() == []


def test_a_screenshot_and_the_picture_of_a_failure_land_in_the_folder(sim, wrapper, log_lines, tmp_path):
    wrapper.web_login({"bmc": sim.controller()})
    path = wrapper._screenshot()
    assert os.path.dirname(path) == str(tmp_path / "pictures")
    with open(path, "rb") as f:
        assert f.read(8) == b"\x89PNG\r\n\x1a\n"
    assert log_lines.texts()[-1] == "[screenshot] " + path
    # A failed operation leaves a picture of its own.
    wrapper.browser.execute_script(
        "var s = document.evaluate('//span[text()=\"Log Out\"]', document, null, 9, null)"
        ".singleNodeValue; s.parentNode.removeChild(s);")
    with pytest.raises(IndexError):
        wrapper.web_logout()
    pictures = os.listdir(str(tmp_path / "pictures"))
    assert any(p.endswith("_web_logout_failed.png") for p in pictures)
