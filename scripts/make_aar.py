#!/usr/bin/env python3
"""Lays out an Android archive (AAR) with Prefab modules from an installed tree.

    cmake --install build/android-arm64 --prefix PREFIX --strip
    scripts/make_aar.py PREFIX --ndk 27 --output wyx_commlib-1.0.0.aar

The modules are wyx_commlib and wyx_os_adapter. Refuses libraries that an application could not load:
of another processor, with a version in their SONAME, or not aligned for pages of 16 KiB. The same
tree gives the same bytes, wherever and whenever it was installed. docs/android.md tells more.
"""

import argparse
import json
import pathlib
import re
import struct
import sys
import zipfile

MACHINES = {"arm64-v8a": 183, "x86_64": 62}  # e_machine of the ABIs that are supported, all 64 bits
PAGE = 16384
PT_LOAD, PT_DYNAMIC = 1, 2
DT_NULL, DT_STRTAB, DT_SONAME = 0, 5, 14


def refuse(message):
    sys.exit(f"make_aar.py: {message}")


class Library:
    """What the archive has to know of a shared library."""

    def __init__(self, path):
        self.data = path.read_bytes()
        if self.data[:6] != b"\x7fELF\x02\x01":
            refuse(f"{path} is no 64-bit little-endian library")
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

    def check(self, path, abi):
        if self.machine != MACHINES[abi]:
            refuse(f"{path} is not of {abi}")
        if self.soname != path.name:
            refuse(f"{path} has the SONAME {self.soname}: Android wants {path.name}")
        if abi == "arm64-v8a" and any(align < PAGE for *_, align in self.loads):
            refuse(f"{path} is not aligned for pages of 16 KiB")


def text(value):
    return (json.dumps(value, indent=2) + "\n").encode()


def contents(options, version):
    """Name and bytes of each file of the archive."""
    include = options.prefix / "include"
    adapter = include / "wyx_os_adapter"
    modules = {
        "wyx_commlib": {path.relative_to(include): path
                        for path in (include / "wyx_commlib").glob("*.h")},
        # The headers of the adapter need those of the types, also without the library.
        "wyx_os_adapter": {path.relative_to(adapter): path for path in adapter.glob("*.h")}
        | {pathlib.PurePath("wyx_commlib/types.h"): include / "wyx_commlib/types.h"},
    }
    needs = {"wyx_commlib": [":wyx_os_adapter"], "wyx_os_adapter": []}
    major, minor, patch = map(int, version.split("."))

    files = {
        "AndroidManifest.xml":
            f'<?xml version="1.0" encoding="utf-8"?>\n'
            f'<manifest xmlns:android="http://schemas.android.com/apk/res/android"\n'
            f'    package="wyx.commlib" android:versionCode="{major * 10000 + minor * 100 + patch}"\n'
            f'    android:versionName="{version}">\n'
            f'    <uses-sdk android:minSdkVersion="{options.api}" />\n'
            f'</manifest>\n'.encode(),
        "prefab/prefab.json": text({"schema_version": 2, "name": "wyx_commlib",
                                    "version": version, "dependencies": []}),
    }
    for module, headers in modules.items():
        if not headers:
            refuse(f"{options.prefix} has no headers of {module}")
        folder = f"prefab/modules/{module}"
        files[f"{folder}/module.json"] = text({"export_libraries": needs[module],
                                               "library_name": f"lib{module}"})
        for name, path in headers.items():
            files[f"{folder}/include/{name.as_posix()}"] = path.read_bytes()
        libraries = sorted(options.prefix.glob(f"lib*/**/lib{module}.so"))
        if len(libraries) != 1:
            refuse(f"{options.prefix} has {len(libraries)} libraries lib{module}.so")
        library = Library(libraries[0])
        library.check(libraries[0], options.abi)
        folder += f"/libs/android.{options.abi}"
        files[f"{folder}/abi.json"] = text({"abi": options.abi, "api": options.api,
                                            "ndk": options.ndk, "stl": "none", "static": False})
        files[f"{folder}/lib{module}.so"] = library.data
    return files


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("prefix", type=pathlib.Path, help="where the libraries were installed")
    parser.add_argument("--ndk", type=int, required=True, help="major version of the NDK")
    parser.add_argument("--abi", choices=MACHINES, default="arm64-v8a")
    parser.add_argument("--api", type=int, default=24, help="least API level (24)")
    parser.add_argument("--output", type=pathlib.Path, required=True)
    options = parser.parse_args()

    versions = list(options.prefix.glob("lib*/**/wyx_commlib-config-version.cmake"))
    if len(versions) != 1:
        refuse(f"{options.prefix} is no tree with wyx_commlib installed")
    version = re.search(r'PACKAGE_VERSION "([0-9.]+)"', versions[0].read_text())[1]

    files = contents(options, version)
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
