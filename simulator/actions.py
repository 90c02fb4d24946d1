"""The console's own JSON endpoints under /api/: what its pages read and change.

The endpoints of each area of the console live in a module of their own,
simulator/api_<area>.py, which may define GET_ACTIONS and POST_ACTIONS: maps from a path
to a handler (state, body, user) -> (status, payload) for POST, (state, user) -> (status,
payload) for GET. They are gathered here once, at import.
"""
import copy
import importlib
import os
import pkgutil


def get(state, path, user):
    handler = GET_ACTIONS.get(path)
    if handler is not None:
        if user is None:
            return 401, {"error": "not logged in"}
        with state.lock:
            return handler(state, user)
    if path == "/api/machine":
        with state.lock:
            return 200, copy.deepcopy(state.machine)
    if path == "/api/menu":
        if user is None:
            return 401, {"error": "not logged in"}
        from simulator.pages_table import MENU
        return 200, MENU
    return 404, {"error": "no endpoint %s" % path}


def post(state, path, body, user):
    if user is None:
        return 401, {"error": "not logged in"}
    if path == "/api/password_tips":
        # "Do not remind me again" turns the reminder off for later logins.
        if body.get("dont_remind"):
            with state.lock:
                state.machine.setdefault("login", {})["password_tips"] = False
        return 200, {"ok": True}
    handler = POST_ACTIONS.get(path)
    if handler is None:
        return 404, {"error": "no endpoint %s" % path}
    name = path.rsplit("/", 1)[-1]
    if state.refused(name):
        state.log_operation(user, "Operation refused: %s" % name)
        return 200, {"ok": False, "message": "The operation failed."}
    with state.lock:
        return handler(state, body, user)


# What each power action leaves the server in, and the sentence the log keeps.
POWER_ACTIONS = {
    "po": ("On", "Power on the server successfully"),
    "fpf": ("Off", "Force power off the server successfully"),
    "reset": ("On", "Power cycle the server successfully"),
    "cs": ("On", "Force reset the server successfully"),
    "restart": ("On", "Force restart the server successfully"),
}


def _power(state, body, user):
    action = body.get("action")
    if action not in POWER_ACTIONS:
        return 400, {"error": "unknown power action %r" % action}
    new_state, sentence = POWER_ACTIONS[action]
    power = state.machine["power"]
    power["state"] = new_state
    power.setdefault("actions", []).append(action)
    state.log_operation(user, sentence)
    state.log_event("Server power state changed to %s" % new_state)
    return 200, {"ok": True, "state": new_state}


def _bmc_restart(state, body, user):
    state.machine["bmc_restarts"] = state.machine.get("bmc_restarts", 0) + 1
    state.log_operation(user, "Restart BMC successfully")
    return 200, {"ok": True}


def _capping(state, body, user):
    capping = state.machine["power"]["capping"]
    if "enabled" in body:
        capping["enabled"] = bool(body["enabled"])
        state.log_operation(user, "%s power capping successfully" % ("Enable" if capping["enabled"] else "Disable"))
    if "limit" in body:
        try:
            capping["limit"] = int(str(body["limit"]).strip())
        except ValueError:
            return 400, {"ok": False, "message": "The power cap must be a whole number of watts."}
        state.log_operation(user, "Set power cap to %dW successfully" % capping["limit"])
    return 200, {"ok": True, "capping": capping}


def _restore_policy(state, body, user):
    policy = body.get("policy")
    if policy not in ("previous", "always_on", "always_off"):
        return 400, {"error": "unknown policy %r" % policy}
    state.machine["power"]["restore_policy"] = policy
    state.log_operation(user, "Set power restore policy to (%s) successfully" % policy)
    return 200, {"ok": True}


POST_ACTIONS = {
    "/api/power": _power,
    "/api/bmc_restart": _bmc_restart,
    "/api/capping": _capping,
    "/api/restore_policy": _restore_policy,
}


GET_ACTIONS = {}


def _gather_area_modules():
    here = os.path.dirname(os.path.abspath(__file__))
    for info in sorted(pkgutil.iter_modules([here]), key=lambda i: i.name):
        if info.name.startswith("api_"):
            module = importlib.import_module("simulator." + info.name)
            POST_ACTIONS.update(getattr(module, "POST_ACTIONS", {}))
            GET_ACTIONS.update(getattr(module, "GET_ACTIONS", {}))


_gather_area_modules()
