#!/usr/bin/env python3
"""Writes what the site's search finds: make_index.py SITE >search-data.js

SITE is the folder that Doxygen has written: html/ with the pages, and names.xml with the place of
every name. Each entry is a page, a section of one, a call, a status or another name of a header. The
output is a script, since a page that was opened from a disk may load nothing else.
"""
import json
import re
import sys
import xml.etree.ElementTree
from html.parser import HTMLParser
from pathlib import Path

import headers
import pages

# Classes that are not searched as text: tables whose rows are entries of their own, the list of sections,
# and tooltips of names in code.
SKIPPED = {"calls", "statuses", "failures", "toc", "ttc"}
EMPTY_TAGS = {"br", "img", "hr", "input", "meta", "link"}


class Sections(HTMLParser):
    """(anchor, heading, text, text outside of tables) for the head of a page and for each section of it."""

    def __init__(self, text):
        super().__init__()
        self.found = [["", "", "", ""]]
        self.anchor, self.depth, self.skipped, self.tables, self.in_heading = "", 0, 0, 0, False
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        attrs = dict(attrs)
        classes = set((attrs.get("class") or "").split())
        if self.depth == 0 and "contents" not in classes:
            return
        if tag not in EMPTY_TAGS:
            self.depth += 1
            if self.skipped or classes & SKIPPED:
                self.skipped += 1
        self.tables += tag == "table"
        if tag == "a" and "anchor" in classes:
            self.anchor = attrs.get("id", "")
            if self.in_heading:
                self.found[-1][0] = self.anchor
        elif tag in ("h1", "h2", "h3") and not self.skipped:
            self.found.append([self.anchor, "", "", ""])
            self.in_heading = True

    def handle_endtag(self, tag):
        if self.depth == 0 or tag in EMPTY_TAGS:
            return
        self.depth -= 1
        self.skipped -= self.skipped > 0
        self.tables -= tag == "table"
        if tag in ("h1", "h2", "h3"):
            self.in_heading = False

    def handle_data(self, data):
        if self.depth and not self.skipped:
            self.found[-1][1 if self.in_heading else 2] += data
            if not self.in_heading and not self.tables:
                self.found[-1][3] += data


def aliases(name):
    """What people type for a name: XELP_IniGetKeyValue is also IniGetKeyValue, GetKeyValue, key, ..."""
    bare = re.sub(r"^(?:XELP|MOX|QAL)_(?:(?:ERR|OK)_)?", "", name)
    words = re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])|_", " ", bare)
    words = words.split()
    ends = ["".join(words[at:]) for at in range(len(words))]
    return " ".join(dict.fromkeys((name, re.sub("^[A-Z]+_", "", name), bare, *ends, *words)))


def joined(text, length=None):
    text = " ".join(re.sub(r"[@#](?:p |ref )?(?=\w)", "", text).split())
    if length and len(text) > length:
        text = text[:length].rsplit(" ", 1)[0] + " ..."
    return text


def entry(kind, title, where, url, text="", shown=None, names=""):
    """Kinds are page, section, call, part (of a call), status and name. The list of results shows the
    beginning of `shown`, or of the text if it is None."""
    return {"kind": kind, "title": title, "where": where, "url": url, "text": joined(text),
            "shown": joined(text, 110) if shown is None else joined(shown, 110), "names": names}


def of_pages(site):
    for file in pages.every():
        name = pages.page_of(file)
        url = f"{name}.html"
        title = "Overview" if name == "index" else pages.title_of(file)
        (_, _, lead, shown), *sections = Sections((site / "html" / url).read_text(encoding="utf-8")).found
        if not lead.strip() and not sections:
            sys.exit(f"{url}: has no text")
        words = pages.searched(file)
        yield entry("page", title, "", url, lead, shown,
                    names=name.replace("-", " ") + " " + words.get("", ""))
        for anchor, heading, text, shown in sections:
            if not anchor:
                sys.exit(f"{url}: the section {heading!r} has no anchor")
            yield entry("section", joined(heading), title, f"{url}#{anchor}", text, shown,
                        names=words.get(anchor, ""))


def places(site):
    """{name: (url, Doxygen's kind)} of what the headers declare, and of the headers themselves."""
    found = {}
    for compound in xml.etree.ElementTree.parse(site / "names.xml").getroot():
        name, file = compound.findtext("name"), compound.findtext("filename") or ""
        if compound.get("kind") == "file":
            found[name] = (file if file.endswith(".html") else file + ".html", "file")
        elif compound.get("kind") == "struct":
            found[name] = (file, "struct")
        for member in compound.findall("member"):
            url = f"{member.findtext('anchorfile')}#{member.findtext('anchor')}"
            found[member.findtext("name")] = (url, member.get("kind"))
            for value in member.findall("enumvalue"):
                found[value.text] = (f"{value.get('anchorfile')}#{value.get('anchor')}", "enumvalue")
    return found


def modules():
    """{header: what the navigation calls the page that lists its calls}"""
    return {header: pages.title_of(file) for file in pages.every()
            for header in re.findall(r"<!-- calls: (\S+) -->", file.read_text(encoding="utf-8"))}


def of_names(site):
    known, titles = places(site), modules()
    for header in headers.read_all().values():
        if not header.calls and not header.statuses:
            continue
        module = titles[header.name]
        for call in header.calls:
            text = " ".join((call.brief, call.text, call.returns))
            kind = "part" if call.group.startswith("Building blocks") else "call"
            yield entry(kind, call.name + "()", module, known.pop(call.name)[0], text, call.brief,
                        aliases(call.name))
        for status in header.statuses:
            place, _ = known.pop(status.name)
            if not status.is_marker:
                yield entry("status", f"{status.number} {status.name}", module,
                            f"error-codes.html#error-codes-{status.name.lower()}", status.text,
                            names=f"{status.number} 0x{status.number:x} status error {aliases(status.name)}")
    for name, (url, kind) in sorted(known.items()):
        if not name.endswith("_BUTT"):
            yield entry("name", name, {"file": "header", "define": "macro", "enumvalue": "enumerator",
                                       "variable": "data"}.get(kind, kind), url, names=aliases(name))


def main(site):
    entries = [*of_pages(site), *of_names(site)]
    for kind in ("page", "section", "call", "part", "status", "name"):
        if not any(e["kind"] == kind for e in entries):
            sys.exit(f"the search would find nothing of the kind {kind}")
    texts = ",\n".join(json.dumps(e, ensure_ascii=False, separators=(",", ":")) for e in entries)
    sys.stdout.reconfigure(encoding="utf-8")
    print(f"var searchData = [\n{texts}\n];")


if __name__ == "__main__":
    main(Path(sys.argv[1]))
