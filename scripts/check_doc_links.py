"""Checks the relative links of README.md and docs/*.md: every linked file exists and
every #anchor names a heading of its page (headings slugged as the Git hosts slug them).

    /usr/bin/python3 scripts/check_doc_links.py

Prints each broken link and exits 1 when there is one."""
import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")


def slug(heading):
    text = re.sub(r"[`*_]", "", heading.strip().lower())
    text = re.sub(r"[^\w\- ]", "", text)
    return text.replace(" ", "-")


def anchors(path):
    with open(path, encoding="utf-8") as f:
        return {slug(line.lstrip("#")) for line in f if line.startswith("#")}


def pages():
    yield os.path.join(ROOT, "README.md")
    docs = os.path.join(ROOT, "docs")
    for name in sorted(os.listdir(docs)):
        if name.endswith(".md"):
            yield os.path.join(docs, name)


def main():
    broken = 0
    for page in pages():
        with open(page, encoding="utf-8") as f:
            text = f.read()
        for target in LINK.findall(text):
            if re.match(r"^[a-z]+:", target):
                continue
            path, _, anchor = target.partition("#")
            full = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
            where = os.path.relpath(page, ROOT)
            if not os.path.exists(full):
                print("%s: %s: no such file" % (where, target))
                broken += 1
            elif anchor and full.endswith(".md") and anchor not in anchors(full):
                print("%s: %s: no such heading" % (where, target))
                broken += 1
    return 1 if broken else 0


if __name__ == "__main__":
    sys.exit(main())
