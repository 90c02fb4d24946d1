"""Traces of the console driver's browser sessions (docs/traces.md).

``set_trace(folder, mode="on")`` traces every wrapper of the process whose params have
no "trace" key of its own, from the next browser it opens: one file per browser session
in `folder`. Modes: "on" keeps every trace, with a picture after each operation;
"retain-on-failure" keeps a session's trace only when an operation in it failed.
``set_trace(None)`` stops it.

``mask(text, secrets)`` is the masking of passwords that the traces and the command line
share.
"""
from marlet.wrapper.gui.web.vorna.vornav1 import vornawebwrapper as _native

MODES = ("on", "retain-on-failure")


def set_trace(folder, mode="on"):
    if folder is not None:
        import os
        folder = os.path.abspath(os.fspath(folder))
    _native._set_trace(folder, mode)


def get_trace():
    """(folder, mode) of the process, or None."""
    return _native._trace()


def mask(text, secrets):
    """`text` with every occurrence of each (non-empty) secret replaced by "********"."""
    return _native._mask_text(str(text), [s for s in secrets if s])
