"""The console's own JSON endpoints under /api/: what its pages read and change.

The endpoints of each subsystem live in a module of their own,
simulator/api_<subsystem>.py, named as the driver's subsystem folder (api_power.py,
api_network.py, ...; docs/simulator.md has the table). Each may define GET_ACTIONS and
POST_ACTIONS: maps from a path to a handler (state, body, user) -> (status, payload) for
POST, (state, user) -> (status, payload) for GET. They are gathered here once, at import.
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


POST_ACTIONS = {}
GET_ACTIONS = {}


def _gather_subsystem_modules():
    here = os.path.dirname(os.path.abspath(__file__))
    for info in sorted(pkgutil.iter_modules([here]), key=lambda i: i.name):
        if info.name.startswith("api_"):
            module = importlib.import_module("simulator." + info.name)
            POST_ACTIONS.update(getattr(module, "POST_ACTIONS", {}))
            GET_ACTIONS.update(getattr(module, "GET_ACTIONS", {}))


_gather_subsystem_modules()
