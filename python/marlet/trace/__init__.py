"""Reading a trace of the console driver and turning it into one HTML page.

    from marlet.trace import load, render
    page = render(load("20261124-201530-123-4711-1.trace.jsonl"))

`vorna show-trace FILE [--out report.html]` does the same from the command line.
"""
from marlet.trace.viewer import load, render, write_report  # noqa: F401
