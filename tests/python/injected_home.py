"""A sibling module for the injection tests: functions, plain values, hidden names."""

MARKER = {"kind": "plain value"}
__hidden = "never injected"
not__injected = "a name with two underscores inside"


def describe(self, suffix):
    return "%s/%s" % (type(self).__name__, suffix)


def web_logout(self):
    """Shadows the operation of the same name on the object."""
    return "shadowed"


def get_boot_mode(self):
    return "UEFI"
