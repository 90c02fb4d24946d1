"""A trace of a real failure against the simulator, turned into its page and looked at in
headless Firefox through our own client: the operations are listed, the failed one is
opened on its picture and exception, and a click lists another one's commands."""
import json
import os

import pytest

from marlet.exception.webdriverexception import WebDriverException
from marlet.trace.viewer import write_report
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
ARTIFACTS = os.path.join(ROOT, "build", "test-artifacts")
ROW = "//div[contains(concat(' ', @class, ' '), ' op ')]"  # an operation's row on the timeline


@pytest.fixture
def failed_trace(sim, tmp_path):
    """The trace of a session whose third operation fails: an element never comes."""
    w = VornaWebWrapper({"host": None, "device": None, "browser": {"screenshot_dir": str(tmp_path / "pictures")},
                         "trace": {"dir": str(tmp_path / "traces"), "mode": "retain-on-failure"}})
    try:
        w.web_login({"bmc": sim.controller()})
        assert w.get_product_sn()
        sim.fault({"missing": {"overview": ["productAlias"]}})
        with pytest.raises(WebDriverException, match="productAlias"):
            w.get_bios_name()
        path = w.trace_path
    finally:
        sim.fault({"clear": True})
        w.web_close()
    assert w.trace_path == path and os.path.isfile(path), "a session with a failure keeps its trace"
    return path


def test_a_failed_operations_trace_opens_as_a_page_with_its_picture_exception_and_steps(failed_trace, tmp_path):
    with open(failed_trace, encoding="utf-8") as f:
        records = [json.loads(line) for line in f]
    assert "Admin@9000" not in json.dumps(records)
    operations = ["web_login", "get_product_sn", "get_bios_name", "web_close"]
    assert [r["name"] for r in records if r["type"] == "operation"] == operations
    assert any(r["type"] == "settle" and r.get("policy") for r in records)
    assert any(r["type"] == "command" and "productAlias" in r.get("locator", "") and r.get("error")
               for r in records)

    page = write_report(failed_trace, str(tmp_path / "report.html"))
    viewer = VornaWebWrapper({"browser": {}})
    viewer.openFirefox()
    try:
        b = viewer.browser
        b.get("file://" + page)
        names = [e.text for e in b.find_elements_by_xpath(ROW + "/div[@class='name']")]
        assert names == operations
        assert b.find_element_by_id("op-title").text.startswith("get_bios_name \u2014 failed")
        assert "productAlias" in b.find_element_by_id("op-error").text
        failed_steps = b.find_element_by_id("steps").text
        assert "settle" in failed_steps and "productAlias" in failed_steps
        assert "(fixed)" in failed_steps or "(adaptive)" in failed_steps
        assert b.execute_script("var i = document.getElementById('op-picture');"
                                "return i.complete && i.naturalWidth > 100;")
        os.makedirs(ARTIFACTS, exist_ok=True)
        shot = os.path.join(ARTIFACTS, "trace_report.png")
        assert b.save_screenshot(shot)
        print("the failed operation's page:", shot)

        b.find_element_by_xpath(ROW + "[div[@class='name']='get_product_sn']").click()
        assert b.find_element_by_id("op-title").text.startswith("get_product_sn (")
        assert 'css selector=[id="txtSequence"]' in b.find_element_by_id("steps").text
    finally:
        viewer.close()
