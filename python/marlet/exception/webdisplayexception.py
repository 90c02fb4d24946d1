from marlet.exception.marlet_exception import MarletException


class WebDisplayException(MarletException):
    """The console shows something other than expected, or a setting did not take effect."""
