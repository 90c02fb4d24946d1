"""Writes docs/operations.md from the module's table of operations.

    PYTHONPATH=build/python:. python3 scripts/operations_reference.py [--check]

--check writes nothing and fails when the file differs from what the table gives."""
import argparse
import os
import sys

PATH = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "docs", "operations.md")
LOGIN = {"needed": "yes", "none": "no", "offline": "no (no console)"}


def signature(entry):
    args = []
    for a in entry["args"]:
        args.append("%s=%r" % (a["name"], a["default"]) if "default" in a else a["name"])
    return "%s(%s)" % (entry["name"], ", ".join(args))


def render(table):
    lines = ["# Operations of VornaWebWrapper",
             "",
             "Generated from the table of operations (`python/init_<subsystem>.cpp`) by",
             "`scripts/operations_reference.py`; edit the table, not this page. The same text is",
             "each operation's `help()` and `vorna --help`.",
             ""]
    subsystem = None
    for entry in table:
        if entry["subsystem"] != subsystem:
            subsystem = entry["subsystem"]
            lines += ["## " + subsystem, "", "| Operation | Login first | What it does |", "|---|---|---|"]
        doc = entry["doc"].replace("|", "\\|")
        lines.append("| `%s` | %s | %s |" % (signature(entry), LOGIN[entry["login"]], doc))
        nxt = table.index(entry) + 1
        if nxt == len(table) or table[nxt]["subsystem"] != subsystem:
            lines.append("")
    return "\n".join(lines)


def main():
    ap = argparse.ArgumentParser(description="Writes docs/operations.md from the table of operations.")
    ap.add_argument("--check", action="store_true", help="fail when the file is not current")
    args = ap.parse_args()
    from marlet.wrapper.gui.web.vorna.vornav1 import vornawebwrapper
    text = render(vornawebwrapper._operations)
    if args.check:
        with open(PATH, encoding="utf-8") as f:
            if f.read() != text:
                sys.exit("docs/operations.md is not current: run scripts/operations_reference.py")
        return
    with open(PATH, "w", encoding="utf-8") as f:
        f.write(text)


if __name__ == "__main__":
    main()
