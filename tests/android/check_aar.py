#!/usr/bin/env python3
"""Builds the libraries as for Android, lays out the archive, and looks into it.

    check_aar.py SOURCE_FOLDER WORK_FOLDER ABI C_COMPILER [ARGUMENT_OF_CMAKE...]

The compiler is that of Debian: it stands in for the NDK's.
"""

import json
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import xml.etree.ElementTree
import zipfile

SOURCE, WORK = map(pathlib.Path, sys.argv[1:3])
ABI, COMPILER, *ARGUMENTS = sys.argv[3:]
API = 24
failures = 0


def expect(condition, message):
    global failures
    if not condition:
        print("FAILED:", message)
        failures += 1


def run(*command, **options):
    subprocess.run(list(map(str, command)), check=True, **options)


def make(prefix, output, *options):
    return subprocess.run([sys.executable, SOURCE / "scripts/make_aar.py", prefix, "--ndk", "27",
                           "--abi", ABI, "--output", output, *options],
                          capture_output=True, text=True)


def install(name, *arguments):
    run("cmake", "-S", SOURCE, "-B", WORK / name, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
        "-DWYX_BUILD_TESTS=OFF", "-DWYX_BUILD_EXAMPLES=OFF", "-DWYX_BUILD_TOOL=OFF",
        *arguments, *ARGUMENTS, stdout=subprocess.DEVNULL)
    run("cmake", "--build", WORK / name, stdout=subprocess.DEVNULL)
    run("cmake", "--install", WORK / name, "--prefix", WORK / f"{name}-prefix",
        stdout=subprocess.DEVNULL)
    return WORK / f"{name}-prefix"


shutil.rmtree(WORK, ignore_errors=True)
WORK.mkdir(parents=True)
prefix = install("build", "-DCMAKE_PLATFORM_NO_VERSIONED_SONAME=ON")

made = make(prefix, WORK / "one.aar")
print(made.stdout, made.stderr)
if made.returncode != 0:
    sys.exit(1)

# The same bytes from another folder, at another time, in another time zone.
moved = WORK / "moved/to/another/folder"
shutil.copytree(prefix, moved, symlinks=True)
for path in moved.rglob("*"):
    os.utime(path, (1, 1), follow_symlinks=False)
os.environ["TZ"] = "Asia/Tokyo"
make(moved, WORK / "two.aar")
expect((WORK / "one.aar").read_bytes() == (WORK / "two.aar").read_bytes(), "two runs differ")

archive = zipfile.ZipFile(WORK / "one.aar")
names = archive.namelist()
expect(archive.testzip() is None, "broken archive")
expect(names == sorted(names) and len(set(names)) == len(names), "order of the files")
expect(all(entry.date_time == (1980, 1, 1, 0, 0, 0) for entry in archive.infolist()), "times")


def read(name):
    return json.loads(archive.read(name))


manifest = xml.etree.ElementTree.fromstring(archive.read("AndroidManifest.xml"))
android = "{http://schemas.android.com/apk/res/android}"
expect(manifest.get("package") == "wyx.commlib", "package of the manifest")
expect(manifest.find("uses-sdk").get(android + "minSdkVersion") == str(API), "API level")
version = manifest.get(android + "versionName")
expect(f"VERSION {version}\n" in (SOURCE / "CMakeLists.txt").read_text(), "version")
expect(read("prefab/prefab.json") == {"schema_version": 2, "name": "wyx_commlib",
                                      "version": version, "dependencies": []}, "prefab.json")
headers = {
    "wyx_commlib": {f"wyx_commlib/{path.name}": path
                    for path in (SOURCE / "include/wyx_commlib").glob("*.h")},
    "wyx_os_adapter": {"os_adapter.h": SOURCE / "platform/os_adapter.h",
                       "bounded.h": SOURCE / "platform/bounded.h",
                       "wyx_commlib/types.h": SOURCE / "include/wyx_commlib/types.h"},
}
expected = {"AndroidManifest.xml", "prefab/prefab.json"}
for module, exports in (("wyx_commlib", [":wyx_os_adapter"]), ("wyx_os_adapter", [])):
    folder = f"prefab/modules/{module}"
    libs = f"{folder}/libs/android.{ABI}"
    expect(read(f"{folder}/module.json") ==
           {"export_libraries": exports, "library_name": f"lib{module}"}, f"module.json of {module}")
    expect(read(f"{libs}/abi.json") == {"abi": ABI, "api": API, "ndk": 27, "stl": "none",
                                        "static": False}, f"abi.json of {module}")
    library = next(prefix.rglob(f"lib{module}.so"))
    expect(not library.is_symlink(), f"{library} has a version")
    expect(archive.read(f"{libs}/lib{module}.so") == library.read_bytes(), f"lib{module}.so")
    expected |= {f"{folder}/module.json", f"{libs}/abi.json", f"{libs}/lib{module}.so"}
    for name, path in headers[module].items():
        expect(archive.read(f"{folder}/include/{name}") == path.read_bytes(), name)
        expected.add(f"{folder}/include/{name}")
expect(set(names) == expected, f"files: {sorted(set(names) ^ expected)}")

# A program is compiled and linked as Prefab tells the build system to.
archive.extractall(WORK / "unpacked")
modules = WORK / "unpacked/prefab/modules"
command = [COMPILER, SOURCE / "tests/install/consumer/consumer.c", "-o", WORK / "consumer"]
for module in headers:
    command += ["-I", modules / module / "include",
                "-L", modules / module / "libs" / f"android.{ABI}", f"-l{module}"]
run(*command)

# What an application could not load is refused.
other = "x86_64" if ABI == "arm64-v8a" else "arm64-v8a"
refused = make(prefix, WORK / "other.aar", "--abi", other)
expect(refused.returncode != 0 and f"not of {other}" in refused.stderr, "another processor")
shutil.copytree(prefix, WORK / "versioned")
path = next((WORK / "versioned").rglob("libwyx_os_adapter.so"))
path.write_bytes(path.read_bytes().replace(b"libwyx_os_adapter.so\0", b"libwyx_os_adapter.s1\0"))
refused = make(WORK / "versioned", WORK / "other.aar")
expect(refused.returncode != 0 and "SONAME" in refused.stderr, "another SONAME")
if ABI == "arm64-v8a":
    shutil.copytree(prefix, WORK / "aligned")
    path = next((WORK / "aligned").rglob("libwyx_commlib.so"))
    data = bytearray(path.read_bytes())
    for start in range(64, 64 + 56 * data[56], 56):  # the program headers, which end in p_align
        if struct.unpack_from("<I", data, start)[0] == 1:
            struct.pack_into("<Q", data, start + 48, 0x1000)
    path.write_bytes(data)
    refused = make(WORK / "aligned", WORK / "other.aar")
    expect(refused.returncode != 0 and "16 KiB" in refused.stderr, "pages of 4 KiB")
path = next((WORK / "versioned").rglob("libwyx_commlib.so"))
path.unlink()
expect(make(WORK / "versioned", WORK / "other.aar").returncode != 0, "no library")
expect(make(WORK, WORK / "other.aar").returncode != 0, "no tree")

print("failures:", failures)
sys.exit(failures != 0)
