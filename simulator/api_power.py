"""The power control pages' saves: the server's power state, the controller's restart,
the power cap and the restore policy.

The machine keeps "power": {"state": "On" | "Off", "actions": [every action asked, in
order], "capping": {"enabled", "limit", ...}, "restore_policy"} and "bmc_restarts", the
count of the controller's restarts.
"""

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
