"""Our Python surface against Python Selenium, on one chromedriver and one page: find,
text, title, attribute and click. A raw loop (http.client on one kept-alive connection,
sending the same W3C messages) is the floor both are measured against; the client
overhead of each is its time minus the raw loop's. Target: ours at most half of
Selenium's.

    /usr/bin/python3 bench/selenium_bench.py [--rounds 1000]

The three sides each have their own session (and Chromium) in the one chromedriver and
run in turn in blocks of 20 commands of each kind, the order rotating every block, so
that drift on the machine falls on all three alike. The attribute commands of the two
clients differ: each sends its own attribute script; the raw loop sends both, and each
client's overhead is taken against the raw time of its own message.
"""
import argparse
import http.client
import json
import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from bench_support import ROOT, table  # noqa: E402

BLOCK = 20
ELEMENT_KEY = "element-6066-11e4-a52e-4f735466cecf"
COMMANDS = ("find", "text", "title", "attribute", "click")
CHROME_ARGS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
               "--disable-background-networking", "--no-first-run"]


def our_attribute_script():
    """The attribute script our client sends, as compiled into it."""
    with open(os.path.join(ROOT, "webdriver", "element.cpp"), encoding="utf-8") as f:
        source = f.read()
    found = re.search(r'kGetAttribute = R"JS\((.*?)\)JS";', source, re.S)
    if not found:
        raise RuntimeError("the attribute script was not found in webdriver/element.cpp")
    return found.group(1)


def selenium_attribute_script():
    import pkgutil
    atom = pkgutil.get_data("selenium.webdriver.remote", "getAttribute.js").decode("utf8")
    return "/* getAttribute */return (%s).apply(null, arguments);" % atom


class Raw(object):
    """The floor: W3C messages on one kept-alive HTTP connection, nothing else."""

    def __init__(self, port, profile):
        self.conn = http.client.HTTPConnection("127.0.0.1", port, timeout=60)
        caps = {"capabilities": {"alwaysMatch": {"acceptInsecureCerts": True, "goog:chromeOptions": {
            "args": CHROME_ARGS + ["--user-data-dir=" + profile]}}}}
        self.session = "/session/" + self.call("POST", "/session", caps)["sessionId"]

    def call(self, method, path, body=None):
        data = None if body is None else json.dumps(body)
        headers = {"Content-Type": "application/json; charset=utf-8"} if data is not None else {}
        self.conn.request(method, path, data, headers)
        reply = self.conn.getresponse().read()
        return json.loads(reply)["value"]

    def open(self, url):
        s = self.session
        self.call("POST", s + "/url", {"url": url})
        self.element = self.call("POST", s + "/element", {"using": "css selector", "value": '[id="a"]'})[ELEMENT_KEY]
        e = s + "/element/" + self.element
        ref = {ELEMENT_KEY: self.element}
        self.ops = {
            "find": lambda: self.call("POST", s + "/element", {"using": "css selector", "value": '[id="a"]'}),
            "text": lambda: self.call("GET", e + "/text"),
            "title": lambda: self.call("GET", s + "/title"),
            "attribute": lambda: self.call("POST", s + "/execute/sync",
                                           {"script": our_script, "args": [ref, "class"]}),
            "attribute (Selenium's)": lambda: self.call("POST", s + "/execute/sync",
                                                        {"script": their_script, "args": [ref, "class"]}),
            "click": lambda: self.call("POST", e + "/click", {}),
        }

    def quit(self):
        self.call("DELETE", self.session)
        self.conn.close()


our_script = our_attribute_script()
their_script = selenium_attribute_script()


def ours(port, url):
    from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
    w = VornaWebWrapper({"host": None, "device": None, "browser": {
        "name": "chromium", "driver": "remote", "remote_url": "http://127.0.0.1:%d" % port}})
    b = w.openFirefox()
    b.get(url)
    e = b.find_element_by_id("a")
    ops = {
        "find": lambda: b.find_element_by_id("a"),
        "text": lambda: e.text,
        "title": lambda: b.title,
        "attribute": lambda: e.get_attribute("class"),
        "click": lambda: e.click(),
    }
    return ops, w.web_close, b


def selenium(port, url, profile):
    from selenium import webdriver
    from selenium.webdriver.common.by import By
    options = webdriver.ChromeOptions()
    for a in CHROME_ARGS + ["--user-data-dir=" + profile]:
        options.add_argument(a)
    options.set_capability("acceptInsecureCerts", True)
    d = webdriver.Remote(command_executor="http://127.0.0.1:%d" % port, options=options)
    d.get(url)
    e = d.find_element(By.ID, "a")
    if e.get_attribute("class") != "bench":
        raise RuntimeError("Selenium read the wrong attribute")
    ops = {
        "find": lambda: d.find_element(By.ID, "a"),
        "text": lambda: e.text,
        "title": lambda: d.title,
        "attribute": lambda: e.get_attribute("class"),
        "click": lambda: e.click(),
    }
    return ops, d.quit


def free_port():
    s = socket.socket()
    s.bind(("127.0.0.1", 0))
    port = s.getsockname()[1]
    s.close()
    return port


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--rounds", type=int, default=1000, help="commands of each kind on each side")
    args = parser.parse_args()
    os.environ["NO_PROXY"] = os.environ["no_proxy"] = "127.0.0.1,localhost"

    work = tempfile.mkdtemp(prefix="vorna-selenium-bench-")
    page = os.path.join(work, "page.html")
    with open(page, "w") as f:
        f.write("<title>Bench</title><p id='a' class='bench'>benchmark text</p>")
    url = "file://" + page
    port = free_port()
    driver = subprocess.Popen(["chromedriver", "--port=%d" % port], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL)
    closers = []
    try:
        deadline = time.time() + 30
        while True:
            try:
                socket.create_connection(("127.0.0.1", port), 1).close()
                break
            except OSError:
                if time.time() > deadline:
                    raise RuntimeError("chromedriver did not start")
                time.sleep(0.05)
        raw = Raw(port, os.path.join(work, "raw"))
        closers.append(raw.quit)
        raw.open(url)
        our_ops, our_close, browser = ours(port, url)
        closers.append(our_close)
        their_ops, their_close = selenium(port, url, os.path.join(work, "selenium"))
        closers.append(their_close)

        sides = {"ours": our_ops, "selenium": their_ops, "raw": raw.ops}
        totals = {side: {name: 0.0 for name in ops} for side, ops in sides.items()}
        order = list(sides)
        for ops in sides.values():  # warm up
            for fn in ops.values():
                for _ in range(10):
                    fn()
        commands_before = browser.command_count
        for block in range(args.rounds // BLOCK):
            for side in order[block % 3:] + order[:block % 3]:
                for name, fn in sides[side].items():
                    start = time.perf_counter()
                    for _ in range(BLOCK):
                        fn()
                    totals[side][name] += time.perf_counter() - start
        sent = browser.command_count - commands_before
    finally:
        for close in reversed(closers):
            try:
                close()
            except Exception as e:  # the figures are printed all the same
                print("closing: %r" % e)
        driver.terminate()
        driver.wait(10)
        shutil.rmtree(work, ignore_errors=True)

    n = (args.rounds // BLOCK) * BLOCK
    per = lambda side, name: totals[side][name] / n * 1000.0  # noqa: E731 (ms per command)
    rows = []
    ours_over = theirs_over = 0.0
    for name in COMMANDS:
        floor_ours = per("raw", name)
        floor_theirs = per("raw", "attribute (Selenium's)") if name == "attribute" else floor_ours
        o, t = per("ours", name) - floor_ours, per("selenium", name) - floor_theirs
        ours_over += o
        theirs_over += t
        rows.append((name, "%.3f" % per("ours", name), "%.3f" % per("selenium", name), "%.3f" % floor_ours,
                     "%.3f" % o, "%.3f" % t, "%.2f" % (o / t) if t > 0 else "-"))
    print("%d of each command per side, blocks of %d, one chromedriver; ms per command" % (n, BLOCK))
    print("raw attribute with Selenium's script: %.3f ms" % per("raw", "attribute (Selenium's)"))
    table(("command", "ours", "selenium", "raw", "our overhead", "selenium overhead", "ratio"), rows)
    print("overhead over all five: ours %.3f ms, Selenium %.3f ms, ratio %.2f (target at most 0.5)" %
          (ours_over, theirs_over, ours_over / theirs_over if theirs_over > 0 else float("nan")))
    print("our commands on the wire: %d for %d calls" % (sent, n * len(COMMANDS)))


if __name__ == "__main__":
    main()
