"""The control API under /__sim/: tests load scenarios, read state and inject faults."""
import json


def handle(state, method, path, body):
    """Returns (status, payload) for a control request."""
    if method == "GET" and path == "/__sim/state":
        return 200, state.snapshot()
    if method == "GET" and path == "/__sim/oplog":
        return 200, state.snapshot()["oplog"]
    if method == "GET" and path == "/__sim/events":
        return 200, state.snapshot()["events"]
    if method == "POST" and path == "/__sim/reset":
        state.load("default")
        return 200, {"ok": True}
    if method == "POST" and path == "/__sim/scenario":
        data = body or {}
        scenario = data.get("scenario", data.get("name", "default"))
        try:
            state.load(scenario)
        except KeyError as e:
            return 404, {"error": str(e)}
        except ValueError as e:  # a scenario's bad "latency"
            return 400, {"error": str(e)}
        return 200, {"ok": True}
    if method == "POST" and path == "/__sim/fault":
        # {"slow": {"/pages/x.html": 2.5}} | {"missing": {"summary": ["txtSequence"]}}
        # | {"refuse": ["power"]} | {"clear": true} | {"<area fault>": ...}
        # | {"hang": ["/login.html"]}: those requests get no answer; the server holds
        #   them open until the fault is cleared (then drops them), HANG_LIMIT at most
        # | {"drop": ["/api/login"]}: the server closes the connection without answering
        # ("*" in hang or drop stands for every path outside /__sim/; see faults.py)
        data = body or {}
        # {"latency": {"profile": "realistic", "scale": 0.05}} merges into the latency in
        # effect (simulator/latency.py); "clear" leaves it alone. A bad one changes nothing.
        if "latency" in data:
            try:
                state.set_latency(data["latency"])
            except ValueError as e:
                return 400, {"error": str(e)}
        with state.lock:
            if data.get("clear"):
                state.faults = {"slow": {}, "missing": {}, "refuse": []}
            state.faults["slow"].update(data.get("slow", {}))
            for page, ids in data.get("missing", {}).items():
                state.faults["missing"].setdefault(page, []).extend(ids)
            state.faults["refuse"].extend(data.get("refuse", []))
            # Faults of the areas' own pages: maps merge, lists extend, anything else
            # replaces; pages see them all as window.SIM_FAULTS.
            for key, value in data.items():
                if key in ("clear", "slow", "missing", "refuse", "latency"):
                    continue
                if isinstance(value, dict):
                    state.faults.setdefault(key, {}).update(value)
                elif isinstance(value, list):
                    state.faults.setdefault(key, []).extend(value)
                else:
                    state.faults[key] = value
            return 200, {"ok": True, "faults": json.loads(json.dumps(state.faults)), "latency": dict(state.latency)}
    if method == "POST" and path == "/__sim/machine":
        # Patches the machine directly: {"power": {"state": "Off"}}
        from simulator.state import _merge
        with state.lock:
            state.machine = _merge(state.machine, body or {})
        return 200, {"ok": True}
    return 404, {"error": "no control endpoint %s %s" % (method, path)}
