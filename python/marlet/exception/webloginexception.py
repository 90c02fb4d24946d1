from marlet.exception.marlet_exception import MarletException


class WebLoginException(MarletException):
    """A login failed."""
