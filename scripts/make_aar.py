#!/usr/bin/env python3
"""Lays out an Android archive (AAR) with Prefab modules from installed trees, one for each ABI.

    cmake --install build/android-arm64 --prefix PREFIX/arm64-v8a --strip
    cmake --install build/android-x86_64 --prefix PREFIX/x86_64 --strip
    scripts/make_aar.py PREFIX/arm64-v8a PREFIX/x86_64 --ndk 27 --output wyx_commlib-1.0.0.aar

The modules are wyx_commlib and wyx_os_adapter, and wyx_commlib_static and wyx_os_adapter_static with the
archives. Refuses libraries that an application could not load: for another processor, with a version in
their SONAME, or not aligned for pages of 16 KiB; and trees that do not belong together. The same trees
produce the same bytes, wherever and whenever they were installed. The file LICENSE is added if there is
one. docs/android.md has more.
"""

import argparse
import json
import pathlib
import re
import struct
import sys
import zipfile

LICENCE = pathlib.Path(__file__).resolve().parents[1] / "LICENSE"
ABIS = {183: "arm64-v8a", 62: "x86_64"}  # by e_machine: those that are supported, all 64 bits
PAGE = 16384
PT_LOAD, PT_DYNAMIC = 1, 2
DT_NULL, DT_STRTAB, DT_SONAME = 0, 5, 14


def refuse(message):
    sys.exit(f"make_aar.py: {message}")


class Library:
    """What the archive has to know about a shared library."""

    def __init__(self, path):
        self.data = path.read_bytes()
        if self.data[:6] != b"\x7fELF\x02\x01":
            refuse(f"{path} is not a 64-bit little-endian library")
        self.machine, = struct.unpack_from("<H", self.data, 18)
        start, = struct.unpack_from("<Q", self.data, 32)
        size, count = struct.unpack_from("<HH", self.data, 54)
        fields = [struct.unpack_from("<IIQQQQQQ", self.data, start + i * size)
                  for i in range(count)]
        self.loads = [(offset, address, length, align) for
                      kind, _, offset, address, _, length, _, align in fields if kind == PT_LOAD]
        dynamic = next((offset, length) for kind, _, offset, _, _, length, _, _ in fields
                       if kind == PT_DYNAMIC)
        tags = {}
        for tag, value in struct.iter_unpack("<QQ", self.data[dynamic[0]:sum(dynamic)]):
            if tag == DT_NULL:
                break
            tags[tag] = value
        self.soname = None
        if DT_SONAME in tags:
            name = self.offset(tags[DT_STRTAB]) + tags[DT_SONAME]
            self.soname = self.data[name:self.data.index(b"\0", name)].decode()

    def offset(self, address):
        return next(address - at + offset for offset, at, length, _ in self.loads
                    if at <= address < at + length)

    def abi(self, path):
        """The library's ABI, if an application can load it."""
        if self.machine not in ABIS:
            refuse(f"{path} is for no supported processor ({', '.join(ABIS.values())})")
        if self.soname != path.name:
            refuse(f"{path} has the SONAME {self.soname}: Android needs {path.name}")
        if any(align < PAGE for *_, align in self.loads):
            refuse(f"{path} is not aligned for pages of 16 KiB")
        return ABIS[self.machine]


def json_bytes(value):
    return (json.dumps(value, indent=2) + "\n").encode()


def only(prefix, name):
    found = sorted(prefix.glob(f"lib*/**/{name}"))
    if len(found) != 1:
        refuse(f"{prefix} has {len(found)} files {name}")
    return found[0]


def headers_of(prefix):
    """By module: each header's name in the archive, and its bytes."""
    include = prefix / "include"
    adapter = include / "wyx_os_adapter"
    files = {
        "wyx_commlib": {path.relative_to(include): path
                        for suffix in ("h", "hpp")
                        for path in (include / "wyx_commlib").glob(f"*.{suffix}")},
        # The headers of the adapter need types.h even without the library.
        "wyx_os_adapter": {path.relative_to(adapter): path for path in adapter.glob("*.h")}
        | {pathlib.PurePath("wyx_commlib/types.h"): include / "wyx_commlib/types.h"},
    }
    for module, headers in files.items():
        if not headers:
            refuse(f"{prefix} has no headers of {module}")
    return {module: {name.as_posix(): path.read_bytes() for name, path in headers.items()}
            for module, headers in files.items()}


def contents(options, version):
    """Name and bytes of each file of the archive."""
    major, minor, patch = map(int, version.split("."))
    files = {
        "AndroidManifest.xml":
            f'<?xml version="1.0" encoding="utf-8"?>\n'
            f'<manifest xmlns:android="http://schemas.android.com/apk/res/android"\n'
            f'    package="wyx.commlib" android:versionCode="{major * 10000 + minor * 100 + patch}"\n'
            f'    android:versionName="{version}">\n'
            f'    <uses-sdk android:minSdkVersion="{options.api}" />\n'
            f'</manifest>\n'.encode(),
        "prefab/prefab.json": json_bytes({"schema_version": 2, "name": "wyx_commlib",
                                          "version": version, "dependencies": []}),
    }
    if LICENCE.exists():
        files["LICENSE"] = LICENCE.read_bytes()
    headers = headers_of(options.prefixes[0])
    abis = set()
    for prefix in options.prefixes:
        if headers_of(prefix) != headers:
            refuse(f"{prefix} has other headers than {options.prefixes[0]}")
        path = only(prefix, "libwyx_commlib.so")
        abi = Library(path).abi(path)
        if abi in abis:
            refuse(f"{prefix} is a second tree of {abi}")
        abis.add(abi)
        for library in headers:
            for module, suffix in ((library, "so"), (f"{library}_static", "a")):
                path = only(prefix, f"lib{library}.{suffix}")
                if suffix == "so" and Library(path).abi(path) != abi:
                    refuse(f"{path} is not for {abi}")
                needed = [f":{module}".replace("commlib", "os_adapter")]
                folder = f"prefab/modules/{module}"
                files[f"{folder}/module.json"] = json_bytes({
                    "export_libraries": needed if library == "wyx_commlib" else [],
                    "library_name": f"lib{library}"})
                for name, data in headers[library].items():
                    files[f"{folder}/include/{name}"] = data
                folder += f"/libs/android.{abi}"
                files[f"{folder}/abi.json"] = json_bytes({
                    "abi": abi, "api": options.api, "ndk": options.ndk, "stl": "none",
                    "static": suffix == "a"})
                files[f"{folder}/lib{library}.{suffix}"] = path.read_bytes()
    return files


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("prefixes", metavar="PREFIX", nargs="+", type=pathlib.Path,
                        help="where the libraries of an ABI were installed")
    parser.add_argument("--ndk", type=int, required=True, help="major version of the NDK")
    parser.add_argument("--api", type=int, default=24, help="lowest API level (24)")
    parser.add_argument("--output", type=pathlib.Path, required=True)
    options = parser.parse_args()

    versions = {re.search(r'PACKAGE_VERSION "([0-9.]+)"',
                          only(prefix, "wyx_commlib-config-version.cmake").read_text())[1]
                for prefix in options.prefixes}
    if len(versions) != 1:
        refuse(f"the trees are of several versions: {', '.join(sorted(versions))}")

    files = contents(options, versions.pop())
    with zipfile.ZipFile(options.output, "w", zipfile.ZIP_DEFLATED) as archive:
        for name in sorted(files):
            entry = zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3
            entry.external_attr = 0o100644 << 16
            archive.writestr(entry, files[name])
    print(f"written: {options.output}, {len(files)} files")


if __name__ == "__main__":
    main()
