"""Logger factory: ``get_logger(name)`` gives a ``logging.Logger`` with info, warn, error."""
import logging


class MarletLogger(logging.Logger):
    """A Logger that keeps ``warn`` as an alias of ``warning`` on every Python version."""

    def warn(self, msg, *args, **kwargs):
        self.warning(msg, *args, **kwargs)


def get_logger(name):
    manager = logging.Logger.manager
    existing = manager.loggerDict.get(name)
    if isinstance(existing, logging.Logger):
        if not isinstance(existing, MarletLogger):
            existing.__class__ = MarletLogger
        return existing
    previous = logging.getLoggerClass()
    logging.setLoggerClass(MarletLogger)
    try:
        return logging.getLogger(name)
    finally:
        logging.setLoggerClass(previous)
