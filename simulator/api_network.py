"""The network page's IPv4 save: the management address, mask and gateway.

The machine keeps "network": {"ipv4": {"address", "mask", "gateway"}}. The address is
where the console is served: saving another one moves the console there (the server
binds the new address and stops answering on the old one). The simulator can only serve
loopback, so an address outside 127.0.0.0/8 is turned down, as is one that cannot be
bound; nothing changes then.
"""


def _quad(text):
    """The four numbers of a dotted IPv4 text, or None."""
    if not isinstance(text, str):
        return None
    parts = text.split(".")
    if len(parts) != 4 or not all(p.isdigit() and len(p) <= 3 and int(p) <= 255 for p in parts):
        return None
    return [int(p) for p in parts]


def _is_mask(numbers):
    bits = "".join("{:08b}".format(n) for n in numbers)
    return "01" not in bits and "1" in bits


def _save(state, body, user):
    address, mask, gateway = body.get("address"), body.get("mask"), body.get("gateway")
    for name, value in (("IP address", address), ("subnet mask", mask), ("default gateway", gateway)):
        if _quad(value) is None:
            return 400, {"ok": False, "message": "The %s %r is not an IPv4 address." % (name, value)}
    if not _is_mask(_quad(mask)):
        return 400, {"ok": False, "message": "The subnet mask %r is not a mask." % (mask,)}
    if _quad(address)[0] != 127:
        return 400, {"ok": False, "message": "The simulator serves loopback addresses only (127.0.0.0/8)."}
    ipv4 = state.machine.setdefault("network", {}).setdefault("ipv4", {})
    if address != ipv4.get("address"):
        mover = getattr(state, "move_console", None)
        if mover is None:
            return 400, {"ok": False, "message": "This console cannot move to another address."}
        try:
            mover(address)
        except OSError as e:
            return 400, {"ok": False, "message": "The address %s cannot be used: %s" % (address, e)}
    ipv4.update({"address": address, "mask": mask, "gateway": gateway})
    state.log_operation(user, "Set IPv4 address (%s), mask (%s), gateway (%s) successfully" % (address, mask, gateway))
    state.log_event("Management IPv4 address is %s" % address)
    return 200, {"ok": True, "ipv4": ipv4}


POST_ACTIONS = {"/api/ipv4": _save}
