#!/usr/bin/env python3
"""Builds the libraries against Android's C library, inspects them, and runs them.

    WYX_BIONIC=FOLDER scripts/check_bionic.py ABI WORK_FOLDER BUILD_FOLDER

FOLDER has Android's headers and the list of its symbols, as scripts/bionic_sysroot.py needs them;
without it nothing can be checked, and the script exits with 77. ABI is arm64-v8a or x86_64. The content of
WORK_FOLDER is deleted. Both libraries are built with the preset for Android, with warnings as errors, for
API level 24.

Their behaviour is then checked on Debian's C library, under emulation if the machine has another
processor, with a shim for the one function that only Android has: the examples and the tests of headers,
compiled against Android's headers, and those quick tests of BUILD_FOLDER (a release build for the same
processor) that call the libraries.
"""

import json
import os
import pathlib
import platform
import re
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
import bionic_sysroot  # noqa: E402

SOURCE = pathlib.Path(__file__).resolve().parents[1]
API = bionic_sysroot.API
PRESETS = {"arm64-v8a": "android-arm64", "x86_64": "android-x86_64"}
PROCESSORS = {"arm64-v8a": "aarch64", "x86_64": "x86_64"}
PAGE = 16384
# What the start files and the stack protector need from the C library.
TOOLCHAIN = {"__cxa_atexit", "__cxa_finalize", "__register_atfork", "__stack_chk_fail"}
# Labels of the tests that are run on the libraries: those of the modules.
MODULES = {"base64", "crc", "dlink", "hash", "ini_parser", "ip4_ip6_parser", "md5", "slink"}
# What a save must not call from its first flush to its last: calls that allocate or release memory, wait for
# locks, or come with threads that start and end.
FORBIDDEN = re.compile(r"brk|mmap|munmap|futex|mremap")

failures = 0


def fail(message):
    global failures
    print("FAILED:", message)
    failures += 1


def skip(reason):
    print("skipped:", reason)
    sys.exit(77)


def run(*command, check=True, **options):
    return subprocess.run(list(map(str, command)), check=check, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options)


class Target:
    def __init__(self, abi, work):
        self.abi, self.work = abi, work
        self.ndk = work / "ndk"
        self.sysroot = self.ndk / "sysroot"
        self.prefix = work / "prefix"
        self.shim = work / "shim/libc.so"
        self.run_folder = work / "run"
        self.processor = PROCESSORS[abi]
        self.triple = bionic_sysroot.ARCHITECTURES[abi][0]
        self.native = platform.machine() == self.processor
        root = f"/usr/{self.processor}-linux-gnu"
        self.emulator = [] if self.native else [f"qemu-{self.processor}", "-L", root]
        self.gcc = "gcc" if self.native else f"{self.processor}-linux-gnu-gcc"

    def needs(self):
        programs = ["clang", "clang++", "ld.lld", "cmake", "ninja", "readelf", self.gcc]
        if not self.native:
            programs.append(self.emulator[0])
        for program in programs:
            if not shutil.which(program):
                skip(f"{program} is not installed")
        if not bionic_sysroot.libcxx():
            skip("the headers of libc++ (libc++-dev) are not installed")

    def environment(self, **more):
        """The environment in which a program loads the shim, and the libraries from the folder of links."""
        settings = {"LD_LIBRARY_PATH": str(self.run_folder), "LD_PRELOAD": str(self.shim), **more}
        if self.native:
            return {**os.environ, **settings}
        return {**os.environ, "QEMU_SET_ENV": ",".join(f"{k}={v}" for k, v in settings.items())}

    def clang(self, language):
        return ["clang++" if language == "c++" else "clang", f"--target={self.triple}{API}",
                f"--sysroot={self.sysroot}"]


def build(target, name, *arguments):
    """Configures and builds with the preset; returns the compile commands of the units."""
    folder = target.work / name
    # Without a compiler launcher: a cache might return objects that name files of another folder.
    plain = {name: value for name, value in os.environ.items()
             if not name.endswith("_COMPILER_LAUNCHER")}
    made = run("cmake", "--preset", PRESETS[target.abi], "-B", folder, "-D", "WYX_WERROR=ON",
               *arguments, cwd=SOURCE, check=False,
               env={**plain, "ANDROID_NDK_HOME": str(target.ndk)})
    output = made.stdout
    if made.returncode == 0:
        made = run("cmake", "--build", folder, check=False)
        output += made.stdout
    if made.returncode != 0 or "warning:" in output:
        print(output)
        sys.exit(f"FAILED: {name} for {target.abi}")
    return json.loads((folder / "compile_commands.json").read_text())


def build_all(target):
    shutil.rmtree(target.work, ignore_errors=True)
    target.work.mkdir(parents=True)
    subprocess.run([SOURCE / "scripts/bionic_sysroot.py", os.environ["WYX_BIONIC"], target.ndk], check=True)
    commands = build(target, "build") + build(target, "accounting",
                                              "-D", "WYX_OS_ADAPTER_ACCOUNTING=ON")
    compiled = {pathlib.Path(command["file"]) for command in commands}
    units = {path for folder in ("src", "platform") for path in (SOURCE / folder).rglob("*.cpp")}
    if compiled != units:
        fail(f"not compiled, or not in src/ and platform/: {sorted(map(str, compiled ^ units))}")
    if not all(f"--target={target.triple}{API}" in command["command"].replace(
            f"{target.processor}-linux-android", target.triple) for command in commands):
        fail(f"not compiled for API level {API}")
    print(f"{target.abi}: {len(compiled)} units compiled without a warning")
    run("cmake", "--install", target.work / "build", "--prefix", target.prefix)


def readelf(path, *options):
    return run("readelf", "-W", *options, path, env={**os.environ, "LC_ALL": "C"}).stdout


def undefined(path):
    return set(re.findall(r"\bUND (\w+)", readelf(path, "--dyn-syms")))


def look_at(target, path, needed):
    """The library as a file."""
    name = path.name
    dynamic = readelf(path, "-d")
    found = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
    if found != needed:
        fail(f"{name} needs {found}")
    if re.findall(r"\(SONAME\).*\[(.*)\]", dynamic) != [name]:
        fail(f"{name} has another SONAME than its name")
    segments = readelf(path, "-l")
    loads = re.findall(r"^ +LOAD .* (0x[0-9a-f]+)$", segments, re.MULTILINE)
    if not loads or any(int(align, 16) != PAGE for align in loads):
        fail(f"{name} is aligned for {loads}")
    if re.search(r"^ +TLS ", segments, re.MULTILINE):
        fail(f"{name} has thread-local storage")
    identity = re.search(r"Build ID: ([0-9a-f]+)", readelf(path, "-n"))
    if identity is None or len(identity[1]) != 40:
        fail(f"{name} has no build-id of 20 bytes")
    symbols = readelf(path, "-s", "--dyn-syms")
    for word in set(re.findall(r"(?:__emutls|_ZT[ISV]|_Unwind|__cxa_|__gxx)\w*", symbols)):
        if word not in TOOLCHAIN and word != "__emutls_unregister_key":  # of Android's start file
            fail(f"{name} has {word}")
    if re.search(r" UND _Z", symbols):
        fail(f"{name} needs a C++ library")
    size = sum(int(length, 16) for length in
               re.findall(r"^ +LOAD +\S+ +\S+ +\S+ +\S+ +(0x[0-9a-f]+)", segments, re.MULTILINE))
    print(f"{target.abi}: {name}: {path.stat().st_size} bytes, {size} of them in memory, "
          f"{len(undefined(path))} symbols from elsewhere")


def look_at_both(target):
    libraries = {name: next(target.prefix.rglob(f"lib{name}.so"))
                 for name in ("wyx_commlib", "wyx_os_adapter")}
    look_at(target, libraries["wyx_commlib"], {"libwyx_os_adapter.so", "libc.so"})
    look_at(target, libraries["wyx_os_adapter"], {"libc.so"})
    services = set((SOURCE / "platform/exports.txt").read_text().split())
    more = undefined(libraries["wyx_commlib"]) - services - TOOLCHAIN - {"memcpy", "strtoul"}
    if more:
        fail(f"the library needs {sorted(more)}")
    # The linker has checked this for both libraries; here the result is printed.
    listed = set((target.sysroot / "usr/lib" / target.triple / str(API) / "symbols.txt")
                 .read_text().split())
    needed = undefined(libraries["wyx_os_adapter"])
    if not needed or needed - listed:
        fail(f"the adapter needs {sorted(needed - listed)}")
    print(f"{target.abi}: the adapter needs from Android: {' '.join(sorted(needed - TOOLCHAIN))}")


def plant_faults(target):
    """Code that a library must not contain has to be a build error."""
    link = ["-shared", "-fPIC", "-fuse-ld=lld", "-nostdlib++", "-rtlib=libgcc", "--unwindlib=none",
            "-Wl,-z,defs", "-o", os.devnull, "-x", "c++", "-"]
    for code, symbol in (
            ('extern "C" int getpid(); int f() { return getpid(); }', None),
            ('extern "C" int getrandom(); int f() { return getrandom(); }', "getrandom"),
            ("thread_local int i; int f() { return i; }", "__emutls_get_address"),
            ("int *f() { return new int; }", "operator new")):
        linked = run(*target.clang("c++"), *link, input=code, check=False)
        if symbol is None and linked.returncode != 0:
            fail(f"a library without a mistake cannot be linked: {linked.stdout}")
        if symbol is not None and f"undefined symbol: {symbol}" not in linked.stdout:
            fail(f"a library that needs {symbol} was linked: {linked.stdout}")


def make_shim(target):
    """Android's errno, on Debian's C library."""
    target.shim.parent.mkdir()
    run(target.gcc, "-shared", "-fPIC", "-Wl,-soname,libc.so", "-x", "c", "-o", target.shim, "-",
        input="#include <errno.h>\n"
              "int *__errno(void);\n"
              "int *__errno(void) { return &errno; }\n"
              # Android's stack protector reads its value at a fixed distance from the thread
              # pointer. On this C library, the thread-local storage of the first library is there.
              "__thread volatile char acSlots[128];\n")
    target.run_folder.mkdir()
    for library in target.prefix.rglob("libwyx_*.so"):
        for suffix in ("", ".1"):
            (target.run_folder / (library.name + suffix)).symlink_to(library)


def compile_program(target, name, sources):
    """A program in plain C, compiled against Android's headers, linked to run here."""
    objects = []
    for source in sources:
        objects.append(target.work / "programs" / f"{name}-{source.stem}.o")
        objects[-1].parent.mkdir(exist_ok=True)
        run(*target.clang("c"), "-std=c99", "-D_GNU_SOURCE", "-Wall", "-Wextra", "-Wpedantic",
            "-Werror", "-fPIC", "-c", source, "-o", objects[-1],
            *(f"-I{SOURCE / folder}" for folder in ("include", "platform", "tests/support")))
    program = target.work / "programs" / name
    libraries = [target.run_folder / f"lib{library}.so"
                 for library in ("wyx_commlib", "wyx_os_adapter")]
    run(target.gcc, *objects, *libraries, target.shim, "-Wl,--allow-shlib-undefined", "-o", program)
    return program


def save(target):
    """Checks the system calls of a save, from the creation of the new file on."""
    if not shutil.which(f"qemu-{target.processor}"):
        print(f"{target.abi}: qemu-{target.processor} is not installed: no list of system calls")
        return
    program = compile_program(target, "save_client", [SOURCE / "tests/library/syscalls/save_client.c"])
    document = target.work / "save.ini"
    document.write_text("[a]\n" + "".join(f"k{i} = {i}\n" for i in range(2000)))
    root = ["-L", "/"] if target.native else target.emulator[1:]
    settings = [f"LD_LIBRARY_PATH={target.run_folder}", f"LD_PRELOAD={target.shim}"]
    saved = run(f"qemu-{target.processor}", *root, "-strace", "-E", settings[0], "-E", settings[1],
                program, document, "a", "k7", "new", check=False)
    calls = re.findall(r"^\d+ (\w+)\((.*)\)", saved.stdout, re.MULTILINE)
    start = max((i for i, (call, arguments) in enumerate(calls)
                 if call == "openat" and "O_CREAT" in arguments), default=None)
    if saved.returncode != 0 or start is None or "k7=new\n" not in document.read_text():
        fail(f"a save: {saved.returncode}, {saved.stdout[-2000:]}")
        return
    names = [call for call, _ in calls[start:] if not call.startswith("exit")]
    print(f"{target.abi}: a save of 2000 keys: {' '.join(names)}")
    flushed = names.index("fsync") if "fsync" in names else 0
    last = max((i for i, call in enumerate(names) if call == "fsync"), default=0)
    wanted = re.compile(r"fsync .*fsync .*unlink(at)? .*rename(at2?)? .*fsync")
    if not wanted.search(" ".join(names)):
        fail("the system calls of a save are not in the right order")
    for call in names[flushed:last]:
        if FORBIDDEN.search(call):
            fail(f"a save calls {call} after its file is written: is something allocated there?")


def binds_here(target, command):
    """Whether the dynamic linker takes the libraries for this program from the folder of links."""
    loaded = run(*command, check=False, env=target.environment(LD_TRACE_LOADED_OBJECTS="1")).stdout
    folders = set(re.findall(r"=> (.*)/libwyx_(?:commlib|os_adapter)\.so", loaded))
    return folders == {str(target.run_folder)}


def run_suite(target, tests):
    """Tests whether the adapter for Android keeps the contract."""
    ran = run(*tests["adapter_contract_test"]["command"], target.run_folder / "libwyx_os_adapter.so",
              check=False, cwd=target.work, env=target.environment())
    kept = re.search(r"# (\d+) kept, 0 broken", ran.stdout)
    if ran.returncode != 0 or kept is None:
        fail(f"the adapter: {ran.stdout[-4000:]}")
    else:
        print(f"{target.abi}: {kept[1]} promises kept by the adapter")


def run_programs(target, tests):
    """The examples and the tests in plain C."""
    count = 0
    for source in sorted((SOURCE / "tests").glob("*/*_header_test.c")) \
            + [SOURCE / "tests/shipping/install/consumer/consumer.c"]:
        program = compile_program(target, source.stem, [source])
        ran = run(*target.emulator, program, check=False, cwd=target.work, env=target.environment())
        if ran.returncode != 0:
            fail(f"{source.name}: {ran.returncode} {ran.stdout}")
        count += 1
    for source in sorted((SOURCE / "examples").glob("*.c")):
        program = compile_program(target, source.stem, [source])
        command = [*target.emulator, program]
        if not binds_here(target, command):
            fail(f"{source.name} does not run on the libraries for Android")
        # Run as in the build folder, except for the program and its folder.
        ran = run(*(f"-DCOMMAND={';'.join(map(str, command))}" if word.startswith("-DCOMMAND=")
                    else f"-DFOLDER={target.work / 'example'}" if word.startswith("-DFOLDER=")
                    else word for word in tests[source.stem]["command"]), check=False,
                  env=target.environment())
        if ran.returncode != 0:
            fail(f"{source.name}: {ran.stdout}")
        count += 1
    # C++ for Android has the headers of libc++; its programs cannot be linked here.
    run(*target.clang("c++"), "-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-nostdinc++",
        "-isystem", target.sysroot / "usr/include/c++/v1", "-fsyntax-only",
        f"-I{SOURCE / 'include'}", f"-I{SOURCE / 'platform'}", SOURCE / "examples/cpp_example.cpp")
    print(f"{target.abi}: {count} programs compiled against Android's headers, and run")


def run_tests(target, tests):
    """The tests of a release build that call the libraries."""
    programs, cases = 0, 0
    for name, test in tests.items():
        command = test["command"]
        program = pathlib.Path(command[-1])
        properties = {p["name"]: p["value"] for p in test["properties"]}
        labels = set(properties.get("LABELS", []))
        emulator = [pathlib.Path(word).name if at == 0 else word
                    for at, word in enumerate(command[:-1])]
        if emulator != target.emulator or "slow" in labels or not labels & MODULES \
                or not program.is_file() or not program.read_bytes().startswith(b"\x7fELF") \
                or "libwyx_commlib.so" not in readelf(program, "-d"):
            continue
        if not binds_here(target, command):
            fail(f"{name} does not run on the libraries for Android")
            continue
        ran = run(*command, check=False, cwd=properties.get("WORKING_DIRECTORY"),
                  env=target.environment())
        if ran.returncode != 0:
            fail(f"{name}: {ran.returncode}\n{ran.stdout[-4000:]}")
        programs += 1
        cases += sum(map(int, re.findall(r"\[  PASSED  \] (\d+) test", ran.stdout)))
    print(f"{target.abi}: {programs} test programs, {cases} cases passed")
    if cases == 0:
        fail("no test ran")


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in PRESETS:
        sys.exit(__doc__)
    bionic = os.environ.get("WYX_BIONIC", "")
    if not bionic:
        skip("WYX_BIONIC names no folder with Android's headers")
    if not (pathlib.Path(bionic) / "libc/libc.map.txt").exists():
        skip(f"no libc/libc.map.txt in WYX_BIONIC ({bionic})")
    target = Target(sys.argv[1], pathlib.Path(sys.argv[2]).resolve())
    target.needs()
    build_all(target)
    look_at_both(target)
    plant_faults(target)
    make_shim(target)
    listed = json.loads(run("ctest", "--test-dir", sys.argv[3], "--show-only=json-v1").stdout)
    tests = {test["name"]: test for test in listed["tests"] if "command" in test}
    run_suite(target, tests)
    run_programs(target, tests)
    save(target)
    run_tests(target, tests)
    print("failures:", failures)
    sys.exit(failures != 0)


if __name__ == "__main__":
    main()
