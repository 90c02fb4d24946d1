"""Logging in and out: the session cookie "sid" and the sessions the state keeps.

Each function answers (status, payload, headers) for the router to send.
"""
import uuid


def user(state, headers):
    """The user the request's session cookie belongs to, or None."""
    cookie = headers.get("Cookie") or ""
    for part in cookie.split(";"):
        name, _, value = part.strip().partition("=")
        if name == "sid":
            with state.lock:
                return state.sessions.get(value)
    return None


def login(state, body):
    name, password = body.get("username", ""), body.get("password", "")
    with state.lock:
        record = next((u for u in state.machine["users"]
                       if u["name"] == name and u["password"] == password), None)
        ok = record is not None
        tips = bool(state.machine.get("login", {}).get("password_tips"))
        # An account that must change its password at its first login (api_accounts.py).
        first_login = bool(ok and record.get("first_login"))
        if ok:
            sid = uuid.uuid4().hex
            state.sessions[sid] = name
    if not ok:
        state.log_operation(name, "Log in failed")
        return 200, {"ok": False, "message": "Invalid user name or password."}, None
    state.log_operation(name, "Log in successfully")
    return (200, {"ok": True, "password_tips": tips, "first_login": first_login},
            {"Set-Cookie": "sid=%s; Path=/; HttpOnly; SameSite=Lax" % sid})


def logout(state, cookie_user):
    """Ends every session of the cookie's user (none when the cookie names none)."""
    with state.lock:
        for sid, name in list(state.sessions.items()):
            if name == cookie_user:
                del state.sessions[sid]
    if cookie_user:
        state.log_operation(cookie_user, "Log out successfully")
    return 200, {"ok": True}, {"Set-Cookie": "sid=; Path=/; Max-Age=0"}
