#!/usr/bin/env python3
"""Prepares a file for Doxygen, which runs this as its filter: fill_page.py FILE

Names a page and its headings, turns links between files into links between pages, and replaces a
comment on a line of its own by what it asks for:

    <!-- calls: crc.h -->                         a table of the header's calls
    <!-- statuses: crc.h -->                      a table of its statuses
    <!-- failures: crc.h -->                      what its calls leave if they fail
    <!-- example: examples/crc_example.c -->      the program, with its calls linked
    <!-- search: power cut, crash -->             nothing; the search finds the section by these words
    <!-- licence: LICENSE -->                     the text of the licence, if there is that file

A header passes unchanged, except spans of code that Doxygen would misread.
"""
import re
import sys
from html import escape
from pathlib import Path

import headers
import pages


def _code(name):
    return f"<code>@ref {name}</code>"


def _cell(text):
    """Text of a header as HTML, for use in a table."""
    text = re.sub(r"@p (\w+)|`([^`]*)`", lambda match: f"<code>{match[1] or match[2]}</code>", text)
    text = re.sub(r"#(\w+)", lambda match: _code(match[1]), text)
    return re.sub(r"\*(\w[^*]*)\*", r"<em>\1</em>", text)


def _table(kind, head, rows):
    """An HTML table; the style sheet uses its class to lay it out on a narrow screen."""
    def row(cells, tag):
        return "<tr>" + "".join(f"<{tag}>{cell}</{tag}>" for cell in cells) + "</tr>"
    return [f'<table class="doxtable {kind}">', row(head, "th"), *(row(cells, "td") for cells in rows),
            "</table>", ""]


def calls(header, _page):
    lines = []
    groups = list(dict.fromkeys(call.group for call in header.calls))
    for group in groups:
        rows = [(_code(call.name), _cell(call.brief)) for call in header.calls if call.group == group]
        if len(groups) > 1 and group:
            lines += ["", f"**{group}**", ""]
        lines += _table("calls", ("Call", "What it does"), rows)
    return lines


def _returned_by(status, header):
    """The calls that return a status; if they are most of the calls, those that do not."""
    able = {name for other in header.statuses for name in other.calls}
    others = [call.name for call in header.calls if call.name in able - set(status.calls)]
    if len(status.calls) > max(2, 2 * len(others)):
        every = "every call that returns a status"
        return f"{every}, but {', '.join(map(_code, others))}" if others else every
    return ", ".join(map(_code, status.calls))


def statuses(header, page):
    """On the page of all statuses, each status has an anchor of its own, to which the search leads."""
    def number(status):
        place = f'<a name="{page}-{status.name.lower()}"></a>' if page == "error-codes" else ""
        return f"{place}{status.number}"

    def when(status):
        calls = f'<div class="calls">Returned by: {_returned_by(status, header)}</div>'
        return _cell(status.text) + calls * bool(status.calls)

    rows = [(number(status), _code(status.name), when(status))
            for status in sorted(header.statuses, key=lambda status: status.number)
            if not status.is_marker]
    return _table("statuses", ("Number", "Name", "When"), rows)


def failures(header, _page):
    """Calls that say the same about their results share a row."""
    said = {}
    for call in header.calls:
        if not call.returns or not headers.can_fail(call):
            continue
        texts = [f"<code>{name}</code>: {_cell(text)}" for way, name, text in call.params
                 if (way != "in" or "on failure" in text) and "unchecked" not in text]
        texts += map(_cell, headers.left_by_failure(call))
        if texts:
            said.setdefault("<br>".join(texts), []).append(_code(call.name))
    return _table("failures", ("Call", "What it writes, and what a failure leaves there"),
                  [(", ".join(names), text) for text, names in said.items()])


def example(file):
    if not (pages.ROOT / file).is_file():
        sys.exit(f"{file}: there is no such example")
    return [f"@include {Path(file).name}"]


def licence(file):
    text = pages.ROOT / file
    return [f"@htmlonly<pre>{escape(text.read_text())}</pre>@endhtmlonly"] if text.is_file() else []


def drawing(alternative, file):
    """A drawing that is also a link to its file, since a phone shows drawings small."""
    if not file.is_file():
        sys.exit(f"{file}: there is no such drawing")
    return (f'@htmlonly<a class="drawing" href="{file.name}"><img src="{file.name}" '
            f'alt="{escape(alternative)}"/></a>@endhtmlonly')


def contents(file):
    """The list of a page's sections, at its side or, on a narrow screen, at its top."""
    text = re.sub(r"(?ms)^```.*?^```$", "", file.read_text())
    items = "".join(
        f'<li class="level{len(level) - 1}"><a href="#{pages.page_of(file)}-{pages.anchor_of(heading)}">'
        f"{escape(heading.replace('`', ''))}</a></li>"
        for level, heading in re.findall(r"(?m)^(###?) (.*)$", text))
    return ["", f'@htmlonly<div class="toc"><h3>On this page</h3><ul>{items}</ul></div>@endhtmlonly',
            ""] if items else []


# A link in a paragraph, or what might look like the start of one: code, and a drawing.
LINK = re.compile(r"`[^`\n]*`|!\[[^\]\n]*\]\([^)\s]+\)|\[((?:[^\]\n]|\n(?!\n))*)\]\(([^)\s]+)\)")
COMMANDS = {"calls": calls, "statuses": statuses, "failures": failures}


def _link(match, file):
    # Doxygen accepts neither a line end nor code in the text of a link.
    text, target = " ".join(match[1].replace("`", "").split()), match[2]
    if re.match(r"\w+:", target):
        return match[0]
    path, _, fragment = target.partition("#")
    other = (file.parent / path).resolve() if path else file
    if not other.exists():
        sys.exit(f"{file}: links to {target}, which does not exist")
    if other == pages.SAMPLE_RUN:
        return f'<a href="{other.stem}.html">{text}</a>'
    if other not in pages.every():
        return text  # a file or folder of the source, which is not on the site
    anchor = f"{pages.page_of(other)}-{fragment}" if fragment else pages.page_of(other)
    return f"[{text}](@ref {anchor})"


def _line(line, file, declared):
    """The lines that replace one line outside of code."""
    page = pages.page_of(file)
    if pages.SEARCHED.fullmatch(line):
        return []
    if command := re.fullmatch(r"<!-- (\w+): (\S+) -->", line):
        wanted = command[2]
        if command[1] == "licence":
            return licence(wanted)
        return example(wanted) if command[1] == "example" else COMMANDS[command[1]](declared[wanted], page)
    if heading := re.match(r"(#+) (.*)", line):
        anchor = f"{page}-{pages.anchor_of(heading[2])}"
        if len(heading[1]) == 1:
            return [line if page == "index" else f"{line} {{#{page}}}", *contents(file)]
        if page == "index":
            # Not a Doxygen section, which would appear in the navigation beside the groups.
            level = len(heading[1]) - 1
            return [f"@anchor {anchor}", f"<h{level}>{heading[2]}</h{level}>"]
        # Doxygen shows the marks of code in a heading.
        return [f"{heading[1]} {heading[2].replace('`', '')} {{#{anchor}}}"]
    if image := re.fullmatch(r"!\[([^\]]*)\]\(([^)\s]+)\)", line):
        return [drawing(image[1], file.parent / image[2])]
    return [_linked(_spans(line), declared)]


def _linked(line, declared):
    """Names of calls and statuses become links to their documentation."""
    def link(match):
        known = any(match[1] in (thing.name for thing in (*header.calls, *header.statuses))
                    for header in declared.values())
        return _code(match[1]) if known else match[0]
    return re.sub(r"`(\w+)`", link, line)


def fill(file):
    declared = headers.read_all()
    blocks = re.split(r"(?m)(^```.*?^```$)", file.read_text(), flags=re.S)
    for i in range(0, len(blocks), 2):  # those between are code
        linked = LINK.sub(lambda match: _link(match, file) if match[2] else match[0], blocks[i])
        blocks[i] = "\n".join(new for line in linked.split("\n")
                              for new in _line(line, file, declared))
    return "".join(blocks)


def _spans(text):
    """Escapes what Doxygen would misread: a leading `::` in code is not a global scope, a quotation mark in
    code ends nothing, a bar in code within a table is not a border, and strong text may begin with code."""
    def code(match):
        shown = match[1].replace(r"\|", "|").replace("&", "&amp;").replace("<", "&lt;")
        shown = re.sub(r"[\\@#%$|]|--|^::", lambda special: "\\" + special[0], shown)
        return f"<code>{shown}</code>"
    def row_code(match):
        return code(match) if "|" in match[1] else match[0]
    text = re.sub(r"`(::[A-Za-z][^`\n]*|[^`\n]*\('[^`\n]*)`", code, text)
    text = re.sub(r"(?m)^[ *]*\|.*$", lambda row: re.sub(r"`([^`]*)`", row_code, row[0]), text)
    return re.sub(r"\*\*(`.+?)\*\*", r"<strong>\1</strong>", text)


if __name__ == "__main__":
    source = Path(sys.argv[1]).resolve()
    sys.stdout.write(fill(source) if source.suffix == ".md" else _spans(source.read_text()))
