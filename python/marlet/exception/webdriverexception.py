"""Browser-level failures, one class per W3C error, all MarletExceptions."""
from marlet.exception.marlet_exception import MarletException


class WebDriverException(MarletException):
    """A failure reported by the browser or its driver."""


class NoSuchElementException(WebDriverException):
    pass


class StaleElementReferenceException(WebDriverException):
    pass


class TimeoutException(WebDriverException):
    pass


class NoSuchFrameException(WebDriverException):
    pass


class NoSuchWindowException(WebDriverException):
    pass


class InvalidArgumentException(WebDriverException):
    pass


class InvalidSessionIdException(WebDriverException):
    pass


class SessionNotCreatedException(WebDriverException):
    pass


class JavascriptException(WebDriverException):
    pass


class InvalidSelectorException(WebDriverException):
    pass


class ElementNotInteractableException(WebDriverException):
    pass


class ElementClickInterceptedException(WebDriverException):
    pass


class NoAlertPresentException(WebDriverException):
    pass


class UnexpectedAlertPresentException(WebDriverException):
    pass


class UnexpectedTagNameException(WebDriverException):
    pass


class ProtocolException(WebDriverException):
    """The browser or driver broke the protocol (malformed or truncated reply)."""


class ConnectionException(WebDriverException):
    """The connection to the browser or driver failed or was lost."""


class RemoteFileException(WebDriverException):
    """A file the browser saved is on the browser's machine (a Grid node), not here."""
