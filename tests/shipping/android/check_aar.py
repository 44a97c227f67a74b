#!/usr/bin/env python3
"""Builds the libraries as for Android, lays out the archive, and checks what is in it.

    check_aar.py SOURCE_FOLDER WORK_FOLDER ABI C_COMPILER [ARGUMENT_OF_CMAKE...]

Debian's compiler takes the place of the NDK's.
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


def make(output, *prefixes, project=SOURCE):
    return subprocess.run([sys.executable, project / "scripts/make_aar.py", *prefixes, "--ndk", "27",
                           "--output", output], capture_output=True, text=True)


def patched(name, library, change):
    """A copy of the tree in which the bytes of one or all libraries are changed."""
    shutil.copytree(prefix, WORK / name)
    for path in (WORK / name).rglob(f"{library}.so"):
        data = bytearray(path.read_bytes())
        change(data)
        path.write_bytes(data)
    return WORK / name


def set_machine(machine):
    return lambda data: struct.pack_into("<H", data, 18, machine)


def set_alignment(data):
    for start in range(64, 64 + 56 * data[56], 56):  # the program headers, which end in p_align
        if struct.unpack_from("<I", data, start)[0] == 1:
            struct.pack_into("<Q", data, start + 48, 0x1000)


def set_soname(data):
    at = data.index(b"libwyx_os_adapter.so\0")
    data[at:at + 20] = b"libwyx_os_adapter.s1"


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
# These options are what the project sets for Android.
prefix = install("build", "-DCMAKE_PLATFORM_NO_VERSIONED_SONAME=ON",
                 "-DCMAKE_SHARED_LINKER_FLAGS=-Wl,-z,max-page-size=16384")
# The libraries of the other ABI are copies of these with that processor's number in them.
OTHER, number = ("x86_64", 62) if ABI == "arm64-v8a" else ("arm64-v8a", 183)
other = patched("other", "libwyx_*", set_machine(number))

made = make(WORK / "one.aar", prefix, other)
print(made.stdout, made.stderr)
if made.returncode != 0:
    sys.exit(1)

# The bytes must be the same from other folders, in another order, at another time, in another time zone.
moved = WORK / "moved/to/another/folder"
shutil.copytree(prefix, moved, symlinks=True)
for path in moved.rglob("*"):
    os.utime(path, (1, 1), follow_symlinks=False)
os.environ["TZ"] = "Asia/Tokyo"
make(WORK / "two.aar", other, moved)
expect((WORK / "one.aar").read_bytes() == (WORK / "two.aar").read_bytes(), "two runs differ")

archive = zipfile.ZipFile(WORK / "one.aar")
names = archive.namelist()
expect(archive.testzip() is None, "the archive is broken")
expect(names == sorted(names) and len(set(names)) == len(names), "the files are not in order")
expect(all(entry.date_time == (1980, 1, 1, 0, 0, 0) for entry in archive.infolist()),
       "a file has another time")


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
                    for path in (SOURCE / "include/wyx_commlib").glob("*.h*")},
    "wyx_os_adapter": {"os_adapter.h": SOURCE / "platform/os_adapter.h",
                       "bounded.h": SOURCE / "platform/bounded.h",
                       "wyx_commlib/types.h": SOURCE / "include/wyx_commlib/types.h"},
}
expected = {"AndroidManifest.xml", "prefab/prefab.json"}
if (SOURCE / "LICENSE").exists():
    expected.add("LICENSE")
for library in ("wyx_commlib", "wyx_os_adapter"):
    for kind, suffix in (("", "so"), ("_static", "a")):
        folder = f"prefab/modules/{library}{kind}"
        exports = [f":wyx_os_adapter{kind}"] if library == "wyx_commlib" else []
        expect(read(f"{folder}/module.json") ==
               {"export_libraries": exports, "library_name": f"lib{library}"},
               f"module.json of {library}{kind}")
        expected.add(f"{folder}/module.json")
        for abi, tree in ((ABI, prefix), (OTHER, other)):
            libs = f"{folder}/libs/android.{abi}"
            expect(read(f"{libs}/abi.json") == {"abi": abi, "api": API, "ndk": 27, "stl": "none",
                                                "static": suffix == "a"}, f"abi.json in {libs}")
            path = next(tree.rglob(f"lib{library}.{suffix}"))
            expect(not path.is_symlink(), f"{path} has a version")
            expect(archive.read(f"{libs}/{path.name}") == path.read_bytes(), f"{libs}/{path.name}")
            expected |= {f"{libs}/abi.json", f"{libs}/{path.name}"}
        for name, path in headers[library].items():
            expect(archive.read(f"{folder}/include/{name}") == path.read_bytes(), name)
            expected.add(f"{folder}/include/{name}")
expect(set(names) == expected, f"files: {sorted(set(names) ^ expected)}")

# A file LICENSE in the project is added to the archive.
licensed = WORK / "licensed"
(licensed / "scripts").mkdir(parents=True)
shutil.copy(SOURCE / "scripts/make_aar.py", licensed / "scripts")
(licensed / "LICENSE").write_text("Made-up licence for a test\n")
make(WORK / "licensed.aar", prefix, other, project=licensed)
expect(zipfile.ZipFile(WORK / "licensed.aar").read("LICENSE") == b"Made-up licence for a test\n",
       "the licence is missing")

# Compiles and links programs as Prefab instructs the build system, with either kind of module.
archive.extractall(WORK / "unpacked")
for kind in ("", "_static"):
    command = [COMPILER, SOURCE / "tests/shipping/install/consumer/consumer.c", "-o", WORK / f"consumer{kind}"]
    for module in headers:
        folder = WORK / f"unpacked/prefab/modules/{module}{kind}"
        command += ["-I", folder / "include", "-L", folder / f"libs/android.{ABI}", f"-l{module}"]
    run(*command)

# What an application could not load is refused.
for name, library, change, message in (
        ("mips", "libwyx_*", set_machine(8), "no supported processor"),
        ("mixed", "libwyx_os_adapter", set_machine(number), f"not for {ABI}"),
        ("versioned", "libwyx_os_adapter", set_soname, "SONAME"),
        ("aligned", "libwyx_commlib", set_alignment, "16 KiB")):
    refused = make(WORK / "none.aar", patched(name, library, change))
    expect(refused.returncode != 0 and message in refused.stderr, f"{name}: {refused.stderr}")
refused = make(WORK / "none.aar", prefix, moved)
expect(refused.returncode != 0 and "second tree" in refused.stderr, "one ABI twice")
with next(moved.rglob("crc.h")).open("a") as header:
    header.write("/* changed */\n")
refused = make(WORK / "none.aar", other, moved)
expect(refused.returncode != 0 and "other headers" in refused.stderr, "other headers")
path = next((WORK / "versioned").rglob("libwyx_commlib.so"))
path.unlink()
expect(make(WORK / "none.aar", WORK / "versioned").returncode != 0, "no library")
expect(make(WORK / "none.aar", WORK / "unpacked").returncode != 0, "no tree")

print("failures:", failures)
sys.exit(failures != 0)
