"""One HTTP(S) request to a simulator, as its own tests send them: JSON or raw bodies, a
session cookie, and the self-signed certificate of loopback accepted; a call that reads the
answer, and a login."""
import json
import ssl
from urllib.request import Request, urlopen


def request(url, method, path, body=None, cookie=None, raw=None, headers=None, timeout=10):
    """The open response (a context manager); HTTP errors raise as urllib raises them."""
    h = {"Content-Type": "application/json"}
    if cookie:
        h["Cookie"] = cookie
    h.update(headers or {})
    data = raw if raw is not None else (None if body is None else json.dumps(body).encode("utf-8"))
    ctx = ssl.create_default_context()
    ctx.check_hostname = False
    ctx.verify_mode = ssl.CERT_NONE
    return urlopen(Request(url + path, data=data, method=method, headers=h), context=ctx, timeout=timeout)


def call(sim, method, path, body=None, cookie=None):
    """(the answer's JSON or text, the session cookie it sets or None) from simulator `sim`."""
    with request(sim.url, method, path, body, cookie) as r:
        text = r.read().decode("utf-8")
        cookie = r.headers.get("Set-Cookie")
        return (json.loads(text) if r.headers["Content-Type"].startswith("application/json") else text,
                cookie.split(";")[0] if cookie else None)


def login(sim, user="admin", password="Admin@9000"):
    return call(sim, "POST", "/api/login", {"username": user, "password": password})
