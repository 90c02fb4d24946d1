"""The vorna command line end to end: the launcher of the build tree, headless Firefox and
the console simulator. One login per call is inherent, so the calls are few."""
import json
import os
import re
import subprocess

import pytest

import marlet
from marlet import cli
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper
from tests.python.console import LOGIN_AFTER_CLICK, patch, scenario_file
from tests.python.pace import TIME_SCALE, roomy_scale

# <build>/python/marlet is the package under test; <build>/bin/vorna its launcher.
LAUNCHER = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(marlet.__file__)), os.pardir, os.pardir,
                                         "bin", "vorna"))
PASSWORD = "Admin@9000"
PROGRESS = re.compile(r"^\[(\w+)\] (settle|wait)( \S+)? \d+\.\d s, \d+\.\d s left$")


@pytest.fixture
def vorna(sim, tmp_path):
    """Runs the launcher against the simulator: vorna(*args, password=...) gives
    (exit code, stdout, stderr lines)."""
    if not os.access(LAUNCHER, os.X_OK):
        pytest.fail("no launcher at %s: configure and build the project first" % LAUNCHER)

    def run(*args, **kw):
        pw = tmp_path / "password"
        pw.write_text(kw.get("password", PASSWORD) + "\n", encoding="utf-8")
        argv = [LAUNCHER, "--address", sim.address, "--port", str(sim.port), "--user", "admin",
                "--password-file", str(pw), "--time-scale", str(kw.get("time_scale", TIME_SCALE)),
                "--screenshots", str(tmp_path / "pictures")] + list(args)
        env = dict(os.environ)
        env.pop("PYTHONPATH", None)  # the launcher finds its own package
        env.pop("VORNA_PASSWORD", None)
        p = subprocess.run(argv, stdout=subprocess.PIPE, stderr=subprocess.PIPE, universal_newlines=True,
                           env=env, timeout=300)
        for text in (p.stdout, p.stderr):
            assert kw.get("password", PASSWORD) not in text, "the password was shown"
        return p.returncode, p.stdout, p.stderr.splitlines()

    return run


def logins_and_logouts(sim):
    texts = [entry["text"] for entry in sim.oplog()]
    return texts.count("Log in successfully"), texts.count("Log out successfully")


def test_a_call_prints_the_result_logs_out_and_shows_its_progress(vorna, sim):
    # At the login's pace (twice the tests'): the console's first page after the click gets
    # room on a busy machine, as the fixtures' logins do.
    code, out, err = vorna("call", "web_get_memory_web_info", time_scale=roomy_scale(LOGIN_AFTER_CLICK, real=4.0))
    assert code == 0, err
    modules = json.loads(out)
    expected = scenario_file()["inventory"]["memory"]["modules"]
    assert [m["name"] for m in modules] == [m["Name"] for m in expected]
    assert logins_and_logouts(sim) == (1, 1)
    # Off a terminal: plain progress lines, one per second at most. The only other line
    # allowed is a warning record: the logout's own wait for the login page is 1 s at
    # this pace, which a loaded machine can miss after the logout itself went through.
    progress = [line for line in err if not line.startswith("{")]
    for line in err:
        if line.startswith("{"):
            assert set(json.loads(line)) == {"warning", "error", "message"}, line
    assert progress, "no progress line at all"
    for line in progress:
        assert PROGRESS.match(line), line
    tags = {PROGRESS.match(line).group(1) for line in progress}
    assert tags <= {"web_login", "web_get_memory_web_info", "web_logout"}
    assert any(" settle " in line for line in progress)


def test_inventory_gives_every_reader_and_a_failed_one_as_its_error(vorna, sim):
    patch(sim, {"inventory": {"fans": []}})
    code, out, err = vorna("--no-progress", "inventory")
    assert code == 1, err
    document = json.loads(out)
    assert list(document) == cli.inventory_readers()
    assert document["web_get_fan_web_info"] == {"error": "WebElementException",
                                                "message": "没有获取到风扇信息标签，《风扇标签》:[]"}
    inventory = scenario_file()["inventory"]
    assert document["web_get_main_board_info"]["board_id"] == inventory["mainboard"]["board_id"]
    assert len(document["web_get_memory_web_info"]) == len(inventory["memory"]["modules"])
    failed = [name for name, value in document.items()
              if isinstance(value, dict) and set(value) == {"error", "message"}]
    assert failed == ["web_get_fan_web_info"], "one failed reader must not spoil the next ones"
    assert json.loads(err[-1]) == {"error": "InventoryIncomplete",
                                   "message": "1 of %d readers failed" % len(cli.inventory_readers())}
    assert logins_and_logouts(sim) == (1, 1)


def test_bad_input_exits_with_2_and_only_params_errors_reach_the_console(vorna, sim):
    for args, kind in [(["call", "web_get_memory_web_info", "[1]"], "TypeError"),
                       (["call", "web_get_memory", "{}"], "UsageError")]:
        code, out, err = vorna(*args)
        assert (code, out, json.loads(err[-1])["error"]) == (2, "", kind), err
    assert logins_and_logouts(sim) == (0, 0), "refused before the console was touched"
    # The operation's own check of its params: after the login, before anything is
    # clicked; still bad input, and still logged out.
    code, out, err = vorna("--no-progress", "call", "create_raid_logical_driver", '["raid0"]')
    assert code == 2
    assert json.loads(err[-1])["error"] == "TypeError"
    assert logins_and_logouts(sim) == (1, 1)


def test_help_lists_every_operation_once_by_subsystem():
    env = dict(os.environ)
    env.pop("PYTHONPATH", None)
    p = subprocess.run([LAUNCHER, "--help"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                       universal_newlines=True, env=env, timeout=60)
    assert p.returncode == 0, p.stderr
    listing = p.stdout.split("operations, by subsystem:", 1)[1]
    operations = [n for n in dir(VornaWebWrapper)
                  if not n.startswith("_") and callable(getattr(VornaWebWrapper, n))
                  and not hasattr(VornaWebWrapper.__mro__[1], n)]
    assert len(operations) > 80
    for name in operations:
        assert len(re.findall(r"(?<![\w])%s(?![\w])" % name, listing)) == 1, name
    headings = [line.strip() for line in listing.splitlines() if line.startswith("  ") and line.strip().endswith(":")]
    assert headings[0].startswith("session") and headings[-1].startswith("bench comparison")
    assert "other:" not in headings
