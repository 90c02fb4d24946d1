"""Nothing is left behind: browsers opened and closed, one killed, an interpreter that
exits with a live wrapper, a Ctrl-C in a wait. Each runs in a child interpreter with a
TMPDIR of its own, so that its profiles and processes are told apart from the rest."""
import json
import os
import subprocess
import sys
import time

from tests.python.leaks import live_in_groups, profiles

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def run_child(tmp_path, *args, timeout=240):
    env = dict(os.environ)
    env["TMPDIR"] = str(tmp_path)
    env["PYTHONPATH"] = os.pathsep.join([os.path.join(ROOT, "build", "python"), ROOT])
    proc = subprocess.run([sys.executable, "-m", "tests.python.leak_child"] + list(args), cwd=ROOT, env=env,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, universal_newlines=True, timeout=timeout)
    lines = [json.loads(line) for line in proc.stdout.splitlines() if line.startswith("{")]
    assert proc.returncode == 0, proc.stderr[-3000:]
    assert lines, proc.stderr[-3000:]
    return lines


def assert_nothing_left(tmp_path, lines, timeout=15):
    groups = [line["pid"] for line in lines if line.get("pid")]
    assert groups, lines
    deadline = time.time() + timeout
    while live_in_groups(groups) and time.time() < deadline:
        time.sleep(0.05)
    assert live_in_groups(groups) == []
    assert profiles(str(tmp_path)) == []


# Real seconds a cycle may take at its own bounds: the launcher's 60 s for a browser start,
# then a close of 10 s for the browser to exit and 5 s after a SIGTERM.
CYCLE_BOUND = 60 + 10 + 5


def test_browsers_opened_and_closed_leave_no_process_profile_or_descriptor(tmp_path):
    # Three cycles: the second and the third show the descriptors flat after the first.
    lines = run_child(tmp_path, "cycles", "3", timeout=60 + 3 * CYCLE_BOUND)
    assert [line["closed"] for line in lines] == [True] * 3
    assert [line["profiles"] for line in lines] == [0] * 3
    assert len(set(line["pid"] for line in lines)) == 3
    # The first cycle opens what lives on (the HTTP client, the spawner thread); after
    # it the descriptors stay flat.
    assert lines[-1]["fds"] <= lines[1]["fds"], [line["fds"] for line in lines]
    # Each session's event channel takes two threads and ends them with the session.
    assert lines[-1]["threads"] <= lines[1]["threads"], [line["threads"] for line in lines]
    assert_nothing_left(tmp_path, lines)


def test_a_killed_browser_is_seen_and_cleaned_at_once(tmp_path):
    lines = run_child(tmp_path, "kill")
    assert lines[0]["closed"] is True
    assert lines[0]["profiles"] == 0, "the profile goes as soon as the death is seen"
    assert_nothing_left(tmp_path, lines)


def test_an_interpreter_that_exits_with_a_live_wrapper_ends_its_browser(tmp_path):
    lines = run_child(tmp_path, "exit-live")
    assert lines[0]["profiles"] == 1
    assert_nothing_left(tmp_path, lines)


def test_a_ctrl_c_in_a_wait_reaches_the_harness_and_the_exit_leaves_nothing(tmp_path):
    lines = run_child(tmp_path, "interrupt")
    assert lines[0]["outcome"] == "KeyboardInterrupt"
    assert lines[0]["seconds"] < 0.3 + 3.0
    assert lines[0]["closed"] is False, "the browser stays open and usable"
    assert_nothing_left(tmp_path, lines)
