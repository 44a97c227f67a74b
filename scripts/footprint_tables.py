#!/usr/bin/env python3
"""Prints library sizes as Markdown tables: footprint_tables.py PROCESSOR=BUILD_FOLDER...

PROCESSOR is aarch64 or x86-64. Reads the libraries and the maps that the linker wrote, which name the
object that each piece of a section came from. What size(1) counts beyond the modules is in a row of its
own.
"""

import collections
import os
import pathlib
import re
import subprocess
import sys

LIBRARIES = {"libwyx_commlib": "src/commlib/wyx_commlib.link.map",
             "libwyx_os_adapter": "platform/wyx_os_adapter.link.map"}
COLUMNS = ("code", "constants", "unwinding", "data", "bss")
PAGES = {"aarch64": (4096, 16384), "x86-64": (4096,)}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True,
                          env={"LC_ALL": "C", "PATH": os.environ["PATH"]}).stdout


def column(section):
    """The column of an output section; None if it only serves linking."""
    if section in (".text", ".init", ".fini"):
        return "code"
    if section == ".rodata":
        return "constants"
    if section.startswith((".eh_frame", ".gcc_except_table")):
        return "unwinding"
    if section in (".data", ".data.rel.ro"):
        return "data"
    return "bss" if section == ".bss" else None


def module(path):
    """The module of an object; the default adapter has one for each family of services."""
    match = re.search(r"wyx_commlib\.dir/(\w+)/|wyx_os_adapter\.dir/linux/([a-z]+)", path)
    return (match[1] or match[2]) if match else None


def pieces(text):
    """(output section, size, object) of each piece that was linked."""
    text = text[text.index("Linker script and memory map"):]
    section = None
    # A long name is on a line of its own.
    for line in re.sub(r"^( ?[.\w]\S*)\n +(0x)", r"\1 \2", text, flags=re.M).splitlines():
        head = re.match(r"(\.\S+)", line)
        if head:
            section = head[1]
        piece = re.match(r" (\.\S+|COMMON) +0x[0-9a-f]+ +0x([0-9a-f]+) (\S+)$", line)
        if piece:
            yield section, int(piece[2], 16), piece[3]


def sizes(folder, library):
    """The size of each module, the rest, and the total of size(1)."""
    rows = collections.defaultdict(collections.Counter)
    for section, size, path in pieces((folder / LIBRARIES[library]).read_text()):
        if column(section) and module(path):
            rows[module(path)][column(section)] += size
    file = str(folder / "lib" / f"{library}.so")
    total = int(output("size", file).splitlines()[1].split()[3])
    counted = sum(sum(row.values()) for row in rows.values())
    if not 0 < counted < total:
        sys.exit(f"{library}: the map accounts for {counted} bytes, size(1) for {total}")
    return rows, total - counted, total


def loading(folder, library, page_sizes):
    """Relocations by kind, and how many pages they are in."""
    file = str(folder / "lib" / f"{library}.so")
    entries = re.findall(r"^([0-9a-f]{8,16}) +[0-9a-f]+ +R_(?:X86_64|AARCH64)_(\w+)",
                         output("readelf", "-rW", file), flags=re.M)
    kinds = collections.Counter(
        "own addresses" if kind == "RELATIVE" else "names" for _, kind in entries)
    return kinds, [len({int(offset, 16) // size for offset, _ in entries}) for size in page_sizes]


def main():
    builds = [argument.split("=", 1) for argument in sys.argv[1:]]
    if not builds:
        sys.exit(__doc__)
    for name, folder in builds:
        folder = pathlib.Path(folder)
        compiler = output("readelf", "-p", ".comment", str(folder / "lib/libwyx_commlib.so"))
        compiler = re.search(r"\] +(.*)", compiler)[1]
        print(f"## {name}\n\n{compiler}, release, stripped. Bytes.\n")
        print(f"| Module | {' | '.join(COLUMNS)} | together |")
        print("|:--|" + "--:|" * (len(COLUMNS) + 1))
        for library in LIBRARIES:
            rows, rest, total = sizes(folder, library)
            for row in sorted(rows):
                cells = [rows[row][item] for item in COLUMNS]
                print(f"| {row} | " + " | ".join(f"{cell:,}" for cell in cells) +
                      f" | {sum(cells):,} |")
            print("| symbols, relocations, stubs |" + " |" * len(COLUMNS) + f" {rest:,} |")
            print(f"| **{library}** |" + " |" * len(COLUMNS) + f" **{total:,}** |")
        page_sizes = PAGES[name]
        print("\n| Library | own addresses | names | " +
              " | ".join(f"pages of {size // 1024} KiB" for size in page_sizes) + " |")
        print("|:--|--:|--:|" + "--:|" * len(page_sizes))
        for library in LIBRARIES:
            kinds, pages = loading(folder, library, page_sizes)
            print(f"| {library} | {kinds['own addresses']} | {kinds['names']} | " +
                  " | ".join(map(str, pages)) + " |")
        print()


if __name__ == "__main__":
    main()
