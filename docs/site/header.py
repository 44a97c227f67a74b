#!/usr/bin/env python3
"""Writes the head of every page, Doxygen's with our search: header.py DEFAULT_HEADER >HEADER"""
import os
import re
import sys
from pathlib import Path

# The search is written for this version of its library; WYX_LUNR names its file.
LUNR = "2.3"
SCRIPTS = ("lunr.min.js", "search-data.js", "search.js", "sidebar.js")


def replaced(text, old, new):
    if text.count(old) != 1:
        sys.exit(f"the head of Doxygen's pages has {old!r} {text.count(old)} times, not once")
    return text.replace(old, new)


def header(text):
    text = replaced(text, "<html ", '<html lang="en" ')
    loaded = "".join(f'<script src="$relpath^{name}" defer="defer"></script>\n' for name in SCRIPTS)
    text = replaced(text, "</head>", loaded + "</head>")
    field = Path(__file__).with_name("search.html").read_text(encoding="utf-8")
    return replaced(text, "<!--END TITLEAREA-->", field + "<!--END TITLEAREA-->")


if __name__ == "__main__":
    library = Path(os.environ["WYX_LUNR"]).read_text(encoding="utf-8")
    version = re.search(r'\.version="([\d.]+)"', library)
    if not version or not version[1].startswith(LUNR + "."):
        sys.exit(f"{os.environ['WYX_LUNR']}: not version {LUNR} of lunr")
    sys.stdout.write(header(Path(sys.argv[1]).read_text(encoding="utf-8")))
