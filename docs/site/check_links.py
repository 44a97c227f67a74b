#!/usr/bin/env python3
"""Checks the links in a folder of HTML pages: check_links.py FOLDER

Reports links to a missing file or to a missing place in a page, and links, drawings, tables and code
that Doxygen left as text. Links to other hosts are not followed; a page that loads something from one
is reported.
"""
import re
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit


class Page(HTMLParser):
    def __init__(self, file):
        super().__init__()
        self.links, self.places, self.loads, self.left_as_text = [], set(), [], []
        self.is_as_written = False
        self.feed(file.read_text())

    def handle_starttag(self, tag, attrs):
        self.is_as_written |= tag == "pre"
        for name, value in attrs:
            if name in ("id", "name"):
                self.places.add(value)
            elif name == "href" and tag == "a":
                self.links.append(value)
            elif name in ("href", "src", "data"):
                self.loads.append(value)

    def handle_endtag(self, tag):
        self.is_as_written &= tag != "pre"

    def handle_data(self, data):
        if not self.is_as_written:
            self.left_as_text += re.findall(r"@ref \S+|</?tt>|!\[.{,20}|^\|--+|.{,20}`.{,20}", data,
                                            re.M)


def check(folder):
    pages = {file: Page(file) for file in sorted(folder.rglob("*.html"))}
    errors, count = [] if pages else [f"{folder}: has no pages"], 0
    for file, page in pages.items():
        errors += [f"{file.name}: {text}: Doxygen left this as text" for text in page.left_as_text]
        for link in page.links + page.loads:
            parts = urlsplit(link)
            if parts.netloc and link in page.loads:
                errors.append(f"{file.name}: loads {link}")
            if parts.scheme or parts.netloc:
                continue
            count += 1
            target = (file.parent / unquote(parts.path)).resolve() if parts.path else file
            if not target.exists():
                errors.append(f"{file.name}: {link}: no such file")
            elif parts.fragment and target in pages and \
                    unquote(parts.fragment) not in pages[target].places:
                errors.append(f"{file.name}: {link}: no such place")
    return pages, count, errors


if __name__ == "__main__":
    found, links, wrong = check(Path(sys.argv[1]).resolve())
    print("\n".join(wrong) or f"{links} links on {len(found)} pages, all of them lead somewhere")
    sys.exit(bool(wrong))
