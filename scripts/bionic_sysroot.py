#!/usr/bin/env python3
"""Lays out the part of the NDK that comes from Android's C library, using that library's sources.

    scripts/bionic_sysroot.py BIONIC FOLDER

BIONIC has libc/include, libc/kernel, libc/arch-common and libc/libc.map.txt as in Android's sources.
FOLDER, whose content is deleted, becomes a stand-in for the NDK, for compiling and linking with Debian's
clang and lld and the headers of libc++: its libc.so has a stand-in for each symbol that API level 24 has
on the processor, so that the linker refuses any other symbol. With FOLDER as ANDROID_NDK_HOME, the presets
for Android can be configured. What is linked in this way cannot run.
"""

import pathlib
import re
import shutil
import subprocess
import sys

API = 24
ARCHITECTURES = {  # by ABI: the triple, the kernel's name, the name in the list of symbols
    "arm64-v8a": ("aarch64-linux-android", "arm64", "arm64"),
    "x86_64": ("x86_64-linux-android", "x86", "x86_64"),
}
ALL_NAMES = {"arm", "arm64", "riscv64", "x86", "x86_64"}
# Not part of the NDK: meant for other parts of the system, or removed.
HIDDEN_SECTIONS = re.compile("PRIVATE|PLATFORM|DEPRECATED")
HIDDEN_TAGS = {"apex", "llndk", "systemapi", "future"}


def symbols(text, name):
    """The symbols of the list that the API level has for the named processor: {symbol: is a variable}."""
    found = {}
    hidden, section_tags, is_local = True, [], False
    for line in text.splitlines():
        code, _, comment = line.partition("#")
        code, tags = code.strip(), comment.split()
        if code.endswith("{"):
            hidden, section_tags, is_local = HIDDEN_SECTIONS.search(code) is not None, tags, False
        elif code in ("global:", "local:"):
            is_local = code == "local:"
        elif re.fullmatch(r"\w+;", code) and not hidden and not is_local:
            processors = ALL_NAMES & set(tags)
            levels = dict(tag.split("=") for tag in section_tags + tags if "=" in tag)
            level = levels.get(f"introduced-{name}", levels.get("introduced", "1"))
            if (not processors or name in processors) and not HIDDEN_TAGS & set(tags) \
                    and int(level) <= API:
                found[code[:-1]] = "var" in tags
    return found


def run(*command, **options):
    subprocess.run(list(map(str, command)), check=True, **options)


def copy(source, target):
    shutil.copytree(source, target, dirs_exist_ok=True, copy_function=shutil.copyfile)


def libcxx():
    """The folder of libc++'s headers, or None."""
    resources = subprocess.run(["clang++", "-print-resource-dir"], check=True, text=True,
                               capture_output=True).stdout.strip()
    folder = pathlib.Path(resources).parents[2] / "include/c++/v1"
    return folder if (folder / "cstdint").exists() else None


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    libc = pathlib.Path(sys.argv[1]) / "libc"
    ndk = pathlib.Path(sys.argv[2])
    if not libcxx():
        sys.exit("bionic_sysroot.py: the headers of libc++ are not installed")
    shutil.rmtree(ndk, ignore_errors=True)
    usr = ndk / "sysroot/usr"
    include = usr / "include"
    copy(libc / "include", include)
    for kernel in ("uapi", "android/uapi"):
        copy(libc / "kernel" / kernel, include)
    (include / "c++").mkdir()
    (include / "c++/v1").symlink_to(libcxx())

    listed = (libc / "libc.map.txt").read_text()
    for abi, (triple, kernel, name) in ARCHITECTURES.items():
        copy(libc / f"kernel/uapi/asm-{kernel}", include / triple)
        folder = usr / "lib" / triple / str(API)
        folder.mkdir(parents=True)
        compiler = ["clang", f"--target={triple}{API}", f"--sysroot={ndk / 'sysroot'}", "-fPIC"]
        found = symbols(listed, name)
        if len(found) < 1000 or "openat" not in found:
            sys.exit(f"bionic_sysroot.py: the list of symbols has only {len(found)} for {abi}")
        assembly = "".join(
            f".{'data' if is_variable else 'text'}\n.globl {symbol}\n"
            f".type {symbol},%{'object' if is_variable else 'function'}\n"
            f"{symbol}: .quad 0\n.size {symbol},8\n" for symbol, is_variable in found.items())
        (folder / "symbols.txt").write_text("".join(f"{symbol}\n" for symbol in sorted(found)))
        link = compiler + ["-nostdlib", "-shared", "-fuse-ld=lld", "-x", "assembler", "-"]
        run(*link, "-Wl,-soname,libc.so", "-o", folder / "libc.so", input=assembly.encode())
        for library in ("libdl", "libm"):  # nothing of theirs is used
            run(*link, f"-Wl,-soname,{library}.so", "-o", folder / f"{library}.so", input=b"")
        start = libc / "arch-common/bionic/crtbegin_so.c"
        run(*compiler, "-c", start, "-o", folder / "crtbegin_so.o")
        run(*compiler, "-x", "assembler", "-c", "-", "-o", folder / "crtend_so.o", input=b"")
        # The compiler's own library is empty, so that code that needs it cannot be linked.
        run("llvm-ar" if shutil.which("llvm-ar") else "ar", "cr", folder / "libgcc.a")
        print(f"{abi}: {len(found)} symbols at API level {API}")

    toolchain = pathlib.Path(__file__).resolve().parents[1] / "cmake/toolchains/bionic.cmake"
    (ndk / "build/cmake").mkdir(parents=True)
    (ndk / "build/cmake/android.toolchain.cmake").write_text(f'include("{toolchain}")\n')


if __name__ == "__main__":
    main()
