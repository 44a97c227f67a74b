#!/usr/bin/env python3
"""Writes Doxygen's layout with the navigation of the site: layout.py DEFAULT_LAYOUT >LAYOUT"""
import re
import sys
from pathlib import Path
from xml.sax.saxutils import quoteattr

import fill_page
import pages


def tab(file, title=None):
    page = pages.page_of(file)
    url = "index.html" if page == "index" else "@ref " + page
    title = title or ("Overview" if page == "index" else pages.title_of(file))
    return f'<tab type="user" url={quoteattr(url)} title={quoteattr(title)}/>'


def navigation():
    yield "<navindex>"
    for group, files in pages.grouped().items():
        if len(files) == 1:
            yield tab(files[0], group)
            continue
        yield f'<tab type="usergroup" url="[none]" title={quoteattr(group)}>'
        yield from map(tab, files)
        yield "</tab>"
    yield '<tab type="usergroup" url="[none]" title="Reference">'
    yield '<tab type="filelist" title="Headers"/>'
    yield '<tab type="globals" title="All names"/>'
    yield '<tab type="structlist" title="Records"/>'
    yield "</tab>"
    yield "</navindex>"


if __name__ == "__main__":
    # Fill every page first: if its filter fails, Doxygen only shows an empty page.
    for page_file in pages.every():
        fill_page.fill(page_file)
    layout = Path(sys.argv[1]).read_text()
    # The page of a header shows its calls first.
    layout = re.sub(r"(<file>.*?<memberdecl>)(.*?)(\s*<functions [^>]*>)", r"\1\3\2", layout, flags=re.S)
    sys.stdout.write(re.sub(r"<navindex>.*</navindex>", lambda _: "\n".join(navigation()), layout,
                            flags=re.S))
