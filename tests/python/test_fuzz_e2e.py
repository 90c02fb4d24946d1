"""The fuzz sweep: every public operation, called with wrong inputs in a child
interpreter, ends in a result or a documented exception -- never a crash, never a hang,
and never a change on the console when the input is refused.

The inputs are drawn from a seeded generator: the seed is printed, and FUZZ_SEED=<n>
replays a run (FUZZ_DRAWS=<n> sets the number of random calls per operation)."""
import json
import os
import select
import signal
import subprocess
import sys
import time

import pytest

from tests.python.conftest import ROOT

SEED = int(os.environ.get("FUZZ_SEED") or int(time.time()) % 100000)
DRAWS = int(os.environ.get("FUZZ_DRAWS") or 0)
# The longest one call may take: the slowest refusal still goes through a page or two.
CALL_BOUND = 60.0


def run_sweep(part, draws, tmp_path, url=None, bound=CALL_BOUND):
    """Runs one part of the sweep in a child interpreter; returns its end records. Fails
    the test, naming the operation and its inputs, on a crash or a call past the bound."""
    print("fuzz sweep %s: seed %d (replay with FUZZ_SEED=%d)" % (part, SEED, SEED))
    cmd = [sys.executable, "-m", "tests.python.fuzz_sweep", "--part", part, "--seed", str(SEED),
           "--draws", str(DRAWS or draws), "--screenshots", str(tmp_path / "pictures")]
    if url:
        cmd += ["--url", url]
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(p for p in sys.path if p))
    errors = tmp_path / ("%s.stderr" % part)  # a file: a full pipe would stall the child
    with open(str(errors), "wb") as sink:
        proc = subprocess.Popen(cmd, cwd=ROOT, env=env, stdout=subprocess.PIPE, stderr=sink)
    ends, begun, names, done, buffer = [], None, None, None, b""
    try:
        while True:
            ready, _, _ = select.select([proc.stdout], [], [], bound)
            if not ready:
                what = "%s(%s)" % (begun["op"], begun["inputs"]) if begun else "the start"
                pytest.fail("seed %d: no progress for %.0f s in %s" % (SEED, bound, what))
            chunk = os.read(proc.stdout.fileno(), 65536)
            if not chunk:
                break
            buffer += chunk
            while b"\n" in buffer:
                line, buffer = buffer.split(b"\n", 1)
                record = json.loads(line.decode("utf-8"))
                if record["event"] == "begin":
                    begun = record
                elif record["event"] == "end":
                    ends.append(record)
                    begun = None
                elif record["event"] == "operations":
                    names = record["names"]
                elif record["event"] == "done":
                    done = record
        code = proc.wait(30)
    finally:
        if proc.poll() is None:
            proc.kill()
            proc.wait()
    err = errors.read_bytes().decode("utf-8", "replace")[-2000:]
    if code < 0:
        what = "%s(%s)" % (begun["op"], begun["inputs"]) if begun else "outside any call"
        pytest.fail("seed %d: the interpreter died of %s in %s\n%s" % (SEED, signal.Signals(-code).name, what, err))
    assert code == 0 and done is not None, "seed %d: the sweep ended with %d\n%s" % (SEED, code, err)
    assert names, "no operation was swept"
    assert {e["op"] for e in ends} == set(names)  # every operation was called
    return names, ends


def bad_calls(ends):
    return ["%s -> %s %s%s" % (e["op"], e["outcome"], e["detail"], " / console changed: %s" % e["changed"]
                                if e["changed"] else "") for e in ends if e["bad"]]


def test_comparisons_take_any_input_without_harm(tmp_path):
    names, ends = run_sweep("compare", 120, tmp_path)
    assert len(names) >= 7 and all(n.startswith("compare_") for n in names)
    assert bad_calls(ends) == []
    # Refusals of several kinds: the values reached the operations' own checks.
    kinds = {e["detail"].split(":")[0] for e in ends if e["outcome"] != "result"}
    assert {"TypeError", "ValueError", "WebElementException"} <= kinds


def test_session_operations_refuse_bad_inputs_before_anything_happens(tmp_path):
    names, ends = run_sweep("session", 10, tmp_path)
    assert {"web_login", "web_logout", "web_close", "web_mod_password", "mod_bmc_ip_addr"} <= set(names)
    assert bad_calls(ends) == []


def test_every_operation_survives_bad_inputs_on_a_logged_in_console(sim, tmp_path):
    # Two draws per operation: each run draws afresh from its own seed, so the runs
    # together cover what more draws in one would.
    names, ends = run_sweep("console", 2, tmp_path, url=sim.url)
    assert len(names) > 60 and "web_login" not in names
    assert bad_calls(ends) == []
