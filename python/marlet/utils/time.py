"""Waiting, in seconds, on the process clock shared with the console driver.

``set_time_scale(f)`` scales every settle, wait and poll of the process, ours and the
driver's (default 1.0): 0.01 makes a 30-second settle last 0.3 s.

``set_settle_policy(name)`` chooses how the driver's settles wait, for every wrapper
whose params have no "settle" key: "fixed" (the default) sleeps each settle whole;
"adaptive" ends it once the console is quiet, never later than "fixed" would.
"""
from marlet.wrapper.gui.web.vorna.vornav1 import vornawebwrapper as _native


def sleep(seconds):
    _native._sleep(float(seconds))


def set_time_scale(factor):
    _native._set_time_scale(float(factor))


def get_time_scale():
    return _native._time_scale()


def set_settle_policy(name):
    _native._set_settle_policy(name)


def get_settle_policy():
    return _native._settle_policy()
