from marlet.exception.marlet_exception import MarletException


class WebElementException(MarletException):
    """The console did not yield the elements an operation needs."""
