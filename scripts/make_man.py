#!/usr/bin/env python3
"""Makes a manual page (mdoc) from a public header, whose comments are the manual.

    scripts/make_man.py HEADER --page wyx_crc --version 1.0.0 --date "May 1, 2026"
        --include wyx_commlib/crc.h --library wyx_commlib --output FOLDER [--see-also PAGE...]

Writes FOLDER/PAGE.3, and for each call a link FOLDER/CALL.3 to it. Understands the comments as
this project writes them; anything else ends it with an error instead of a page with holes.
"""

import argparse
import pathlib
import re
import sys
import textwrap

LINE = re.compile(r"^\s*/?\*\*?/?\s?")


class Declaration:
    """What a comment documents: a call, callback, record, enumeration, type or variable."""

    def __init__(self, doc, code):
        self.doc = doc
        self.code = code  # as written in the header, comments of fields included
        plain = re.sub(r"/\*.*?\*/", "", code, flags=re.S)
        plain = re.sub(r"^#.*$|__attribute__\(\(.*\)\)", "", plain, flags=re.M)
        self.flat = " ".join(plain.split()).rstrip("; ")
        self.flat = re.sub(r"\b(WYX_API|WYX_ENUM32) ?", "", self.flat)
        name = re.match(r"typedef .*\(\*(\w+)\)\(|.*?(\w+)\(|.*\b(\w+)(\[\d+\])?$", self.flat)
        self.name = name[1] or name[2] or name[3]
        if self.flat.startswith("typedef enum"):
            self.kind = "enum"
        elif re.match(r"typedef struct[^;]*\{", self.flat):
            self.kind = "struct"
        elif name[1]:
            self.kind = "callback"
        elif self.flat.startswith("typedef"):
            self.kind = "type"
        elif name[2]:
            self.kind = "call"
        else:
            self.kind = "variable"

    def is_statuses(self):
        return self.kind == "enum" and "ErrCode" in self.code

    def prototype(self):
        """Result type and arguments of a call or callback."""
        match = re.match(r"(?:typedef )?(.*?)(?:\(\*)?\w+\)?\((.*)\)$", self.flat)
        arguments = [argument.strip() for argument in match[2].split(",")]
        return match[1].strip(), arguments

    def members(self):
        """(code, comment) for each enumerator or field."""
        body = self.code[self.code.index("{") + 1:self.code.rindex("}")]
        found = re.findall(r"\s*([^/]+?)[,;]?\s*/\*\*<(.*?)\*/", body, flags=re.S)
        if len(found) != body.count("/**<") or not found:
            sys.exit(f"{self.name}: a member without a comment")
        return [(code, strip_comment(comment)) for code, comment in found]


def strip_comment(text):
    return "\n".join(LINE.sub("", line) if line.strip().startswith("*") else line.strip()
                     for line in text.strip().splitlines())


def strip_block(block):
    """The text of a /** */ comment: without its frame, with its indentation."""
    lines = block.removeprefix("/**").removesuffix("*/").splitlines()
    return "\n".join(re.sub(r"^\s*\* ?", "", line).rstrip() for line in lines).strip()


def parse(text):
    """The comment of the file, and a list of groups: (title, comment, declarations)."""
    blocks = list(re.finditer(r"/\*\*(?!<).*?\*/", text, flags=re.S))
    about = strip_block(blocks[0][0])
    groups = [("", "", [])]
    for block in blocks[1:]:
        doc = strip_block(block[0])
        if doc == "@}":
            continue
        if doc.startswith("@name"):
            title, _, rest = doc.removesuffix("@{").removeprefix("@name").strip().partition("\n")
            groups.append((title.strip(), rest.strip(), []))
            continue
        if text[block.end():].lstrip().startswith("#"):
            continue  # a macro, which only the headers use
        rest = re.sub(r"/\*.*?\*/", lambda match: " " * len(match[0]), text[block.end():],
                      flags=re.S)
        depth = 0
        for at, char in enumerate(rest):
            depth += (char == "{") - (char == "}")
            if char == ";" and depth == 0:
                break
        end = block.end() + at + 1
        groups[-1][2].append(Declaration(doc, text[block.end():end].strip()))
    for line in re.finditer(r"^typedef (?!.*[({]).*;\s*/\*\*<(.*?)\*/", text, flags=re.M):
        groups[0][2].append(Declaration(line[1].strip(), line[0].split("/*")[0].strip()))
    return about, [group for group in groups if group[2]]


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
    """Text lines: one for each sentence, none of which the formatter takes for a request."""
    text = " ".join(text.split())
    # Marked as a whole, since a mark may span several sentences.
    marked = inline(re.sub(r"(?<=[A-Za-z0-9)`\"*][.!?]) +(?=[A-Z`\"#*@(])", "\0", text)).split("\0")
    wrapped = []
    for line in marked:
        wrapped += textwrap.wrap(line, 78, break_long_words=False, break_on_hyphens=False)
    return ["\\&" + line if line.startswith((".", "'")) else line for line in wrapped]


def listing(code):
    """An example or a declaration, as it is."""
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


def sections(doc):
    """(brief, text, parameters, result, sources) of a call's comment."""
    pieces = re.split(r"^(?=@(?:brief|param|return)\b)", doc, flags=re.M)
    brief, text, parameters, result, sources = "", "", [], "", ""
    for piece in pieces:
        if piece.startswith(("@brief", "@return")):
            head, _, rest = re.sub(r"^@\w+\s+", "", piece).partition("\n\n")
            text += "\n\n" + rest
            # The lines that continue a result are indented below its first word.
            if piece.startswith("@brief"):
                brief = head
            elif "@par " in head:
                result, _, more = head.partition("@par ")
                sources += "\n\n@par " + more
            else:
                result = head
        elif piece.startswith("@param"):
            match = re.match(r"@param\[([a-z,]+)\]\s+(\w+)\s+(.*)", piece, flags=re.S)
            rest, _, more = match[3].partition("@par ")
            parameters.append((match[2], match[1], rest))
            if more:
                sources += "\n\n@par " + more
        else:
            text += "\n\n" + piece
    return brief, text, parameters, result, sources


def arguments(declaration):
    result, parameters = declaration.prototype()
    return [".Ft " + escape(result),
            ".Fn " + declaration.name + "".join(f' "{escape(item)}"' for item in parameters)]


def call(declaration, heading):
    brief, text, parameters, result, sources = sections(declaration.doc)
    out = [heading + " " + declaration.name]
    if declaration.kind == "callback":
        returned, parameters_code = declaration.prototype()
        out += listing(f"typedef {returned} (*{declaration.name})(" +
                       ",\n        ".join(parameters_code) + ");")
        out.append(".Pp")
    out += markup(brief + text, first=True)
    if parameters:
        out.append(".Bl -tag -width Ds")
        for name, direction, about in parameters:
            out.append(f".It Fa {name} Pq {direction.replace(',', ', ')}")
            out += sentences(about)
        out.append(".El")
    if result:
        result = re.sub(r"^ {1,9}(?! *- )", "", result, flags=re.M)
        if result.startswith("- "):
            out += [".Pp", "Returns:"] + markup(re.sub(r"(?m)^(?!- )", "  ", result))
        else:
            out += markup("Returns " + result)
    return out + markup(sources)


def members(declaration):
    out = [".Bl -tag -width Ds"]
    for code, about in declaration.members():
        out.append(".It Li " + '"' + escape(" ".join(code.split()), code=True) + '"')
        out += sentences(about[0].upper() + about[1:] + ".")
    return out + [".El"]


def describe(declaration):
    if declaration.kind in ("call", "callback"):
        return call(declaration, ".Ss")
    out = [".Ss " + declaration.name]
    if declaration.kind in ("type", "variable"):
        out += listing(declaration.flat + ";") + [".Pp"]
    elif declaration.kind == "enum":
        out += listing("enum " + declaration.name) + [".Pp"]
    else:
        out += listing("struct " + declaration.name) + [".Pp"]
    out += markup(re.sub(r"^@brief ", "", declaration.doc), first=True)
    if declaration.kind in ("enum", "struct"):
        out += members(declaration)
    return out


def page(options, text):
    about, groups = parse(text)
    about = re.sub(r"^@file .*\n", "", about)
    brief, _, about = about.removeprefix("@brief ").partition("\n\n")
    example = re.search(r"@code\{\.c\}\n.*?@endcode\n?", about, flags=re.S)
    if example:  # stays if the text leads up to it
        before = about[:example.start()].rstrip()
        if before.endswith(":"):
            example = None
        else:
            about = before + "\n\n" + about[example.end():].lstrip("\n")
    everything = [item for _, _, items in groups for item in items]
    calls = [item for item in everything if item.kind == "call"]

    out = ["'\\\" t", f".Dd {options.date}", f".Dt {options.page.upper()} 3",
           f".Os libwyx_commlib {options.version}", ".Sh NAME"]
    names = [options.page] + [item.name for item in calls]
    out += [f".Nm {name} ," for name in names[:-1]] + [f".Nm {names[-1]}"]
    out.append(".Nd " + inline(" ".join(brief.split()).rstrip(".")))
    out += [".Sh LIBRARY", f"{options.library} (lib{options.library}, \\-l{options.library})"]
    out += [".Sh SYNOPSIS", f".In {options.include}"]
    for item in calls:
        out += arguments(item)
    for item in everything:
        if item.kind == "variable":
            out.append(".Vt " + escape(item.flat) + ";")
    out.append(".Sh DESCRIPTION")
    out += markup(about, first=True)
    for title, comment, items in groups:
        described = [item for item in items if item.kind in ("call", "variable")]
        if described:
            out.append(".Sh " + escape(title.upper() or "CALLS"))
            out += markup(comment, first=True)
            for item in described:
                out += describe(item)
    types = [item for item in everything
             if item.kind in ("callback", "struct", "enum", "type") and not item.is_statuses()]
    if types:
        out.append(".Sh TYPES")
        for item in types:
            out += describe(item)
    statuses = [item for item in everything if item.is_statuses()]
    if statuses:
        out.append(".Sh RETURN VALUES")
        for number, item in enumerate(statuses):
            out += markup(item.doc, first=number == 0) + members(item)
    if example:
        out.append(".Sh EXAMPLES")
        out += markup(example[0], first=True)
    if options.see_also:
        out.append(".Sh SEE ALSO")
        last = options.see_also[-1]
        for name in options.see_also:
            title, section = name.rstrip(")").split("(")
            out.append(f".Xr {title} {section}" + ("" if name == last else " ,"))
    return "\n".join(out) + "\n", [item.name for item in calls]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("header", type=pathlib.Path)
    for name in ("page", "version", "date", "include", "library"):
        parser.add_argument("--" + name, required=True)
    parser.add_argument("--output", type=pathlib.Path, required=True)
    parser.add_argument("--see-also", nargs="*", default=[])
    options = parser.parse_args()

    text, calls = page(options, options.header.read_text(encoding="utf-8"))
    options.output.mkdir(parents=True, exist_ok=True)
    (options.output / f"{options.page}.3").write_text(text, encoding="utf-8")
    for name in calls:
        link = options.output / f"{name}.3"
        link.unlink(missing_ok=True)
        link.symlink_to(f"{options.page}.3")


if __name__ == "__main__":
    main()
