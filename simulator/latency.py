"""How long the console takes to answer: the latency profile.

Two profiles:

- "instant" (the default): every page renders from the machine inlined into it, every
  request answers at once.
- "realistic": a busy controller. Pages fill their tables and values by requests after
  they load (GET /__sim/data/<section>, see console.js `whenData`), a tab's content is
  requested when its tab is clicked, the console's own GET requests and every save
  answer late. The delays are the table SECTIONS below, in seconds, multiplied by
  `scale` (tests drive the console at a time scale of 0.05 and scale it alike).

A profile is chosen by the server's command line (--latency, --latency-scale), by a
scenario ("latency": {"profile": "realistic", "scale": 1.0}) and by the control API
(POST /__sim/fault {"latency": {...}}); see State.set_latency for how they combine.

Every delay stays well under the shortest settle a console operation spends on that
page (at most about 60% of it), so the operations' fixed settles pass with margin.
"""
import copy
import time

PROFILES = ("instant", "realistic")
DEFAULT = {"profile": "instant", "scale": 1.0}

# Seconds the save requests (POST /api/...) take to answer; the change itself is made at
# once. The log-in's own requests answer at once: after the log-in's click (the register
# log-ins) and after the password reminder's OK, the operations give the console no
# settle, only a 5 s wait for the menu, which the index page's load alone fills at a time
# scale of 0.05. Leaving (/api/logout) answers at once too.
SAVE_DELAY = 1.0
SAVES_AT_ONCE = ("/api/login", "/api/password_tips", "/api/logout")

# The data requests of pages and tabs, by section name (a page's name, a tab's id):
#   delay  seconds the server holds the answer;
#   start  seconds after the page (or tab) is shown before the page asks (a timer);
#   every  the page asks again that often, for ever (a polling page);
#   settle the shortest time a console operation gives the page before it reads: its
#          settle after opening the page or clicking the tab, or its lookup's wait
#          (10 s) where the page's elements appear only with their data (the pages
#          read with no settle at all). start + delay stay at 60% of it or less.
SECTIONS = {
    # Pages whose values fill in place: readers settle before they read.
    "overview": {"delay": 2.0, "settle": 6},
    "local_users": {"delay": 2.0, "settle": 10},
    "power_control": {"delay": 2.0, "settle": 10},
    "power_capping": {"delay": 2.0, "settle": 10},
    "power_strategy": {"delay": 1.5, "settle": 10},
    # Pages read with no settle: their elements appear with their data. Short delays: a
    # lookup's wait (0.5 s at a time scale of 0.05) also pays for the page's load and
    # its request.
    "summary": {"delay": 0.5, "settle": 10},
    "system_info": {"delay": 0.8, "settle": 10},
    "network": {"delay": 0.5, "settle": 10},
    "boot_settings": {"delay": 0.5, "settle": 10},
    "system_settings": {"delay": 0.5, "settle": 10},
    "ldap": {"delay": 0.5, "settle": 10},
    "power_statistics": {"delay": 0.8, "settle": 10},
    "real_time_monitor": {"delay": 0.5, "settle": 10},
    # The alarms page polls the current alarms every 2 s for ever.
    "alarms": {"delay": 0.3, "every": 2.0, "settle": 10},
    # System information, the tabs: readers click the tab and settle 5 s (tab_loop,
    # tab_retry), the logical drives' reader 3 s after the storage tab. The fan tab asks
    # from a timer after its click.
    "tabSystem": {"delay": 2.0, "settle": 5},
    "tabStorage": {"delay": 1.2, "settle": 3},
    "tabFan": {"delay": 1.0, "start": 0.5, "settle": 5},
    "tabPower": {"delay": 1.5, "settle": 5},
    "tabProcess": {"delay": 2.0, "settle": 5},
    "tabMemory": {"delay": 2.5, "settle": 5},
    "tabCard": {"delay": 2.0, "settle": 5},
    "tabOther": {"delay": 1.5, "settle": 5},
}

# The console's own GET requests, by path (delay and settle as above); a path not
# listed (a download) answers at once. The menu is waited for 5 s after a log-in; the
# logs' pagers appear with their records.
API_GETS = {
    "/api/menu": {"delay": 0.3, "settle": 5},
    "/api/machine": {"delay": 0.5, "settle": 10},
    "/api/users/me": {"delay": 1.0, "settle": 10},
    "/api/logs/operation": {"delay": 1.5, "settle": 10},
    "/api/logs/events": {"delay": 1.5, "settle": 10},
}


def normalize(value, base=None):
    """The latency map `value` merged over `base` (maps merge, scalars replace), checked:
    a known profile and a scale >= 0. Raises ValueError with the reason."""
    out = dict(base or DEFAULT)
    if value is None:
        return out
    if not isinstance(value, dict):
        raise ValueError("latency must be a map such as {\"profile\": \"realistic\", \"scale\": 1.0}")
    unknown = sorted(set(value) - {"profile", "scale"})
    if unknown:
        raise ValueError("unknown latency keys: %s" % ", ".join(unknown))
    out.update(value)
    if out["profile"] not in PROFILES:
        raise ValueError("unknown latency profile %r (known: %s)" % (out["profile"], ", ".join(PROFILES)))
    try:
        scale = float(out["scale"])
    except (TypeError, ValueError):
        raise ValueError("latency scale must be a number, not %r" % (out["scale"],))
    if not scale >= 0:
        raise ValueError("latency scale must be 0 or more, not %r" % (out["scale"],))
    out["scale"] = scale
    return out


def realistic(latency):
    return latency.get("profile") == "realistic"


def page_settings(latency):
    """What a page needs to know (window.SIM_LATENCY): the profile, its scale and, under
    the realistic profile, the sections' timers and polls (in seconds, unscaled)."""
    out = {"profile": latency["profile"], "scale": latency["scale"]}
    if realistic(latency):
        out["sections"] = copy.deepcopy(SECTIONS)
    return out


def _sleep(latency, seconds):
    if realistic(latency) and seconds > 0:
        time.sleep(seconds * latency["scale"])


def hold_save(latency, path):
    """Holds the answer to a save (or log-in) as the profile says."""
    if path not in SAVES_AT_ONCE:
        _sleep(latency, SAVE_DELAY)


def hold_get(latency, path):
    """Holds the answer to one of the console's GET requests as the profile says."""
    _sleep(latency, API_GETS.get(path, {}).get("delay", 0))


def hold_section(latency, section):
    """Holds a page's data request; False for a section the table does not know."""
    entry = SECTIONS.get(section)
    if entry is None:
        return False
    _sleep(latency, entry.get("delay", 0))
    return True
