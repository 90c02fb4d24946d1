"""Pages and static files, and the script injected into every page.

Pages are plain files under pages/ (a menu page with no file is a placeholder, see
pages_table.py); scripts and styles are under static/. Every page gets, before its
</head>, the machine and the faults as they are when it loads (window.MACHINE,
window.SIM_FAULTS, ...), so that what the driver reads right after opening a page is
already there.
"""
import json
import os

from simulator import latency as latency_profile
from simulator.pages_table import PLACEHOLDERS, placeholder

HERE = os.path.dirname(os.path.abspath(__file__))
CONTENT_TYPES = {".html": "text/html; charset=utf-8", ".js": "application/javascript; charset=utf-8",
                 ".css": "text/css; charset=utf-8", ".json": "application/json"}


def page(state, path):
    """(bytes, content type) of a page or static file, or None."""
    if path in ("/login.html", "/index.html"):
        rel = "pages" + path
    elif path.startswith("/pages/") or path.startswith("/static/"):
        rel = path.lstrip("/")
    else:
        return None
    full = os.path.normpath(os.path.join(HERE, rel))
    allowed = (os.path.join(HERE, "pages") + os.sep, os.path.join(HERE, "static") + os.sep)
    if not full.startswith(allowed):
        return None
    name = os.path.splitext(os.path.basename(full))[0]
    if os.path.isfile(full):
        with open(full, "rb") as f:
            data = f.read()
    elif rel.startswith("pages/") and name in PLACEHOLDERS:
        data = placeholder(name).encode("utf-8")
    else:
        return None
    ext = os.path.splitext(full)[1]
    if ext == ".html":
        data = data.replace(b"</head>", injected_script(state, name).encode("utf-8") + b"</head>", 1)
    return data, CONTENT_TYPES.get(ext, "application/octet-stream")


def injected_script(state, name):
    """The <script> that page `name` gets: it renders from the machine as it is when it
    loads, with no round trip."""
    with state.lock:
        missing = list(state.faults["missing"].get(name, []))
        refused = list(state.faults["refuse"])
        faults = json.dumps(state.faults, ensure_ascii=False).replace("</", "<\\/")
        machine = json.dumps(state.machine, ensure_ascii=False).replace("</", "<\\/")
        latency = json.dumps(latency_profile.page_settings(state.latency))
        said = state.faults.get("console_errors", {})
        said = said.get(name, []) if isinstance(said, dict) else []
    # The console_errors fault: the page writes those texts to the browser's console as
    # errors when it loads, as a broken script of the console would.
    errors = "".join("console.error(%s); " % json.dumps(str(text)).replace("</", "<\\/") for text in said)
    # The refused actions too: a page that shows a change at once (as the console
    # does) must know before it asks that the save will be turned down.
    # Clicks that land before a page's own scripts have run (a driver is quicker than
    # a page that is still loading) are kept in SIM_EARLY_CLICKS, so that a script
    # can answer them once it is ready.
    return ("<script>window.SIM_MISSING = %s; window.SIM_REFUSE = %s; window.SIM_FAULTS = %s; "
            "window.MACHINE = %s; window.SIM_LATENCY = %s; window.SIM_EARLY_CLICKS = []; "
            "document.addEventListener('click', function (e) { window.SIM_EARLY_CLICKS.push(e.target); "
            "}, true); %s</script>") % (json.dumps(missing), json.dumps(refused), faults, machine, latency, errors)
