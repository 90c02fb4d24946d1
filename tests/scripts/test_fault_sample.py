"""The fault sampler's generation: what it changes, what it leaves alone, and that a seed
gives the same sample."""
import importlib.util
import os
import subprocess

import pytest

HERE = os.path.dirname(os.path.abspath(__file__))
spec = importlib.util.spec_from_file_location(
    "fault_sample", os.path.join(HERE, "..", "..", "scripts", "fault_sample.py"))
fault_sample = importlib.util.module_from_spec(spec)
spec.loader.exec_module(fault_sample)

CPP = '''#include <vector>
// if (a == b) return true;
/* a block comment: x != y
   and w.settle(3); */
void f(Web& w, std::vector<int>& v, size_t i) {
  if (v.size() == 3) w.locateElementById("ok");
  w.settle(2);
  log("a == b", true);
  v[i] = 0;
}
virtual int g() = 0;
'''

PY = '''"""A docstring: a == b"""
def f(x):  # x == 1
    if x >= 2:
        log("t", False)
    return x[0]
'''


def faults(path, text):
    return [(f["line"], f["kind"], f["after"].strip())
            for f in fault_sample.file_faults(path, text)]


def test_faults_of_each_kind_in_code_only():
    cpp = faults("webdriver/a.cpp", CPP)
    # Not the include, the comments, the pure virtual.
    assert {line for line, _, _ in cpp} == {6, 7, 8, 9}
    assert (6, "comparison", 'if (v.size() != 3) w.locateElementById("ok");') in cpp
    assert (6, "constant", 'if (v.size() == 4) w.locateElementById("ok");') in cpp
    assert (6, "text", 'if (v.size() == 3) w.locateElementById("~ok");') in cpp
    assert (7, "settle", ";") in cpp and (7, "constant", "w.settle(3);") in cpp
    assert (8, "boolean", 'log("a == b", false);') in cpp
    assert (8, "comparison", 'log("a != b", true);') not in cpp  # inside a text
    assert (9, "index", "v[i + 1] = 0;") in cpp
    click = '  w.locateElementById("ok");\n'
    clicks = [f for f in fault_sample.file_faults("webdriver/b.cpp", click) if f["kind"] == "click"]
    assert [c["after"] for c in clicks] == ["  ;"]

    py = faults("python/marlet/a.py", PY)
    assert {line for line, _, _ in py} == {3, 4, 5}
    assert (3, "comparison", "if x < 2:") in py
    assert (4, "statement", "pass") in py and (4, "boolean", 'log("t", True)') in py
    assert (5, "index", "return x[1]") in py


@pytest.fixture
def sources(tmp_path):
    for folder, name, text in (("webdriver", "a.cpp", CPP), ("python", "b.py", PY),
                               ("tests", "c.cpp", CPP)):
        (tmp_path / folder).mkdir()
        (tmp_path / folder / name).write_text(text)
    subprocess.run(["git", "init", "-q"], cwd=tmp_path, check=True)
    subprocess.run(["git", "add", "."], cwd=tmp_path, check=True)
    return str(tmp_path)


def test_a_seed_gives_the_same_sample_from_the_product_sources(sources):
    first, total = fault_sample.sample_faults(sources, 7, 10)
    again, _ = fault_sample.sample_faults(sources, 7, 10)
    other, _ = fault_sample.sample_faults(sources, 8, 10)
    assert first == again and first != other and len(first) == 10 < total
    assert {f["file"] for f in first} <= {"webdriver/a.cpp", "python/b.py"}
    everything, _ = fault_sample.sample_faults(sources, 7, 1000)
    assert len(everything) == total  # a count beyond the candidates takes them all


def test_the_first_failing_ctest_entry_is_the_killer():
    out = ("The following tests FAILED:\n\t 12 - PowerTest.Cycle (Failed)\n"
           "\t 40 - LoginTest.Fresh (Timeout)\n")
    assert fault_sample.first_ctest_failure(out) == "PowerTest.Cycle"
    timeout = "The following tests FAILED:\n\t 40 - LoginTest.Fresh (Timeout)\n"
    assert fault_sample.first_ctest_failure(timeout) == "LoginTest.Fresh (Timeout)"


def test_a_replayed_fault_follows_its_line_and_a_gone_line_is_stale(tmp_path):
    (tmp_path / "webdriver").mkdir()
    fault = {"id": 3, "file": "webdriver/a.cpp", "line": 2, "kind": "comparison",
             "before": "  if (a == b) f();", "after": "  if (a != b) f();", "status": "killed"}
    (tmp_path / "webdriver" / "a.cpp").write_text("// new\n  if (a == b) f();\nx;\n  if (a == b) f();\n")
    assert fault_sample.relocate(fault, str(tmp_path)) == dict(
        {k: v for k, v in fault.items() if k != "status"}, line=2)
    (tmp_path / "webdriver" / "a.cpp").write_text("// new\n// newer\nx;\n  if (a == b) f();\n")
    assert fault_sample.relocate(fault, str(tmp_path))["line"] == 4
    (tmp_path / "webdriver" / "a.cpp").write_text("  if (a <= b) f();\n")
    assert fault_sample.relocate(fault, str(tmp_path)) is None
