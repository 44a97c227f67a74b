#!/usr/bin/env python3
"""Plants small mistakes in the sources and checks whether the tests notice.

    scripts/mutate.py                       every mistake in src/ and platform/ (hours)
    scripts/mutate.py --module crc          those of one module; also: platform, tool
    scripts/mutate.py --sample 60 --seed 1  some of them, chosen by the seed

A mistake is a changed operator, constant, condition or result, or a statement left out
(scripts/mutants.py). Each is planted in a copy of its module outside the tree. Only the units that read
the changed file are compiled again, and the library, adapter or tool is linked from them and the other
units' objects. A test of a module is built again, too, if one of its own units reads the changed file: a
source that includes a header of src/, or a unit of the product that is compiled into the test, such as
code for another CPU than the library's. The mistake is

    killed      if a test of its module fails or hangs, or a static assertion fails
    equivalent  if the optimised object is the same, byte for byte: there is no mistake to notice
    elsewhere   if no build compiles the line
    invalid     if it does not compile or link
    untried     if --seconds had passed and --least mistakes had been tried
    surviving   otherwise. Survivors of the release build are tried again under the sanitizers.

Bounds on lines marked "speed only" are left out. The tests of a module are those in
tests/<module>/, tests/fuzz/ and tests/library/failures/; those of the adapter are in
tests/platform/, tests/library/threads/ and tests/library/syscalls/, and the suite in
tools/adapter_suite/; those of the tool are in tests/tool/. Only programs are run, without the slow
ones and those that NO_TESTS_OF_CODE matches; the tests that kill the most mistakes in the least time
run first.

A survivor must be listed in tests/project/mutation/survivors.txt with the reason why no test can see
it. The run fails if a survivor is not listed, if a test kills a listed mistake, if nothing was
killed, or if mistakes were left although fewer than --least were tried. Unless it is a sample, it
also fails if a listed mistake no longer exists, or if fewer than 97 of 100 mistakes that can be
seen were killed.

With --build and --asan-build, existing build folders of the presets "release" and "asan" are used;
they must be built from this tree. Mistakes in lines that these builds do not compile are planted in the
--cross-build of the preset "aarch64", whose tests run under emulation.
"""

import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import random
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

sys.dont_write_bytecode = True
import mutants  # noqa: E402

TREE = pathlib.Path(__file__).resolve().parent.parent
SURVIVORS = pathlib.Path("tests/project/mutation/survivors.txt")
NO_TESTS_OF_CODE = re.compile(r"_(header|symbols|wipe|multiples)_test$|^wipe_test$")
LEAST_KILLED = 0.97
COMPILE_LIMIT = 60  # seconds

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)

# The parts of the tree: where their sources are, what is linked from them, and the folders in
# tests/ that test them besides the module's own.
Part = collections.namedtuple("Part", "sources product tests")
PARTS = {
    "library": Part(pathlib.Path("src/commlib"), r"lib/libwyx_commlib\.so[.\d]*", ("fuzz", "failures")),
    "platform": Part(pathlib.Path("platform"), r"lib/libwyx_os_adapter\.so[.\d]*",
                     ("threads", "syscalls", "adapter_suite")),
    "tool": Part(pathlib.Path("tools/wyx"), r"(?:.*/)?wyx", ()),
}


def part_of(file):
    return next(name for name, part in PARTS.items()
                if pathlib.Path(file).is_relative_to(part.sources))


def module_of(file):
    """The module of a source file; the folder of its tests has the same name. Files that all modules
    share belong to "library"."""
    part = part_of(file)
    module = pathlib.Path(file).relative_to(PARTS[part].sources).parts[0]
    return module if part == "library" and module != pathlib.Path(file).name else part


def folders_of(file):
    """The folders that a worker needs to change a file: the sources and tests of its module."""
    part, module = part_of(file), module_of(file)
    sources = PARTS[part].sources
    return (sources if module == part else sources / module, pathlib.Path("tests") / module)


def test_folders_of(file):
    """The folders in tests/ whose tests may notice a mistake in a file."""
    part = part_of(file)
    modules = [module_of(file)]
    if modules == ["library"]:
        modules = sorted(f.name for f in (TREE / PARTS[part].sources).iterdir() if f.is_dir())
    return (*modules, *PARTS[part].tests)


def run(command, **options):
    return subprocess.run(command, check=True, text=True, capture_output=True, **options).stdout


def without(command, *options):
    """A command without some options and their values."""
    return [w for before, w in zip(["", *command], command)
            if w not in options and before not in options]


def finish(process, limit):
    """What a process in a session of its own writes to stderr; None if it had to be killed."""
    try:
        return process.communicate(timeout=limit)[1] or ""
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.communicate()
        return None


class Image:
    """What can be linked again: a library, the tool, or a test of which some units read the product's sources."""

    def __init__(self, build, target, link, compiles):
        self.build = build
        self.target = target
        self.link = link
        self.compiles = compiles  # by unit: the command, and the object as the link command names it
        self.plain = {}  # objects of the unchanged units, compiled in the same way

    def parts_of(self, unit):
        """The files that the compiler reads for a unit, except the system's."""
        command = [w for w in without(self.compiles[unit][0], "-o", "-MF", "-MT")
                   if w not in ("-MD", "-c")]
        rule = run([*command, "-MM"], cwd=self.build.folder).replace("\\\n", " ")
        return {os.path.relpath(self.build.folder / name, self.build.tree)
                for name in rule.split(":", 1)[1].split()}

    def compile(self, unit, root, folders, output):
        """Compiles a unit from a copy of some folders; returns None, or why that failed."""
        def moved(word):
            if not word.startswith("-I"):
                return word
            folder = os.path.relpath(word[2:], self.build.tree)
            is_copied = any(pathlib.Path(folder).is_relative_to(f) for f in folders)
            return f"-I{root / folder}" if is_copied else word

        command = [moved(w) for w in self.compiles[unit][0]]
        command[command.index("-o") + 1] = str(output)
        command[command.index("-c") + 1] = str(root / unit)
        command = [w for w in without(command, "-MF", "-MT")
                   if w not in ("-MD", "-Werror", "-g") and w[:2] != "-W"]
        # The object names the original's files, not the copy's, so that equal code makes an equal object.
        command += ["-w", "-fno-lto", "-frandom-seed=0", f"-ffile-prefix-map={root}/="]
        process = subprocess.Popen(command, text=True, cwd=self.build.folder, start_new_session=True,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        errors = finish(process, COMPILE_LIMIT)  # compile-time evaluation may never end
        return None if process.returncode == 0 else errors or "no end"

    def link_with(self, objects, output):
        """Links with other objects, by unit, in place of the unchanged ones; did that succeed?"""
        other = {self.compiles[unit][1]: str(path) for unit, path in objects.items()}
        # Without the linker's map, which footprint.sh reads from the build folder.
        command = [other.get(word, word) for word in self.link if not word.startswith("-Wl,-Map=")]
        command[command.index("-o") + 1] = str(output)
        return subprocess.run(command, cwd=self.build.folder,
                              capture_output=True).returncode == 0


class Test(collections.namedtuple("Test", "folder program emulator")):
    """A test program of the build, its folder in tests/, and the emulator that runs it."""


class Build:
    """A build folder: what is linked from the product's units, and the tests."""

    def __init__(self, folder, tree):
        self.folder = folder
        self.tree = tree
        roots = [tree / part.sources for part in PARTS.values()]
        headers = {h.name for h in (tree / PARTS["library"].sources).rglob("*.h")}
        objects = {}  # by name: unit and command
        for entry in json.loads((folder / "compile_commands.json").read_text()):
            source = pathlib.Path(entry["file"])
            if not source.is_relative_to(tree):
                continue
            is_product = any(source.is_relative_to(root) for root in roots)
            included = {pathlib.Path(name).name for name in INCLUDE.findall(source.read_text())}
            if is_product or (source.is_relative_to(tree / "tests") and included & headers):
                command = shlex.split(entry["command"])
                if pathlib.Path(command[0]).name == "ccache":
                    command.pop(0)
                objects[command[command.index("-o") + 1]] = (str(source.relative_to(tree)), command)
        links = {}
        for line in run(["ninja", "-C", str(folder), "-t", "commands"]).splitlines():
            line = re.sub(r"^: && ", "", re.sub(r" && .*$", "", line.removeprefix(": && ")))
            if " -o " in line and " -c " not in line:
                command = shlex.split(line)
                links[command[command.index("-o") + 1]] = command

        def image(target):
            compiles = {objects[word][0]: (objects[word][1], word)
                        for word in links[target] if word in objects}
            return Image(self, target, links[target], compiles) if compiles else None

        self.products = {}
        for name, part in PARTS.items():
            target = next((t for t in links if re.fullmatch(part.product, t)), None)
            if target is not None:
                self.products[name] = image(target)
        self.tests = collections.defaultdict(list)
        self.with_units = collections.defaultdict(list)
        own_folders = {f.name for f in (tree / PARTS["library"].sources).iterdir()} | PARTS.keys()
        listing = json.loads(run(["ctest", "--test-dir", str(folder), "--show-only=json-v1"]))
        for test in listing["tests"]:
            command = test.get("command")
            if not command:
                continue
            properties = {p["name"]: p["value"] for p in test.get("properties", [])}
            if "slow" in properties.get("LABELS", []) or NO_TESTS_OF_CODE.search(test["name"]):
                continue
            program = pathlib.Path(command[-1])
            is_emulated = len(command) > 1 and "qemu" in pathlib.Path(command[0]).name
            is_test = any(program.is_relative_to(folder / f) for f in ("tests", "tools/adapter_suite"))
            if not is_test or not (len(command) == 1 or is_emulated):
                continue
            target = str(program.relative_to(folder))
            entry = Test(program.parent.name, program, tuple(command[:-1]))
            # A test of all modules is run as it is, even if it includes a header of one.
            own = image(target) if target in links and entry.folder in own_folders else None
            if own is not None:
                self.with_units[entry.folder].append((entry, own))
            else:
                self.tests[entry.folder].append(entry)

    def images(self, file):
        """What the file's module is linked into, the product first."""
        own = [image for _, image in self.with_units[module_of(file)]]
        product = self.products.get(part_of(file))
        return ([product] if product is not None else []) + own


class Runner:
    def __init__(self, builds, cross, tree, work, deadline=None, least=0):
        self.builds = builds
        self.cross = cross
        self.tree = tree
        self.work = work
        self.deadline = deadline
        self.least = least
        self.tried = 0
        self.local = threading.local()
        self.number = 0
        self.lock = threading.Lock()
        self.durations = {}
        self.kills = collections.Counter()  # by file and test
        self.parts = {}  # files by image and unit
        self.plain_objects = 0

    def folder(self):
        if not hasattr(self.local, "folder"):
            with self.lock:
                self.number += 1
                self.local.folder = self.work / f"worker{self.number}"
            self.local.folder.mkdir(parents=True)
        return self.local.folder

    def units_with(self, image, file):
        """The units of an image that a file is part of."""
        with_it = []
        for unit in sorted(image.compiles):
            in_module = any(pathlib.Path(unit).is_relative_to(f) for f in folders_of(file))
            if in_module:
                with self.lock:
                    known = self.parts.get((image, unit))
                if known is None:
                    known = image.parts_of(unit)
                    with self.lock:
                        self.parts[image, unit] = known
                if file in known:
                    with_it.append(unit)
        return with_it

    def copy_of_module(self, file):
        """A fresh copy of a file's module and its tests, for the calling worker."""
        root = self.folder() / "tree"
        shutil.rmtree(root, ignore_errors=True)
        for folder in folders_of(file):
            if (self.tree / folder).is_dir():
                shutil.copytree(self.tree / folder, root / folder)
        return root

    def tests_of(self, build, file):
        tests = [test for folder in test_folders_of(file) for test in build.tests[folder]]
        return sorted(tests, key=lambda t: -(self.kills[file, t] + 0.1) /
                      (self.durations.get((build, t), 0) + 0.02))

    def product(self, name):
        """Where the worker links its own library or tool."""
        folder = self.folder() / name
        folder.mkdir(exist_ok=True)
        return folder / {"library": "libwyx_commlib.so.1", "platform": "libwyx_os_adapter.so.1",
                         "tool": "wyx"}[name]

    def environment(self, build, changed):
        """The environment in which a test finds the worker's product, if that changed, or the build's."""
        libraries = [str(build.folder / "lib")]
        environment = dict(os.environ, WYX_TEST_SEED="1", UBSAN_OPTIONS="halt_on_error=1",
                           TMPDIR=str(self.folder()), GTEST_FAIL_FAST="1", GTEST_BRIEF="1")
        if changed in ("library", "platform"):
            libraries.insert(0, str(self.product(changed).parent))
        if changed == "platform":
            environment["WYX_OS_ADAPTER"] = str(self.product(changed))  # the suite opens it
        elif changed == "tool":
            environment["WYX_TEST_TOOL"] = str(self.product("tool"))
        return dict(environment, LD_LIBRARY_PATH=":".join(libraries))

    def run_test(self, build, test, limit, changed):
        process = subprocess.Popen(
            [*test.emulator, test.program], env=self.environment(build, changed),
            cwd=self.folder(), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, start_new_session=True)
        return finish(process, limit) is not None and process.returncode == 0

    def own_test(self, test):
        """The test as the worker links it."""
        return test._replace(program=self.folder() / "test_with_units")

    def expect_pass(self, build, test, key, changed):
        begin = time.monotonic()
        if not self.run_test(build, test, 600, changed):
            sys.exit(f"{key.program} fails without a mistake planted")
        self.durations[build, key] = time.monotonic() - begin

    def compile_plain(self, image, unit, file):
        with self.lock:
            self.plain_objects += 1
            output = self.work / f"{self.plain_objects}.o"
        errors = image.compile(unit, self.copy_of_module(file), folders_of(file), output)
        if errors is not None:
            sys.exit(f"{unit} does not compile:\n{errors}")
        image.plain[unit] = output

    def prepare(self, files, pool):
        """Compiles the unchanged units as the changed ones will be, and checks that all tests pass."""
        for build in [*self.builds, *([self.cross] if self.cross else [])]:
            images = dict.fromkeys(i for file in files for i in build.images(file))
            units = {(image, unit): file for image in images for file in files
                     if image in build.images(file) for unit in self.units_with(image, file)}
            for end in [pool.submit(self.compile_plain, *unit, file)
                        for unit, file in units.items()]:
                end.result()
            for name, product in build.products.items():
                if product not in images:
                    continue
                if not product.link_with(product.plain, self.product(name)):
                    sys.exit(f"{product.target} cannot be linked")
                tests = {t for file in files if part_of(file) == name
                         for t in self.tests_of(build, file)}
                for test in sorted(tests):
                    self.expect_product(build, name, test)
                    self.expect_pass(build, test, test, name)
            for test, image in {pair for file in files for pair in build.with_units[module_of(file)]
                                if pair[1] in images}:
                if not image.link_with(image.plain, self.own_test(test).program):
                    sys.exit(f"{image.target} cannot be linked")
                self.expect_pass(build, self.own_test(test), test, None)

    def expect_product(self, build, name, test):
        """A library that a test does not load would let every mistake survive."""
        if name == "tool" or test.folder in ("syscalls", "adapter_suite"):
            return  # these start other programs, or open the library themselves
        environment = dict(self.environment(build, name), LD_TRACE_LOADED_OBJECTS="1")
        if test.emulator:  # the emulator would trace itself
            return
        if str(self.product(name)) not in run([test.program], env=environment):
            sys.exit(f"{test.program} does not load {self.product(name)}")

    def compile_all(self, image, file, root):
        """Compiles the units of an image with a changed file. Returns those objects that differ, by unit,
        and the outcome if one does not compile: killed or invalid, else None."""
        objects = {}
        for number, unit in enumerate(self.units_with(image, file)):
            output = self.folder() / f"{number}.o"
            errors = image.compile(unit, root, folders_of(file), output)
            if errors is not None:
                # GCC prints the first, Clang the second.
                failed = "static assertion failed" in errors or "static_assert failed" in errors
                return objects, "killed" if failed else "invalid"
            if output.read_bytes() != image.plain[unit].read_bytes():
                objects[unit] = output
        return objects, None

    def is_compiled(self, build, mutant, text, root):
        """Does any image of a build compile the line of a mistake?"""
        begin = text.rfind("\n", 0, mutant.start) + 1
        marked = text[:begin] + "#error compiled\n" + text[begin:]
        (root / mutant.file).write_text(marked)
        return any(self.compile_all(image, mutant.file, root)[1] is not None
                   for image in build.images(mutant.file))

    def fails(self, build, test, key, file, changed):
        if self.run_test(build, test, 5 + 5 * self.durations[build, key], changed):
            return False
        with self.lock:
            self.kills[file, key] += 1
        return True

    def end_in(self, build, mutant, root):
        """How a mistake ends in one build: killed, invalid, same or surviving."""
        own = dict((image, test) for test, image in build.with_units[module_of(mutant.file)])
        part = part_of(mutant.file)
        changed = None
        is_same = True
        for image in build.images(mutant.file):
            objects, end = self.compile_all(image, mutant.file, root)
            if end is not None:
                return end
            is_same = is_same and not objects
            is_product = image not in own
            output = self.product(part) if is_product else self.folder() / "test_with_units"
            if objects and not image.link_with(image.plain | objects, output):
                return "invalid"
            if is_product:
                changed = part if objects else None
                tests = self.tests_of(build, mutant.file) if objects else []
                runs = [(test, test) for test in tests]
            else:
                # Its own code has changed, or the code of the product that it calls.
                test = own[image]
                runs = [(self.own_test(test) if objects else test, test)]
                if not objects and changed is None:
                    runs = []
            for test, key in runs:
                if self.fails(build, test, key, mutant.file, changed):
                    return "killed"
        return "same" if is_same else "surviving"

    def judge(self, mutant):
        with self.lock:
            if self.deadline is not None and time.monotonic() > self.deadline and \
                    self.tried >= self.least:
                return "untried"
            self.tried += 1
        text = (self.tree / mutant.file).read_text()
        mutated = text[: mutant.start] + mutant.new + text[mutant.end :]
        root = self.copy_of_module(mutant.file)
        (root / mutant.file).write_text(mutated)
        end = self.end_in(self.builds[0], mutant, root)
        if end == "same":
            if self.is_compiled(self.builds[0], mutant, text, root):
                return "equivalent"
            if self.cross is None or not self.is_compiled(self.cross, mutant, text, root):
                return "elsewhere"
            (root / mutant.file).write_text(mutated)
            return self.end_in(self.cross, mutant, root).replace("same", "equivalent")
        for build in self.builds[1:]:
            if end == "surviving":
                end = self.end_in(build, mutant, root).replace("same", "surviving")
        return end


def built(name, folder, with_tool):
    """Configures and builds a preset, unless its folder is given."""
    if folder is not None:
        return folder.resolve()
    folder = TREE / "build" / f"mutate-{name}"
    run(["cmake", "--preset", name, "-B", str(folder),
         f"-DWYX_BUILD_TOOL={'ON' if with_tool else 'OFF'}", "-DWYX_BUILD_EXAMPLES=OFF"], cwd=TREE)
    subprocess.run(["cmake", "--build", str(folder)], check=True)
    return folder


def faults_of(ends, places, listed, files, least, is_sample):
    """The reasons why a run fails, from the outcome of each mistake; none if it passes."""
    faults = []
    reached = collections.defaultdict(set)  # a file may contain a line more than once
    for mutant, place in places.items():
        reached[place.key].add(ends.get(mutant, "untried"))
    for mutant, end in ends.items():
        if end == "surviving" and places[mutant].key not in listed:
            faults.append(f"survives without a reason: {places[mutant].key}")
    unseen = {"surviving", "equivalent", "elsewhere", "untried"}  # another compiler may differ
    for key in sorted(listed):
        if key in reached and not reached[key] & unseen:
            faults.append(f"listed as surviving, but {' and '.join(sorted(reached[key]))}: {key}")
        elif key not in reached and key[0] in files and not is_sample:
            faults.append(f"listed, but there is no such mistake any more: {key}")
    counts = collections.Counter(ends.values())
    tried = len(ends) - counts["untried"]
    if tried < least:
        faults.append(f"only {tried} mistakes were tried, not {least}")
    if counts["killed"] == 0:
        faults.append("no mistake was killed")
    if not is_sample and share_killed(ends, places, listed) < LEAST_KILLED:
        faults.append(f"less than {LEAST_KILLED:.0%} were killed")
    return faults


def hidden_of(ends, places, listed):
    """Listed survivors that change nothing a test could see, and so are not mistakes."""
    return [m for m, end in ends.items() if end == "surviving" and
            listed.get(places[m].key, "").startswith("equivalent")]


def share_killed(ends, places, listed):
    """How many of the mistakes that can be seen were killed."""
    counts = collections.Counter(ends.values())
    visible = counts["killed"] + counts["surviving"] - len(hidden_of(ends, places, listed))
    return counts["killed"] / visible if visible else 0.0


def chosen_files(modules=None, names=None):
    """The source files of some modules or names; by default all but the tool's."""
    files = sorted(str(p.relative_to(TREE)) for part in PARTS.values()
                   for p in (TREE / part.sources).rglob("*")
                   if p.suffix in (".cpp", ".h"))
    if names:
        return [f for f in files if pathlib.Path(f).name in names]
    if modules:
        return [f for f in files if module_of(f) in modules]
    return [f for f in files if part_of(f) != "tool"]


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--module", action="append",
                        help="a folder of src/commlib; library: what they share; platform; tool")
    parser.add_argument("--file", action="append", help="a source file, by its name alone")
    parser.add_argument("--sample", type=int, help="how many mistakes to plant")
    parser.add_argument("--seed", type=int, default=0, help="which mistakes --sample chooses")
    parser.add_argument("--seconds", type=float, help="try no more mistakes after this time")
    parser.add_argument("--least", type=int, default=40,
                        help="try this many even after --seconds; the run fails with fewer")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--build", type=pathlib.Path, help="a build folder for the preset release")
    parser.add_argument("--asan-build", type=pathlib.Path, help="a build folder for the preset asan")
    parser.add_argument("--cross-build", type=pathlib.Path, help="a build folder for the preset aarch64")
    parser.add_argument("--no-asan", action="store_true", help="do not try again under sanitizers")
    parser.add_argument("--report", type=pathlib.Path, help="write every mistake and its outcome here")
    parser.add_argument("--list", action="store_true", help="only list the mistakes")
    arguments = parser.parse_args()

    files = chosen_files(arguments.module, arguments.file)
    places = {}
    for file in files:
        places |= mutants.places_of(file, (TREE / file).read_text())
    planted = [m for m, place in places.items() if not place.is_marked]
    marked = len(places) - len(planted)
    if arguments.sample is not None and arguments.sample < len(planted):
        planted = random.Random(arguments.seed).sample(planted, arguments.sample)
        files = sorted({m.file for m in planted})
    if arguments.list:
        for mutant in planted:
            print(f"{mutant.file}:{places[mutant].number}: {places[mutant].key[2]}: "
                  f"{places[mutant].text}")
        print(f"{len(planted)} mistakes; {marked} bounds marked as speed only")
        return 0

    with_tool = any(part_of(f) == "tool" for f in files)
    folders = [built("release", arguments.build, with_tool)]
    if not arguments.no_asan:
        folders.append(built("asan", arguments.asan_build, with_tool))
    listed = mutants.listed_survivors(TREE / SURVIVORS, places.values())
    least = min(arguments.least, len(planted))
    ends = {}
    with tempfile.TemporaryDirectory(prefix="wyx_mutate_") as work:
        os.chmod(work, 0o755)  # some tests drop root's rights
        cross = Build(arguments.cross_build.resolve(), TREE) if arguments.cross_build else None
        runner = Runner([Build(f, TREE) for f in folders], cross, TREE, pathlib.Path(work))
        with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
            runner.prepare(files, pool)
            if arguments.seconds is not None:
                runner.deadline = time.monotonic() + arguments.seconds
            runner.least = least
            for mutant, end in zip(planted, pool.map(runner.judge, planted)):
                ends[mutant] = end
                place = places[mutant]
                if end == "surviving":
                    known = "listed" if place.key in listed else "NOT LISTED"
                    print(f"survives ({known}): {mutant.file}:{place.number}: {place.key[2]}\n"
                          f"    {place.text}", flush=True)
                if len(ends) % 100 == 0:
                    print(f"{len(ends)} of {len(planted)} done", flush=True)

    if arguments.report:
        arguments.report.write_text("".join(
            f"{ends[m]}\t{m.file}:{places[m].number}\t{places[m].key[2]}\t{places[m].text}\n"
            for m in planted))
    counts = collections.Counter(ends.values())
    print(f"{len(planted)} mistakes: {counts['killed']} killed, {counts['surviving']} surviving "
          f"({len(hidden_of(ends, places, listed))} of them equivalent by reasoning), "
          f"{counts['equivalent']} with the same object, {counts['elsewhere']} compiled elsewhere "
          f"only, {counts['invalid']} not compiling, {counts['untried']} untried; "
          f"{100 * share_killed(ends, places, listed):.1f} % of those that can be seen were killed; "
          f"{marked} bounds marked as speed only were left out")
    faults = faults_of(ends, places, listed, set(files), least, arguments.sample is not None)
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
