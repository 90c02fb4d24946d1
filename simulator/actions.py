"""The console's own JSON endpoints under /api/: what its pages read and change."""
import copy


def get(state, path, user):
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
    return 404, {"error": "no endpoint %s" % path}
