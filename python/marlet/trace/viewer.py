"""A trace (JSON lines, see docs/traces.md) read into operations, and the page that shows
them: one self-contained HTML file (the template report.html beside this module, with the
trace's data and pictures inline), which needs no server and loads nothing."""
import json
import os

TEMPLATE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "report.html")
DATA_MARK = "/*TRACE_DATA*/null"
# Kept with each operation: what happened while it ran.
STEPS = ("command", "settle", "wait", "log", "picture")


class TraceError(ValueError):
    """The file is no trace."""


def read_records(path):
    """The records of the file, in order. A last line cut short (the process ended while
    writing it) is left out; any other line that is no JSON is a TraceError."""
    records = []
    with open(path, encoding="utf-8", errors="replace") as f:
        lines = f.read().split("\n")
    for number, line in enumerate(lines, 1):
        if not line.strip():
            continue
        try:
            records.append(json.loads(line))
        except ValueError:
            if number >= len(lines) - 1:
                break
            raise TraceError("%s: line %d is no JSON" % (path, number))
    if not records or records[0].get("type") != "trace":
        raise TraceError("%s is no trace of the console driver (no header line)" % path)
    return records


def load(path):
    """{"file", "header", "operations": [...], "console": [...], "outside": [...], "end"}.

    Each operation: {"id", "name", "args", "t", "seconds", "result" | "error", "steps":
    [command, settle, wait, log and picture records, in order]}; one the file does not
    see end (the process stopped in it) has "seconds" up to its last step and
    "unfinished": True."""
    records = read_records(path)
    model = {"file": os.path.basename(path), "header": records[0], "operations": [], "console": [],
             "outside": [], "end": None}
    by_id = {}
    last_t = 0.0
    for r in records[1:]:
        last_t = max(last_t, r.get("t", 0.0) + r.get("seconds", 0.0) if r.get("type") in STEPS else r.get("t", 0.0))
        kind = r.get("type")
        if kind == "operation":
            op = {"id": r["id"], "name": r["name"], "args": r.get("args", []), "t": r["t"], "steps": []}
            by_id[r["id"]] = op
            model["operations"].append(op)
        elif kind == "end" and r.get("id") in by_id:
            op = by_id[r["id"]]
            op["seconds"] = r.get("seconds", r["t"] - op["t"])
            if "error" in r:
                op["error"] = r["error"]
            else:
                op["result"] = r.get("result")
        elif kind == "console":
            model["console"].append(r)
        elif kind == "closed":
            model["end"] = r
        elif kind in STEPS:
            owner = by_id.get(r.get("op"))
            (owner["steps"] if owner else model["outside"]).append(r)
    for op in model["operations"]:
        if "seconds" not in op:
            ends = [s["t"] + s.get("seconds", 0.0) for s in op["steps"]] or [op["t"]]
            op["seconds"] = max(ends) - op["t"]
            op["unfinished"] = True
    model["duration"] = last_t
    return model


def render(model):
    """The page, as text."""
    with open(TEMPLATE, encoding="utf-8") as f:
        template = f.read()
    # Inside a script element only "</" could end it early; "<\\/" reads the same in JSON.
    data = json.dumps(model, ensure_ascii=False).replace("</", "<\\/")
    return template.replace(DATA_MARK, data, 1)


def write_report(trace_path, out=None):
    """Writes the page of the trace at `trace_path` to `out` (default: beside the trace,
    .html for .jsonl); returns the page's path."""
    if out is None:
        base = trace_path[:-len(".jsonl")] if trace_path.endswith(".jsonl") else trace_path
        out = base + ".html"
    page = render(load(trace_path))
    with open(out, "w", encoding="utf-8") as f:
        f.write(page)
    return out
