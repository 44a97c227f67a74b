"""Reads the public headers, whose comments are the manual: declarations, comments, statuses.

Understands the headers as this project writes them, not C in general.
"""

import re
import sys

LINE = re.compile(r"^\s*/?\*\*?/?\s?")


class Declaration:
    """What a comment documents: a call, callback, record, enumeration, type or variable."""

    def __init__(self, doc, code):
        self.doc = doc
        self.code = code  # as written in the header, comments of fields included
        plain = re.sub(r"/\*.*?\*/", "", code, flags=re.S)
        plain = re.sub(r"^#.*$|__attribute__\(\(.*\)\)", "", plain, flags=re.M)
        self.flat = " ".join(plain.partition("\n{")[0].split()).rstrip("; ")
        self.flat = re.sub(r"\b(WYX_API|WYX_ENUM32|static inline) ?", "", self.flat)
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
            continue  # a macro: only the headers use it
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


def statuses_of(call, groups, seen=()):
    """Names of the statuses a call returns: those it names, and those of the calls it refers to."""
    calls = {item.name: (item, text) for _, text, items in groups for item in items}
    if call.name in seen:
        return set()
    result = re.sub(r"never returns #\w+", "", " ".join(sections(call.doc)[3].split()))
    if "the status of a line that makes a lookup fail" in result:
        lookups = " ".join(next(text for title, text, _ in groups if title == "Lookups").split())
        if "malformed key lines do not count here" in result:
            lookups = lookups.replace(" or IniParseKeyLine()", "")
        result += lookups
    names = set(re.findall(r"XELP_(?:ERR|OK)_[A-Z0-9_]+", result))
    for others in re.findall(r"\b(?:as|status of|one of) ((?:\w+\(\)(?: or )?)+)", result):
        for other in re.findall(r"\w+", others):
            if other in calls:
                names |= statuses_of(calls[other][0], groups, (*seen, call.name))
    return names
