"""The console's navigation menu: ids, labels, the page each loads, and its children.

Pages with content are files under pages/; the others are generated placeholders.
"""

# (menu id, label, page name, children)
MENU = [
    ("menu_INFO", "Information", "overview", [
        ("menu_INFO_SUMMARY", "Summary", "summary"),
        ("menu_SYSTEM_INFO", "System Information", "system_info"),
    ]),
    ("menu_CONFIGURATION", "Configuration", "configuration", [
        ("menu_LOCAL_USER", "Local Users", "local_users"),
        ("menu_NETWORK", "Network", "network"),
        ("menu_BOOTOPTION_SETUP", "Boot Options", "boot_settings"),
        ("menu_SYSTEM_ENTRY", "System Settings", "system_settings"),
        ("menu_LDAP_CONFIG", "LDAP", "ldap"),
    ]),
    ("menu_POWER_ENERGY", "Power & Energy", "power_strategy", [
        ("menu_ELECSRC_CONTROL", "Power Control", "power_control"),
        ("menu_POWER", "Power Capping", "power_capping"),
        ("menu_SAVE_SETUP", "Power Statistics", "power_statistics"),
    ]),
    ("menu_SYSTEM_MANAGE", "System Management", "system_manage", [
        ("menu_FIRM_UPGRADE", "Firmware Upgrade", "firmware"),
        ("menu_OPER_LOG", "Operation Log", "operation_log"),
    ]),
    ("menu_ALARMS", "Alarms", "alarms", [
        ("menu_ALARMS_DETAIL", "System Events", "system_events"),
    ]),
    ("menu_REAL_TIME_MONITOR", "Real-time Monitor", "real_time_monitor", []),
]

PLACEHOLDERS = {}
for _id, _label, _page, _children in MENU:
    PLACEHOLDERS[_page] = _label
    for _cid, _clabel, _cpage in _children:
        PLACEHOLDERS[_cpage] = _clabel


def placeholder(page):
    return """<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>%s</title>
<link rel="stylesheet" href="/static/console.css"><script src="/static/console.js"></script></head>
<body class="page"><h2 class="pageTitle">%s</h2>
<p class="placeholder">This page shows no content in the simulator yet.</p></body></html>
""" % (PLACEHOLDERS[page], PLACEHOLDERS[page])
