#!/usr/bin/env python3
"""Makes wyx(1) from the grammar of the tool and the page's frame.

    scripts/make_tool_man.py tools/wyx/verbs/commands.cpp docs/man/wyx.1.in
        --version 1.0.0 --date "May 1, 2026" --output FILE

Understands what the tables in commands.cpp are made of: braces, string and character literals,
designators, and the options defined before the table. Another name stands for itself; other marks end the
script with an error.
"""

import argparse
import pathlib
import re
import sys
import textwrap

TOKEN = re.compile(
    r"""\s+|//[^\n]*|(?P<text>"(?:[^"\\]|\\.)*")|(?P<char>'(?:[^'\\]|\\.)')|(?P<word>\w+)"""
    r"""|(?P<mark>[{}.,=])""")
ESCAPES = {"n": "\n", "0": "", '"': '"', "'": "'", "\\": "\\"}


def tokens_of(code):
    tokens = []
    at = 0
    while at < len(code):
        match = TOKEN.match(code, at)
        if not match:
            sys.exit(f"not understood: {code[at:at + 40]!r}")
        at = match.end()
        if match.lastgroup:
            tokens.append((match.lastgroup, match[0]))
    return tokens


def value_of(tokens, constants):
    """Takes one value from the front: a text, a list or a dictionary."""
    kind, token = tokens.pop(0)
    if kind in ("text", "char"):
        text = re.sub(r"\\(.)", lambda match: ESCAPES[match[1]], token[1:-1])
        while tokens and tokens[0][0] == "text" and kind == "text":
            text += value_of(tokens[:1], constants)
            tokens.pop(0)
        return text
    if kind == "word":
        return constants.get(token, token)
    if token != "{":
        sys.exit(f"not understood: {token}")
    items, members = [], {}
    while tokens[0][1] != "}":
        if tokens[0][1] == ".":
            name = tokens[1][1]
            del tokens[:3]
            members[name] = value_of(tokens, constants)
        else:
            items.append(value_of(tokens, constants))
        if tokens[0][1] == ",":
            tokens.pop(0)
    tokens.pop(0)
    return members or items


def commands_of(source):
    constants = {}
    for name, code in re.findall(r"constexpr Option (\w+) = (\{.*?\});\n", source, flags=re.S):
        constants[name] = value_of(tokens_of(code), {})
    table = re.search(r"constexpr Command kCommands\[\] = (\{.*?\n\});\n", source, flags=re.S)
    return value_of(tokens_of(table[1]), constants)


def roff(text):
    return text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq")


def sentences(text):
    """Each sentence on lines of its own, as mdoc expects."""
    lines = []
    for sentence in re.split(r"(?<=[\w)']\.) +", text):
        lines += textwrap.wrap(roff(sentence), 78, break_on_hyphens=False)
    return re.sub(r"^(?=\.)", r"\\&", "\n".join(lines), flags=re.M)


def operands(command):
    lines = []
    for word in command["operands"].split():
        optional = re.fullmatch(r"\[([^]]*)\]", word)
        name = re.sub(r"\.\.\.$", " ...", optional[1] if optional else word)
        lines.append((".Op Ar " if optional else ".Ar ") + name)
    return lines


def synopsis(command):
    return [".Nm", ".Cm " + command["name"], ".Op Ar OPTION ..."] + operands(command)


def verb(command):
    lines = [".Ss wyx " + command["name"], sentences(command["summary"] + ".")]
    for paragraph in filter(None, command["text"].split("\n\n")):
        lines += [".Pp", sentences(paragraph)]
    lines.append(".Bl -tag -width Ds")
    for letter, name, value, text in command["options"]:
        if name == "help":
            continue  # described once for all verbs
        names = (f"Fl {letter} , " if letter else "") + f"Fl -{name}"
        lines += [f".It {names}" + (f" Ar {value}" if value else ""),
                  sentences(text[0].upper() + text[1:] + ".")]
    lines += [".El", ".Pp", "Examples:", ".Bd -literal -offset indent"]
    lines += [roff(line.removeprefix("  ")) for line in command["examples"].splitlines()]
    return lines + [".Ed"]


def exit_status(tool):
    lines = [".Bl -tag -width Ds"]
    for code, text in re.findall(r"^  (\d)  (.*)$", tool["text"], flags=re.M):
        lines += [f".It {code}", sentences(text[0].upper() + text[1:] + ".")]
    return lines + [".El"]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("grammar", type=pathlib.Path)
    parser.add_argument("frame", type=pathlib.Path)
    parser.add_argument("--version", required=True)
    parser.add_argument("--date", required=True)
    parser.add_argument("--output", required=True, type=pathlib.Path)
    arguments = parser.parse_args()

    tool, *rest = commands_of(arguments.grammar.read_text())
    verbs = [command for command in rest if command["run"] != "nullptr"]
    parts = {
        "DATE": [arguments.date],
        "VERSION": [arguments.version],
        "SUMMARY": [tool["summary"][0].lower() + tool["summary"][1:]],
        "SYNOPSIS": sum(map(synopsis, verbs), []),
        "VERBS": sum(map(verb, verbs), []),
        "EXIT_STATUS": exit_status(tool),
    }
    page = arguments.frame.read_text()
    for name, lines in parts.items():
        page = page.replace(f"@{name}@", "\n".join(lines))
    arguments.output.parent.mkdir(parents=True, exist_ok=True)
    arguments.output.write_text(page)


if __name__ == "__main__":
    main()
