"""The local users of the console: adding, deleting, changing passwords, and the forced
password change of a first login.

Users live in state.machine["users"], one record each:
    {"name", "password", "role" ("Administrator" | "Operator" | "Common User"),
     "password_validity", "status", "rules": [three classes; null: an em without one],
     "login_interfaces": {interface name: state class}, "first_login": bool}
Every change is acted out under the logged-in user, whose own password the console
asks for; a refused change leaves the list as it was and says why.
"""
import re

ROLES = ("Administrator", "Operator", "Common User")
# The login interfaces by the index their controls carry (index 5 has no interface).
INTERFACES = {0: "Web", 1: "SNMP", 2: "IPMI", 3: "SSH", 4: "SFTP", 6: "Local", 7: "Redfish"}
MAX_USERS = 16
NAME = re.compile(r"^[A-Za-z0-9_.@-]{1,16}$")
MAX_PASSWORD = 20


def _find(state, name):
    for user in state.machine["users"]:
        if user["name"] == name:
            return user
    return None


def _refuse(state, user, sentence, message):
    state.log_operation(user, sentence)
    return 200, {"ok": False, "message": message}


def _acting_password_ok(state, user, body):
    me = _find(state, user)
    return me is not None and body.get("cur_password") == me["password"]


def _password_problem(password, confirm):
    if not isinstance(password, str) or not password:
        return "The password must not be empty."
    if len(password) > MAX_PASSWORD:
        return "The password may hold at most %d characters." % MAX_PASSWORD
    if password != confirm:
        return "The two passwords differ."
    return None


def new_user(name, password, role):
    """The record of a user as the console creates it: it must change its password at
    its first login."""
    return {"name": name, "password": password, "role": role, "password_validity": "Indefinite",
            "status": "Enabled", "rules": ["enable", "enable", "disable"],
            "login_interfaces": {n: "enable" for n in INTERFACES.values()}, "first_login": True}


def _listing(state):
    """The users as the page shows them: everything but the passwords."""
    return [dict((k, v) for k, v in u.items() if k != "password") for u in state.machine["users"]]


def _me(state, user):
    me = _find(state, user) or {}
    return 200, {"name": user, "role": me.get("role", "")}


def _add(state, body, user):
    name, role = body.get("name"), body.get("role") or "Administrator"
    sentence = "Add user (%s) failed" % name
    me = _find(state, user)
    if me is None or me.get("role") != "Administrator":
        return _refuse(state, user, sentence, "Only an administrator may add users.")
    if not _acting_password_ok(state, user, body):
        return _refuse(state, user, sentence, "Your password is wrong.")
    if not isinstance(name, str) or not NAME.match(name):
        return _refuse(state, user, sentence,
                       "A user name holds 1 to 16 letters, digits or the characters _ . @ -.")
    if _find(state, name) is not None:
        return _refuse(state, user, sentence, "The user %s exists already." % name)
    if len(state.machine["users"]) >= MAX_USERS:
        return _refuse(state, user, sentence, "The console holds at most %d users." % MAX_USERS)
    if role not in ROLES:
        return _refuse(state, user, sentence, "Unknown role %r." % role)
    problem = _password_problem(body.get("password"), body.get("password_confirm"))
    if problem:
        return _refuse(state, user, sentence, problem)
    state.machine["users"].append(new_user(name, body["password"], role))
    state.log_operation(user, "Add user (%s) successfully" % name)
    return 200, {"ok": True, "users": _listing(state)}


def _delete(state, body, user):
    name = body.get("name")
    sentence = "Delete user (%s) failed" % name
    me = _find(state, user)
    if me is None or me.get("role") != "Administrator":
        return _refuse(state, user, sentence, "Only an administrator may delete users.")
    if not _acting_password_ok(state, user, body):
        return _refuse(state, user, sentence, "Your password is wrong.")
    if name == user:
        return _refuse(state, user, sentence, "You cannot delete the user you are logged in as.")
    target = _find(state, name)
    if target is None:
        return _refuse(state, user, sentence, "There is no user %s." % name)
    state.machine["users"].remove(target)
    for sid, who in list(state.sessions.items()):
        if who == name:
            del state.sessions[sid]
    state.log_operation(user, "Delete user (%s) successfully" % name)
    return 200, {"ok": True, "users": _listing(state)}


def _password(state, body, user):
    name = body.get("name")
    sentence = "Modify user (%s) password failed" % name
    me = _find(state, user)
    if me is None or (me.get("role") != "Administrator" and name != user):
        return _refuse(state, user, sentence, "You may change only your own password.")
    if not _acting_password_ok(state, user, body):
        return _refuse(state, user, sentence, "Your password is wrong.")
    target = _find(state, name)
    if target is None:
        return _refuse(state, user, sentence, "There is no user %s." % name)
    problem = _password_problem(body.get("password"), body.get("password_confirm"))
    if problem:
        return _refuse(state, user, sentence, problem)
    target["password"] = body["password"]
    target["first_login"] = False
    state.log_operation(user, "Modify user (%s) password successfully" % name)
    return 200, {"ok": True, "users": _listing(state)}


def _first_password(state, body, user):
    """The change the console forces at a first login; the login ends with it."""
    sentence = "Modify user (%s) password failed" % user
    me = _find(state, user)
    if me is None or body.get("old_password") != me["password"]:
        return _refuse(state, user, sentence, "The current password is wrong.")
    problem = _password_problem(body.get("new_password"), body.get("confirm_password"))
    if problem:
        return _refuse(state, user, sentence, problem)
    if body["new_password"] == me["password"]:
        return _refuse(state, user, sentence, "The new password must differ from the current one.")
    me["password"] = body["new_password"]
    me["first_login"] = False
    for sid, who in list(state.sessions.items()):
        if who == user:
            del state.sessions[sid]
    state.log_operation(user, "Modify user (%s) password successfully" % user)
    return 200, {"ok": True}


GET_ACTIONS = {
    "/api/users/me": _me,
}

POST_ACTIONS = {
    "/api/users/add": _add,
    "/api/users/delete": _delete,
    "/api/users/password": _password,
    "/api/users/first_password": _first_password,
}
