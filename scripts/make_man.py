#!/usr/bin/env python3
"""Makes the manual pages of section 3 (mdoc) from the public headers, whose comments are the manual.

    scripts/make_man.py --version 1.0.0 --date "May 1, 2026" --output FOLDER

Writes a page for each header (wyx_crc.3), with its types, its statuses and a list of its calls; a
page for each call (XELP_CRC_32.3); and one for all building blocks of a header
(wyx_slink_blocks.3), to which the name of each block is a link.
"""

import argparse
import pathlib
import re
import sys
import textwrap

sys.dont_write_bytecode = True
from public_headers import parse, sections, statuses_of  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[1]
HEADERS = [*(f"include/wyx_commlib/{name}.h" for name in (
    "types", "crc", "md5", "dlink", "slink", "hash", "ini_parser", "ip4_ip6_parser", "base64",
    "status_text")), "platform/os_adapter.h", "platform/bounded.h"]


# ---- mdoc

def escape(text, code=False):
    text = text.replace("\\", "\\e").replace("'", "\\(aq").replace("`", "\\(ga")
    text = text.replace("^", "\\(ha").replace("~", "\\(ti")
    return text.replace("-", "\\-") if code else text


def inline(text):
    """Translates the marks of code, emphasis, parameters, and names of calls and constants."""
    parts = re.split(r"(`[^`]+`|@p \w+|\*\*.+?\*\*|\*[^*\s][^*]*\*|#\w+|\b\w+\(\)"
                     r"|(?<![\w/])[a-z0-9_]+\.h\b)", text)
    out = []
    for part in parts:
        if re.fullmatch(r"`[^`]+`", part):
            out.append("\\fB" + escape(part[1:-1], code=True) + "\\fP")
        elif part.startswith("@p "):
            out.append("\\fI" + part[3:] + "\\fP")
        elif re.fullmatch(r"\*\*.+\*\*", part):
            out.append("\\fB" + inline(part[2:-2]) + "\\fP")
        elif re.fullmatch(r"\*[^*]+\*", part):
            out.append("\\fI" + inline(part[1:-1]) + "\\fP")
        elif re.fullmatch(r"#\w+", part):
            out.append("\\%" + part[1:])
        elif part.endswith("()") and part[:-2].isidentifier():
            out.append("\\%\\fB" + part[:-2] + "\\fP()")
        else:
            if re.search(r"@\w", part):
                sys.exit(f"unknown mark in: {text}")
            out.append(escape(part))
    return "".join(out)


def sentences(text):
    """Text lines, a new one for each sentence; the formatter takes none of them for a request."""
    text = " ".join(text.split())
    # Marked as a whole, since a mark may span several sentences.
    marked = inline(re.sub(r"(?<=[A-Za-z0-9)`\"*][.!?]) +(?=[A-Z`\"#*@(])", "\0", text)).split("\0")
    wrapped = []
    for line in marked:
        wrapped += textwrap.wrap(line, 78, break_long_words=False, break_on_hyphens=False)
    return ["\\&" + line if line.startswith((".", "'")) else line for line in wrapped]


def listing(code):
    """An example or a declaration, printed as it is."""
    lines = [escape(line, code=True) for line in code.strip("\n").splitlines()]
    return [".Bd -literal -offset indent",
            *("\\&" + line if line.startswith((".", "'")) else line for line in lines), ".Ed"]


def table(rows):
    # A bar inside code does not end a cell.
    cells = [[cell.strip() for cell in re.split(r"\|(?=(?:[^`]*`[^`]*`)*[^`]*$)", row[1:-1])]
             for row in rows]
    del cells[1]  # the rule below the heading
    out = [".TS", "lB " * (len(cells[0]) - 1) + "lB", "l " * (len(cells[0]) - 1) + "lx."]
    for row in cells:
        out.append("\t".join([inline(cell) for cell in row[:-1]] + ["T{"]))
        out += [inline(row[-1]), "T}"]
    return out + [".TE"]


def markup(text, first=False):
    """Paragraphs, lists, tables, headings and examples. `first`: no break in front."""
    out = []
    lines = text.splitlines()
    at = 0

    def take(condition):
        nonlocal at
        start = at
        while at < len(lines) and condition(lines[at]):
            at += 1
        return lines[start:at]

    while at < len(lines):
        line = lines[at]
        if not line.strip():
            at += 1
            continue
        begins = first and not out
        if line.startswith("## "):
            out.append(".Ss " + escape(line[3:]))
            at += 1
            first = False
            begins = True
            continue
        if line.startswith("@code"):
            at += 1
            body = take(lambda line: not line.startswith("@endcode"))
            at += 1
            out += listing("\n".join(body))
        elif line.startswith("|"):
            out += ([] if begins else [".Pp"]) + table(take(lambda line: line.startswith("|")))
        elif line.startswith("- "):
            items = "\n".join(take(lambda line: line.startswith(("- ", "  ")))).split("\n- ")
            out.append(".Bl -bullet")
            for item in items:
                out.append(".It")
                out += sentences(item.removeprefix("- "))
            out.append(".El")
        else:
            lead = ""
            if line.startswith("@par "):
                lead = line[5:] + ": "
                at += 1
            body = take(lambda line: line.strip() and
                        not line.startswith(("- ", "|", "@code", "## ", "@par")))
            paragraph = lead + " ".join(body)
            paragraph = re.sub(r"^@warning ", "**Warning:** ", paragraph)
            previous = out[-1] if out else ""
            if not begins and not previous.startswith(".Ss"):
                out.append(".Pp")
            out += sentences(paragraph)
    return out


def tagged(pairs):
    """A list of terms, each with its explanation."""
    out = [".Bl -tag -width Ds"]
    for term, about in pairs:
        out += [".It " + term, *sentences(about)]
    return [*out, ".El"] if len(out) > 1 else []


def members(pairs):
    return tagged((f'Li "{escape(" ".join(code.split()), code=True)}"', about[0].upper() + about[1:] + ".")
                  for code, about in pairs)


def prototype(declaration):
    result, parameters = declaration.prototype()
    return [".Ft " + escape(result),
            ".Fn " + declaration.name + "".join(f' "{escape(item)}"' for item in parameters)]


def describe_call(declaration):
    """What a call or callback does, and its parameters."""
    brief, text, parameters, _, sources = sections(declaration.doc)
    return (markup(brief + text, first=True) + tagged(
        (f"Fa {name} Pq {direction.replace(',', ', ')}", about) for name, direction, about in parameters)
        + markup(sources))


def describe_result(declaration, lead=""):
    result = re.sub(r"^ {1,9}(?! *- )", "", sections(declaration.doc)[3], flags=re.M)
    if result.startswith("- "):
        out = markup(re.sub(r"(?m)^(?!- )", "  ", result))
        return [".Pp", lead.strip() + ":", *out] if lead else out
    return markup(lead + result) if lead else markup(result[:1].upper() + result[1:], first=True)


def describe(declaration):
    """A declaration under a heading of its own."""
    out = [".Ss " + declaration.name]
    if declaration.kind == "callback":
        returned, parameters = declaration.prototype()
        out += listing(f"typedef {returned} (*{declaration.name})(" +
                       ",\n        ".join(parameters) + ");") + [".Pp"]
    elif declaration.kind in ("type", "variable"):
        out += listing(declaration.flat + ";") + [".Pp"]
    elif declaration.kind in ("enum", "struct"):
        out += listing(f"{declaration.kind} {declaration.name}") + [".Pp"]
    if declaration.kind in ("call", "callback"):
        lead = "Returns " if sections(declaration.doc)[3] else ""
        return out + describe_call(declaration) + describe_result(declaration, lead)
    out += markup(re.sub(r"^@brief ", "", declaration.doc), first=True)
    return out + (members(declaration.members()) if declaration.kind in ("enum", "struct") else [])


def see_also(names):
    names = sorted({name if "(" in name else name + "(3)" for name in names},
                   key=lambda name: (name[-2], name.lower()))
    lines = [f".Xr {name[:-3]} {name[-2]} ," for name in names]
    return [".Sh SEE ALSO", *lines[:-1], lines[-1].removesuffix(" ,")]


class Header:
    """A public header, from which pages are made."""

    def __init__(self, path):
        about, self.groups = parse((ROOT / path).read_text(encoding="utf-8"))
        self.brief, _, self.about = re.sub(r"^@file .*\n@brief ", "", about).partition("\n\n")
        stem = pathlib.Path(path).stem.replace("types", "commlib")
        self.page = "wyx_" + stem
        inside = path.startswith("include")
        self.include = f"wyx_commlib/{stem}.h" if inside else stem + ".h"
        self.library = "wyx_commlib" if inside else "wyx_os_adapter"
        self.calls, self.blocks, self.others = [], [], []  # declarations with what their groups say
        for title, comment, items in self.groups:
            comment = f"**{title}.** {comment}" if title and comment else comment
            block = title.startswith("Building blocks")
            for item in items:
                listed = self.blocks if block else self.calls if item.kind == "call" else self.others
                listed.append((item, comment))
        self.statuses = [item for item, _ in self.others if item.is_statuses()]

    def start(self, name, brief, items=()):
        """A page up to its description. Its heading names the project, not an operating system."""
        out = ["'\\\" t", f".Dd {OPTIONS.date}",
               ".ds doc-volume-operating-system libwyx_commlib", f".Dt {name.upper()} 3",
               f".Os libwyx_commlib {OPTIONS.version}", ".Sh NAME"]
        names = [name] + [item.name for item in items if item.kind == "call" and item.name != name]
        out += [f".Nm {name} ," for name in names[:-1]] + [".Nm " + names[-1]]
        brief = " ".join(brief.split()).partition(". ")[0].rstrip(".")
        out.append(".Nd " + inline(brief[0].lower() + brief[1:] if brief[1].islower() else brief))
        out += [".Sh LIBRARY", f"{self.library} (lib{self.library}, \\-l{self.library})"]
        out += [".Sh SYNOPSIS", f".In {self.include}"]
        for item in items:
            if item.kind == "call":
                out += prototype(item)
            elif item.kind == "variable":
                out.append(".Vt " + escape(item.flat) + ";")
        return out + [".Sh DESCRIPTION"]

    def overview(self, related):
        out = self.start(self.page, self.brief) + markup(self.about, first=True)
        for title, comment, items in self.groups:
            calls = [item for item in items if item.kind == "call"]
            if title.startswith("Building blocks"):
                related = {*related, self.page + "_blocks"}
            elif calls:
                out += [".Sh " + escape(title.upper() or "CALLS"), *markup(comment, first=True)]
                out += tagged((f"Xr {item.name} 3", sections(item.doc)[0]) for item in calls)
        types = [item for item, _ in self.others if item not in self.statuses]
        out += [".Sh TYPES"] if types else []
        for item in types:
            out += describe(item)
        out += [".Sh RETURN VALUES"] if self.statuses else []
        for number, item in enumerate(self.statuses):
            out += markup(item.doc, first=number == 0) + members(item.members())
        return out + see_also(related)

    def page_of_blocks(self):
        out = self.start(self.page + "_blocks", "building blocks of " + self.page,
                         [item for item, _ in self.blocks])
        out += ["The calls of", f".Xr {self.page} 3", "are made of these functions, which are exported as well."]
        for title, comment, items in self.groups:
            if title.startswith("Building blocks"):
                out += [".Sh " + escape(title.rpartition(": ")[2].upper()), *markup(comment, first=True)]
                for item in items:
                    out += describe(item)
        return out + see_also([self.page])

    def page_of_call(self, item, comment, examples, every_call):
        out = self.start(item.name, sections(item.doc)[0], [item])
        out += describe_call(item) + markup(comment)
        out += [".Sh RETURN VALUES", *describe_result(item)] if sections(item.doc)[3] else []
        fitting = [code for code in examples if re.search(rf"\b{item.name}\(", code)]
        if fitting:
            out += [".Sh EXAMPLES", *listing(min(fitting, key=len))]
        elif "@code" in self.about:
            out += [".Sh EXAMPLES", f".Xr {self.page} 3", "shows how the calls are used together."]
        names = statuses_of(item, self.groups)
        errors = [pair for declared in self.statuses for pair in declared.members()
                  if pair[0].split()[0] in names and not re.search(r"_OK_|= 0$", pair[0])]
        if errors:
            errors.sort(key=lambda pair: int(pair[0].split()[-1]))
            out += [".Sh ERRORS", *members(errors)]
        named = {name for name in re.findall(r"(\w+)\(\)", item.doc) if name in every_call}
        return out + see_also({self.page, *named} - {item.name})


def examples_of(headers):
    """The examples in headers and documents, and the functions of the programs in examples/."""
    found = [code for header in headers
             for code in re.findall(r"@code\{\.c\}\n(.*?)@endcode", header.about, flags=re.S)]
    for page in sorted((ROOT / "docs").glob("**/*.md")):
        found += re.findall(r"(?ms)^```c\n(.*?)^```", page.read_text(encoding="utf-8"))
    for program in sorted((ROOT / "examples").glob("*.c")):
        found += re.findall(r"(?ms)^\w[^\n;]*\n\{\n.*?^\}\n", program.read_text(encoding="utf-8"))
    return found


def main():
    headers = [Header(path) for path in HEADERS]
    examples = examples_of(headers)
    every_call = {item.name for header in headers for item, _ in header.calls + header.blocks}
    pages = {}
    for header in headers:
        related = {"wyx_commlib"}
        if header.page == "wyx_commlib":
            related = {"wyx(1)", *(other.page for other in headers)} - {header.page}
        pages[header.page] = header.overview(related)
        for item, comment in header.calls:
            pages[item.name] = header.page_of_call(item, comment, examples, every_call)
        if header.blocks:
            pages[header.page + "_blocks"] = header.page_of_blocks()
        for item, _ in header.blocks:
            pages[item.name] = header.page + "_blocks.3"
    OPTIONS.output.mkdir(parents=True, exist_ok=True)
    for path in OPTIONS.output.glob("*.3"):
        path.unlink()
    for name, page in pages.items():
        path = OPTIONS.output / (name + ".3")
        if isinstance(page, str):
            path.symlink_to(page)
        else:
            path.write_text("\n".join(page) + "\n", encoding="utf-8")


if __name__ == "__main__":
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("--version", required=True)
    options.add_argument("--date", required=True)
    options.add_argument("--output", type=pathlib.Path, required=True)
    OPTIONS = options.parse_args()
    main()
