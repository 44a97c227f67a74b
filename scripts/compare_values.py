#!/usr/bin/env python3
"""Compares the values that Python's configparser reads from files with what wyx reads.

    scripts/compare_values.py WYX LIST

LIST holds the files' names, each ended by a NUL byte. Where the two read a dialect differently, the
reason is counted. If values differ for no known reason, the first such differences are shown and the exit
code is 1. It is also 1 if configparser can read none of the files.
"""

import collections
import configparser
import json
import pathlib
import re
import subprocess
import sys

SHOWN = 8


def sections_of(path):
    """What configparser reads, or None."""
    parser = configparser.RawConfigParser(
        strict=False, allow_no_value=True, default_section="\0", empty_lines_in_values=False)
    try:
        parser.read_string(path.read_bytes().decode("utf-8-sig"))
    except (configparser.Error, ValueError, AttributeError, OSError):
        return None
    return {name: dict(parser.items(name)) for name in parser.sections()}


def values_of(wyx, path, section):
    """What wyx reads, with the names of keys in lower case; None if there is no such section."""
    run = subprocess.run([wyx, "ini", "get", "--format=json", "--", path, section.strip(" \t")],
                         capture_output=True, check=False)
    return {key.lower(): value for key, value in json.loads(run.stdout).items()} \
        if run.returncode == 0 else None


def verdict(value, mine, keys):
    """Why two values may differ; None if they should not."""
    if keys is None:
        return "in a section whose header wyx does not read"
    if mine is KeyError:
        return "in a line that wyx does not read (key : value, more than 511 bytes), or in an " \
            "earlier block of the section"
    plain = (value or "").strip(" \t")
    if plain == (mine or ""):
        return "the same"
    if "\n" in plain:
        return "continued on indented lines"
    if re.fullmatch(re.escape(mine or "") + r"[ \t]*;.*", plain):
        return "followed by a ';' comment, which configparser reads as part of it"
    if plain.endswith("\\"):
        return "continued by a backslash, which configparser reads as part of it"
    return None


def main():
    wyx, names = sys.argv[1], pathlib.Path(sys.argv[2]).read_bytes().split(b"\0")[:-1]
    counts = collections.Counter()
    wrong = []
    files = 0
    for path in map(pathlib.Path, (name.decode("utf-8", "surrogateescape") for name in names)):
        sections = sections_of(path)
        if not sections:
            continue
        files += 1
        for section, values in sections.items():
            keys = values_of(wyx, path, section)
            for key, value in values.items():
                mine = KeyError if keys is None else keys.get(key, KeyError)
                why = verdict(value, mine, keys)
                counts[why or "different"] += 1
                if why is None:
                    wrong.append(f"{path}: [{section}] {key}: {mine!r}, not {value!r}")
    print(f"{files} files are read by configparser; of their values are")
    for why, count in counts.most_common():
        print(f"{count:7}  {why}")
    for line in wrong[:SHOWN]:
        print("  " + line)
    sys.exit(1 if wrong or files == 0 else 0)


if __name__ == "__main__":
    main()
