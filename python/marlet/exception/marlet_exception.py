class MarletException(Exception):
    """The test library's failure type; the browser's own failures derive from it too."""
