"""The operation log and the system events as the console's log pages show them.

What the machine did before the scenario was loaded is its history: the scenario's
"logs" map names how many entries of each log to show, how far apart, and the sentences
they cycle through. History times count back from just before the first thing done
since the scenario was loaded (or its first reading by a log page); live entries
(state.oplog, state.events: logins, power actions, saved settings of every page) follow
it. The pages show the newest entry first.
"""
import time

OPERATION_COLUMNS = ("no", "time", "user", "interface", "ip", "text")


def _stamp(seconds):
    return time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(seconds))


def _history(state, which):
    logs = state.machine.setdefault("logs", {})
    # The moment history ends is fixed once per loaded scenario, so that repeated reads
    # show the same times, and lies before anything done since the scenario was loaded.
    if "history_end" not in logs:
        live = [time.mktime(time.strptime(e["time"], "%Y-%m-%d %H:%M:%S")) for e in state.oplog + state.events]
        logs["history_end"] = min(live + [time.time()]) - 60
    base = logs["history_end"]
    plan = logs.get(which) or {}
    entries = plan.get("entries") or []
    count, every = int(plan.get("count", len(entries))), float(plan.get("every", 3600))
    out = []
    for i in range(count):
        if not entries:
            break
        entry = dict(entries[i % len(entries)])
        entry["time"] = _stamp(base - (count - 1 - i) * every)
        out.append(entry)
    return out


def operation_entries(state):
    """Oldest first: the history, then what was done since."""
    rows = []
    for entry in _history(state, "operation") + list(state.oplog):
        rows.append({"time": entry["time"], "user": entry.get("user", "admin"),
                     "interface": entry.get("interface", "WEB"), "ip": entry.get("ip", "127.0.0.1"),
                     "text": entry["text"]})
    for i, row in enumerate(rows):
        row["no"] = i + 1
    return rows


def event_entries(state):
    rows = []
    for entry in _history(state, "events") + list(state.events):
        rows.append({"time": entry["time"], "level": entry.get("level", "Info"), "text": entry["text"],
                     "sensor": entry.get("sensor", "")})
    for i, row in enumerate(rows):
        row["id"] = i + 1
    return rows


def _operation_log(state, user):
    return 200, list(reversed(operation_entries(state)))


def _events(state, user):
    return 200, list(reversed(event_entries(state)))


def _operation_log_file(state, user):
    """The operation log as the console exports it: one line per entry, newest first."""
    lines = [",".join(OPERATION_COLUMNS)]
    for row in reversed(operation_entries(state)):
        lines.append(",".join('"%s"' % str(row[c]).replace('"', '""') for c in OPERATION_COLUMNS))
    state.machine.setdefault("logs", {})["exports"] = state.machine["logs"].get("exports", 0) + 1
    return 200, {"_download": "operate_log.csv", "_bytes": ("\n".join(lines) + "\n").encode("utf-8"),
                 "_type": "text/csv; charset=utf-8"}


GET_ACTIONS = {
    "/api/logs/operation": _operation_log,
    "/api/logs/events": _events,
    "/api/logs/operate_log.csv": _operation_log_file,
}
