"""Service settings: LDAP controllers, the device location and the time zone.

Each save checks what a console would check, changes machine["settings"] and leaves its
sentence in the operation log. A save named in the "refuse" fault ("ldap", "location",
"time_zone") is turned down before it gets here (see actions.post).
"""

MAX_LOCATION = 64
LDAP_FIELDS = ("cert_enable", "cert_verify_level", "ip", "port", "domain", "bind_dn", "bind_password",
               "user_folder", "password")


def _settings(state):
    return state.machine.setdefault("settings", {})


def _text(body, key):
    value = body.get(key, "")
    return value if isinstance(value, str) else None


def _location(state, body, user):
    location = _text(body, "location")
    if location is None or not location.strip():
        return 400, {"ok": False, "message": "The device location cannot be empty."}
    if len(location) > MAX_LOCATION:
        return 400, {"ok": False, "message": "The device location is longer than %d characters." % MAX_LOCATION}
    _settings(state)["location"] = location
    state.log_operation(user, "Set device location to (%s) successfully" % location)
    return 200, {"ok": True, "location": location}


def _time_zone(state, body, user):
    settings = _settings(state)
    region, city = body.get("state"), body.get("city")
    cities = settings.get("time_zones", {}).get(region)
    if cities is None:
        return 400, {"ok": False, "message": "Unknown time zone region %r." % (region,)}
    offsets = dict((name, offset) for name, offset in cities)
    if city not in offsets:
        return 400, {"ok": False, "message": "%r is no city of the region %s." % (city, region)}
    settings["time_zone"] = {"state": region, "city": city}
    state.log_operation(user, "Set time zone to %s/%s (%s) successfully" % (region, city, offsets[city]))
    return 200, {"ok": True, "time_zone": settings["time_zone"]}


def _ldap(state, body, user):
    ldap = _settings(state).setdefault("ldap", {})
    controller = str(body.get("controller", ""))
    if controller not in ldap:
        return 400, {"ok": False, "message": "There is no LDAP controller %s." % controller}
    values = {}
    for key in LDAP_FIELDS:
        value = _text(body, key)
        if value is None:
            return 400, {"ok": False, "message": "The field %s must be a text." % key}
        values[key] = value
    if values["cert_enable"] not in ("on", "off") or values["cert_verify_level"] not in ("Demand", "Allow"):
        return 400, {"ok": False, "message": "Unknown certificate setting."}
    port = values["port"].strip()
    if not port.isdigit() or not 1 <= int(port) <= 65535:
        return 400, {"ok": False, "message": "The LDAPS port must be a number from 1 to 65535."}
    if not values["ip"].strip() or not values["domain"].strip():
        return 400, {"ok": False, "message": "The server address and the domain name are required."}
    values["port"] = port
    ldap[controller] = values
    state.log_operation(user, "Set LDAP controller %s (%s) successfully" % (controller, values["ip"]))
    return 200, {"ok": True, "ldap": values}


POST_ACTIONS = {
    "/api/location": _location,
    "/api/time_zone": _time_zone,
    "/api/ldap": _ldap,
}
