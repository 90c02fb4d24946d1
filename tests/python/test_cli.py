"""The vorna command line without a console: its reading of PARAMS and of the operations'
signatures, its errors and exit codes, the progress line, and the offline comparisons."""
import io
import json
import os

import pytest

from marlet import cli
from marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper import VornaWebWrapper

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def run(*argv):
    out, err = io.StringIO(), io.StringIO()
    code = cli.main(list(argv), stdout=out, stderr=err)
    return code, out.getvalue(), err.getvalue()


def last_error(err):
    return json.loads(err.strip().splitlines()[-1])


def test_params_are_an_argument_array_or_one_params_map(tmp_path):
    assert cli.parse_params(None) == []
    assert cli.parse_params('{"type": "all"}') == [{"type": "all"}]
    assert cli.parse_params('[["fan"], 1700000000]') == [["fan"], 1700000000]
    assert cli.parse_params("[]") == []
    f = tmp_path / "params.json"
    f.write_text('[{"raid_disk": true}]', encoding="utf-8")
    assert cli.parse_params("@" + str(f)) == [{"raid_disk": True}]
    for bad in ['{"type": ', '"all"']:
        with pytest.raises(cli.UsageError):
            cli.parse_params(bad)
    with pytest.raises(cli.UsageError, match="cannot read"):
        cli.parse_params("@" + str(tmp_path / "absent.json"))


def test_argument_counts_come_from_the_bound_signatures():
    cls = VornaWebWrapper
    assert cli.arity(cls.web_get_memory_web_info, "web_get_memory_web_info") == (0, 0)
    assert cli.arity(cls.web_get_cpu_info_vorna, "web_get_cpu_info_vorna") == (1, 1)
    assert cli.arity(cls.bmc_time_zone, "bmc_time_zone") == (0, 3)
    assert cli.arity(cls.config_ldap_service, "config_ldap_service") == (3, 9)
    assert cli.arity(cls.compare_storage, "compare_storage") == (4, 4)
    cli.check_arguments(cls, "bmc_time_zone", ["GET", "Asia"])
    with pytest.raises(TypeError, match=r"web_get_memory_web_info\(\) takes 0 arguments \(1 given\)"):
        cli.check_arguments(cls, "web_get_memory_web_info", [{}])
    with pytest.raises(TypeError, match=r"takes 0 to 3 arguments \(4 given\)"):
        cli.check_arguments(cls, "bmc_time_zone", ["GET", 1, 2, 3])
    with pytest.raises(cli.UsageError, match="unknown operation"):
        cli.check_arguments(cls, "web_get_everything", [])
    with pytest.raises(cli.UsageError, match="unknown operation"):
        cli.check_arguments(cls, "_set_power_state", ["on"])  # not public
    with pytest.raises(cli.UsageError, match="logs in before and out after"):
        cli.check_arguments(cls, "web_logout", [])


def test_the_table_of_operations_holds_every_public_operation_once():
    table = cli.operation_table()
    names = [e["name"] for e in table]
    assert len(names) == len(set(names))
    # A public operation of the class missing from the table fails here.
    assert set(cli.public_operations(VornaWebWrapper)) <= set(names)
    for e in table:  # and the table binds nothing the class lacks, each with its doc
        assert getattr(VornaWebWrapper, e["name"]).__doc__.strip().endswith(e["doc"]), e["name"]
        assert e["login"] in ("needed", "none", "offline") and e["doc"].endswith(".")
    groups = cli.operation_groups(VornaWebWrapper)
    listed = [name for _, names in groups for name in names]
    assert sorted(listed) == cli.public_operations(VornaWebWrapper)
    assert cli.OTHER not in dict(groups), "a new operation needs its subsystem in the table"
    assert [t for t, _ in groups][0] == "session" and groups[-1][0] == "bench comparison"
    assert cli.no_login() >= {"web_register", "web_register_web", "compare_power"}
    assert cli.offline() == {n for n in names if n.startswith("compare_")}
    readers = cli.inventory_readers()
    assert "web_get_memory_web_info" in readers and "web_get_cpu_info_vorna" in readers
    assert not set(readers) & {"web_get_cpu_info_all", "web_get_cpu_info_vorna_single"}


def test_the_operations_reference_is_current():
    from scripts.operations_reference import PATH, render
    with open(PATH, encoding="utf-8") as f:
        assert f.read() == render(cli.operation_table()), "run scripts/operations_reference.py"


class FakeWrapper(object):
    def __init__(self):
        self.current = None

    def activity(self):
        return self.current


class Stream(io.StringIO):
    def __init__(self, tty):
        io.StringIO.__init__(self)
        self.tty = tty

    def isatty(self):
        return self.tty


class Ticks(object):
    def __init__(self):
        self.t = 100.0

    def __call__(self):
        return self.t


def test_progress_is_plain_lines_at_most_once_a_second_off_a_terminal():
    w, stream, now = FakeWrapper(), Stream(False), Ticks()
    p = cli.Progress(w, stream, now=now)
    w.current = {"kind": "settle", "operation": "web_get_memory_web_info", "what": "", "seconds": 15.0,
                 "left": 9.24}
    now.t += 0.5
    assert not p.tick(), "nothing within the first second"
    now.t += 0.6
    assert p.tick()
    now.t += 0.5
    assert not p.tick(), "at most once a second"
    w.current = None
    now.t += 2
    assert not p.tick(), "nothing to show between settles"
    w.current = {"kind": "wait", "operation": "web_login", "what": "id=menu_INFO", "seconds": 5.0, "left": 0.0}
    assert p.tick()
    assert stream.getvalue() == ("[web_get_memory_web_info] settle 15.0 s, 9.2 s left\n"
                                 "[web_login] wait id=menu_INFO 5.0 s, 0.0 s left\n")
    p.clear()
    assert stream.getvalue().endswith("left\n"), "plain lines are never taken back"


def test_progress_is_redrawn_in_place_on_a_terminal_and_cleared_after():
    w, stream, now = FakeWrapper(), Stream(True), Ticks()
    p = cli.Progress(w, stream, now=now)
    w.current = {"kind": "settle", "operation": "", "what": "", "seconds": 30.0, "left": 12.0}
    now.t += 1
    assert p.tick()
    w.current["left"] = 11.0
    now.t += 1
    assert p.tick()
    p.clear()
    assert stream.getvalue() == ("\r[vorna] settle 30.0 s, 12.0 s left\x1b[K"
                                 "\r[vorna] settle 30.0 s, 11.0 s left\x1b[K\r\x1b[K")
    assert "\n" not in stream.getvalue()


def test_errors_are_typed_json_with_the_password_masked():
    scrub = cli.Scrubber("Admin@9000")
    record = cli.error_record(ValueError("bad password Admin@9000 for admin"), scrub, "web_login")
    assert record == {"error": "ValueError", "message": "bad password ******** for admin", "operation": "web_login"}
    assert cli.error_record(KeyError("username"), cli.Scrubber()) == {"error": "KeyError", "message": "username"}
    from marlet.exception.webloginexception import WebLoginException
    failed = WebLoginException("Login Bmc Web Fail!")
    failed.console_messages = ["HTTP 500: POST /api/login", "console error: Admin@9000 refused"]
    assert cli.error_record(failed, scrub)["console"] == ["HTTP 500: POST /api/login", "console error: ******** refused"]
    assert cli.exit_code_of(WebLoginException("Login Bmc Web Fail!")) == 1
    assert cli.exit_code_of(RuntimeError("session gone")) == 1
    for bad in (KeyError("x"), TypeError("x"), ValueError("x"), cli.UsageError("x")):
        assert cli.exit_code_of(bad) == 2


def test_bad_input_is_refused_before_any_browser_with_exit_code_2(tmp_path):
    pw = tmp_path / "pw"
    pw.write_text("Secret#1\n", encoding="utf-8")
    console = ["--address", "127.0.0.1", "--port", "9", "--user", "admin", "--password-file", str(pw),
               "--time-scale", "0.05"]
    cases = [
        (console + ["call", "web_get_memory_web_info", "{nope"], "UsageError", "PARAMS is no JSON"),
        (console + ["call", "web_get_all_the_things"], "UsageError", "unknown operation"),
        (console + ["call", "web_get_cpu_info_vorna"], "TypeError", "takes 1 argument (0 given)"),
        (["--user", "admin", "call", "get_guid"], "UsageError", "--address is needed"),
        (console + ["--browser", '{"name": "lynx"}', "inventory"], "ValueError", "browser['name']"),
        (["show-trace", str(tmp_path / "absent.jsonl")], "UsageError", "cannot read"),
        (console, "UsageError", "give a command"),
    ]
    for argv, kind, text in cases:
        code, out, err = run(*argv)
        assert code == 2, (argv, err)
        assert out == ""
        record = last_error(err)
        assert record["error"] == kind, (argv, record)
        assert text in record["message"], (argv, record)
        assert "Secret#1" not in err


POWER = [{"Type": "PSU", "Manufacturer": "Vorna", "Rated Power": "800W", "Input Mode": "AC", "BOM Code": "P1"}]
BENCH = {"P1": {"Model": "M", "Manufacturer": "Vorna", "PowerCapacityWatts": "800W", "PowerSupplyType": "AC"}}


def test_comparisons_run_offline_with_exit_codes_by_failure_kind():
    code, out, err = run("call", "compare_power", json.dumps([POWER, BENCH]))
    assert (code, json.loads(out), err) == (0, None, ""), "no login, no progress, no log line"

    bench = {"P1": dict(BENCH["P1"], PowerSupplyType="DC")}
    code, out, err = run("call", "compare_power", json.dumps([POWER, bench]))
    assert (code, out) == (1, "")
    assert last_error(err) == {"error": "WebDisplayException", "message": "电源输入模式不一致 标准:DC 实际:AC",
                               "operation": "compare_power"}
    # A bench table without the console's row is a KeyError: bad input.
    code, out, err = run("call", "compare_power", json.dumps([POWER, {}]))
    assert code == 2 and last_error(err)["error"] == "KeyError"


def test_settle_and_trace_options_reach_the_constructor_and_show_trace_writes_one_self_contained_page(tmp_path):
    parser = cli.build_parser(VornaWebWrapper)
    args = parser.parse_args(["--trace", "traces", "inventory"])
    assert cli.wrapper_params(args, {})["trace"] == {"dir": os.path.abspath("traces"), "mode": "on"}
    assert "trace" not in cli.wrapper_params(parser.parse_args(["inventory"]), {})
    # The command line settles adaptively unless told otherwise.
    assert cli.wrapper_params(parser.parse_args(["inventory"]), {})["settle"] == "adaptive"
    assert cli.wrapper_params(parser.parse_args(["--settle", "fixed", "inventory"]), {})["settle"] == "fixed"

    # A trace cut short by a crash: its last line half written, its operation never ended.
    records = [{"type": "trace", "t": 0, "version": 1, "started": "20261124-201530-123", "mode": "on",
                "time_scale": 1.0, "browser": "firefox", "driver": "marionette", "bidi": "open"},
               {"type": "operation", "t": 0.1, "id": 1, "name": "get_guid", "args": []},
               {"type": "command", "t": 0.2, "op": 1, "name": "FindElement", "seconds": 0.01,
                "locator": "css selector=[id=\"guid\"]", "error": "</script><b>no such element</b>"},
               {"type": "picture", "t": 0.3, "op": 1, "label": "get_guid_failed", "png": "iVBORw0KGgo="},
               {"type": "end", "t": 0.4, "op": 1, "id": 1, "seconds": 0.3,
                "error": {"type": "NoSuchElementException", "message": "Unable to locate element id=guid"}},
               {"type": "operation", "t": 0.5, "id": 2, "name": "get_product_sn", "args": []},
               {"type": "settle", "t": 0.6, "op": 2, "asked": 6, "taken": 6, "seconds": 0.3, "policy": "fixed"}]
    trace = tmp_path / "s.trace.jsonl"
    trace.write_text("\n".join(json.dumps(r) for r in records) + '\n{"type": "comm', encoding="utf-8")
    code, out, err = run("show-trace", str(trace))
    assert (code, err) == (0, "")
    page = json.loads(out)["report"]
    assert page == str(tmp_path / "s.trace.html")
    html = open(page, encoding="utf-8").read()
    assert "http://" not in html and "https://" not in html and "<link" not in html and " src=" not in html
    assert html.count("</script>") == 2, "the data cannot end its script element"
    from marlet.trace.viewer import load
    ops = load(str(trace))["operations"]
    assert [(o["name"], o.get("error", {}).get("type"), o.get("unfinished")) for o in ops] == [
        ("get_guid", "NoSuchElementException", None), ("get_product_sn", None, True)]
    assert [s["type"] for s in ops[0]["steps"]] == ["command", "picture"]
