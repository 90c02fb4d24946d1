"""Capacity conversion with binary factors (1 KB = 1024 B; KiB spellings alike)."""
from marlet.wrapper.gui.web.vorna.vornav1 import vornawebwrapper as _native


class Units(object):
    @staticmethod
    def convert(text, unit):
        """``Units.convert("1.5TB", "GB")`` gives ``"1536.0GB"``."""
        return _native._units_convert(text, unit)
