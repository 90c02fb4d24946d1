"""The boot settings page's save: boot device, its effectiveness and the boot mode.

The machine keeps the page's own values: "boot": {"option": "<StartOptionConf value>",
"effective": "0" once | "1" permanent | null, "mode": "0" legacy | "1" UEFI | null}.
"""

# Page value of the boot device list -> the name the operation log uses.
DEVICES = {"0": "No Override", "1": "PXE", "2": "Hard Drive", "5": "DVD-ROM", "15": "FDD/Removable Device",
           "6": "BIOS Setup"}
EFFECTIVE = {"0": "Once", "1": "Permanent"}
MODES = {"0": "Legacy", "1": "UEFI"}


def _save(state, body, user):
    boot = state.machine.setdefault("boot", {"option": "0", "effective": None, "mode": None})
    option, effective, mode = body.get("option"), body.get("effective"), body.get("mode")
    # A device outside the list is kept only as it already stands (the page shows it as
    # "Other"); a button left unselected leaves that setting as it is.
    if option not in DEVICES and option != boot.get("option"):
        return 400, {"ok": False, "message": "Unknown boot device %r." % (option,)}
    if effective is not None and effective not in EFFECTIVE:
        return 400, {"ok": False, "message": "Unknown effectiveness %r." % (effective,)}
    if mode is not None and mode not in MODES:
        return 400, {"ok": False, "message": "Unknown boot mode %r." % (mode,)}
    if option != boot.get("option"):
        boot["option"] = option
        state.log_operation(user, "Set boot device to (%s) successfully" % DEVICES[option])
    if effective is not None and effective != boot.get("effective"):
        boot["effective"] = effective
        state.log_operation(user, "Set boot option effective to (%s) successfully" % EFFECTIVE[effective])
    if mode is not None and mode != boot.get("mode"):
        boot["mode"] = mode
        state.log_operation(user, "Set boot mode to (%s) successfully" % MODES[mode])
    boot["saves"] = boot.get("saves", 0) + 1
    return 200, {"ok": True, "boot": boot}


POST_ACTIONS = {"/api/boot": _save}
