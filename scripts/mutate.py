#!/usr/bin/env python3
"""Plants small mistakes in src/ and sees whether the tests notice.

    scripts/mutate.py                       every mistake, in a build of its own (hours)
    scripts/mutate.py --module crc          those of one module
    scripts/mutate.py --sample 60 --seed 1  some of them, the same ones for the same seed

A mistake is a changed operator, constant, condition or result, or a statement left out. Each is
planted in a copy of its unit outside the tree; only that unit is compiled again, and the library is
linked from it and the other units' objects. So is every test that has the unit compiled into it, as
those of code for another CPU than the library's have, or that includes a header of src/. The mistake
is

    killed      if a test of its module fails or hangs, or a static assertion does
    equivalent  if the optimised object is the same, byte for byte: there is no mistake to notice
    elsewhere   if this machine compiles the line nowhere
    invalid     if it does not compile or link
    untried     if --seconds were over
    surviving   otherwise. What survives the release build is tried again under the sanitizers.

Tests of a module are those in tests/<module>/, and those of tests/fuzz/ and tests/failures/, those
first that killed much in little time. A survivor must be listed in tests/mutation/survivors.txt
with the reason why no test can see it. The run fails for one that is not, for a listed one that a
test sees after all, and, unless it is a sample, where fewer than 97 of 100 mistakes that can be seen
were killed.

Give --build and --asan-build to use the folders of the presets "release" and "asan" that are built
already, from this tree.
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

TREE = pathlib.Path(__file__).resolve().parent.parent
SOURCES = pathlib.Path("src/commlib")
SURVIVORS = pathlib.Path("tests/mutation/survivors.txt")
SHARED_TESTS = ("fuzz", "failures")
NO_TESTS_OF_CODE = re.compile(r"_(header|symbols|wipe)_test$")
LEAST_KILLED = 0.97
COMPILE_LIMIT = 60  # seconds

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)

TOKEN = re.compile(
    r"""(?P<space>\s+)
      | (?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<directive>^[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)
      | (?P<string>"(?:[^"\\\n]|\\.)*")
      | (?P<char>'(?:[^'\\\n]|\\.)+')
      | (?P<number>0[xX][0-9A-Fa-f']+[uUlL]*|[0-9][0-9']*[uUlL]*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<operator><<=|>>=|<=>|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|::|.)
    """,
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

BINARY = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
    "==": ("!=",), "!=": ("==",), "&&": ("||",), "||": ("&&",),
    "+": ("-",), "-": ("+",), "*": ("+",), "/": ("*",), "%": ("/",),
    "&": ("|",), "|": ("&",), "^": ("|",), "<<": (">>",), ">>": ("<<",),
    "+=": ("-=",), "-=": ("+=",), "|=": ("&=",), "&=": ("|=",), "^=": ("|=",),
    "<<=": (">>=",), ">>=": ("<<=",),
}
CHARS = {"\\n": "\\r", "\\r": "\\n", "\\t": " ", "\\0": "\\1", "\\\\": "/", "\\'": "\\\""}
NO_STATEMENT = {
    "return", "using", "namespace", "static", "const", "constexpr", "consteval", "template",
    "static_assert", "case", "default", "public", "private", "struct", "class", "enum", "typedef",
    "extern", "else", "do", "for", "while", "if", "switch", "friend", "inline", "union",
}

Token = collections.namedtuple("Token", "kind text start")
Mutant = collections.namedtuple("Mutant", "file start end new what")


def tokens_of(text):
    """All tokens but spaces and comments; a static assertion is left out whole."""
    tokens = [Token(m.lastgroup, m.group(), m.start()) for m in TOKEN.finditer(text)]
    kept = []
    depth = 0
    skipping = False
    for token in tokens:
        if skipping:
            depth += (token.text == "(") - (token.text == ")")
            skipping = not (token.text == ";" and depth == 0)
        elif token.text == "static_assert":
            skipping, depth = True, 0
        elif token.kind not in ("space", "comment", "directive"):
            kept.append(token)
    return kept


def closing(tokens, i):
    """Index of the bracket that closes the one at i."""
    depth = 0
    for j in range(i, len(tokens)):
        depth += (tokens[j].text in "([{") - (tokens[j].text in ")]}")
        if depth == 0:
            return j
    return i


def plus_one(number):
    match = re.fullmatch(r"(0[xX])?([0-9A-Fa-f']+?)([uUlL]*)", number)
    prefix, digits, suffix = match.group(1) or "", match.group(2).replace("'", ""), match.group(3)
    value = int(digits, 16 if prefix else 10) + 1
    return f"{prefix}{value:X}{suffix}" if prefix else f"{value}{suffix}"


def next_char(literal):
    body = literal[1:-1]
    if body in CHARS:
        return f"'{CHARS[body]}'"
    if body.startswith("\\"):
        return None
    following = chr(ord(body) + 1)
    return f"'{following}'" if following not in "'\\\x7f" else None


def other_text(literal):
    body = literal[1:-1]
    if not body or body[0] in "\\%":
        return f'"?{body}"' if body else None
    return f'"{chr(ord(body[0]) ^ 1)}{body[1:]}"' if body[0] not in '#!Z[]' else f'"?{body[1:]}"'


def mutants_of(name, text):
    tokens = tokens_of(text)
    found = []

    def plant(start, end, new, what):
        found.append(Mutant(name, start, end, new, what))

    for i, token in enumerate(tokens):
        start, end = token.start, token.start + len(token.text)
        before, behind = text[start - 1 : start], text[end : end + 1]
        after = tokens[i + 1] if i + 1 < len(tokens) else None
        previous = tokens[i - 1] if i > 0 else None
        if token.kind == "operator":
            if token.text in BINARY and before.isspace() and behind.isspace():
                for new in BINARY[token.text]:
                    plant(start, end, new, f"{token.text} becomes {new}")
            elif token.text in ("++", "--"):
                new = "--" if token.text == "++" else "++"
                plant(start, end, new, f"{token.text} becomes {new}")
            elif token.text == "!":
                plant(start, end, "", "! left out")
            elif token.text == "~":
                plant(start, end, "", "~ left out")
        elif token.kind == "number":
            new = plus_one(token.text)
            plant(start, end, new, f"{token.text} becomes {new}")
        elif token.kind == "char":
            new = next_char(token.text)
            if new:
                plant(start, end, new, f"{token.text} becomes {new}")
        elif token.kind == "string":
            new = other_text(token.text)
            if new and (previous is None or previous.text != "extern"):
                plant(start, end, new, f"{token.text} becomes {new}")
        elif token.text in ("true", "false"):
            new = "false" if token.text == "true" else "true"
            plant(start, end, new, f"{token.text} becomes {new}")
        elif token.text in ("if", "while") and after is not None and after.text == "(":
            close = tokens[closing(tokens, i + 1)].start
            inner = after.start + 1
            if token.text == "if":
                plant(inner, close, f"!({text[inner:close]})", "if negated")
            else:
                plant(inner, close, f"false && ({text[inner:close]})", "while never")
        elif token.text == "return" and after is not None and after.text != ";":
            j = i
            while tokens[j].text != ";":
                j = closing(tokens, j) + 1 if tokens[j].text in "([{" else j + 1
            if text[after.start : tokens[j].start] not in ("0", "nullptr", "false", "{}"):
                plant(after.start, tokens[j].start, "{}", "nothing returned")

        # A statement that stands alone: a call, an assignment, a jump.
        begins = previous is not None and previous.text in (";", "{", "}", ")", "else", ":")
        if not begins or token.text in NO_STATEMENT or token.kind not in ("word", "operator"):
            continue
        if token.kind == "operator" and token.text not in ("*", "++", "--", "("):
            continue
        j = i
        while j < len(tokens) and tokens[j].text not in (";", "{", "}", ")", "]"):
            j = closing(tokens, j) + 1 if tokens[j].text in "([" else j + 1
        if j >= len(tokens) or tokens[j].text != ";":
            continue
        statement = tokens[i:j]
        texts = [t.text for t in statement]
        if previous.text == ")" and texts[0] in ("*", "("):
            continue
        is_jump = texts in (["break"], ["continue"], ["return"])
        declares = len(statement) > 1 and statement[0].kind == "word" and (
            statement[1].kind == "word" or (texts[1] in "*&" and len(texts) > 2 and
                                             text[statement[1].start + 1] != " "))
        acts = any(t in texts for t in ("(", "=", "++", "--", "+=", "-=", "|=", "&=", "^=", "<<="))
        if is_jump or (acts and not declares):
            plant(token.start, tokens[j].start, "", "left out")
    return found


class Place:
    """The line of a mutant, its text, and which of its kind it is on that line."""

    def __init__(self, mutant, text, ordinal):
        begin = text.rfind("\n", 0, mutant.start) + 1
        end = text.find("\n", mutant.start)
        self.number = text.count("\n", 0, mutant.start) + 1
        self.text = " ".join(text[begin:end].split())
        suffix = f" (#{ordinal})" if ordinal > 1 else ""
        self.key = (mutant.file, self.text, mutant.what + suffix)


def run(command, **options):
    return subprocess.run(command, check=True, text=True, capture_output=True, **options).stdout


def without(command, *options):
    """A command without some options and their values."""
    return [w for before, w in zip(["", *command], command)
            if w not in options and before not in options]


def finish(process, limit):
    """What a process of its own session writes to stderr; None if it had to be ended."""
    try:
        return process.communicate(timeout=limit)[1] or ""
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.communicate()
        return None


class Image:
    """What is linked from units of the library: the library itself, or a test that has its own."""

    def __init__(self, build, target, compiles):
        self.build = build
        self.target = target
        self.compiles = compiles  # by unit: the command, and the object as the linker takes it
        self.plain = {}  # objects of the unchanged units, compiled by the same road
        lines = run(["ninja", "-C", str(build.folder), "-t", "commands", target]).splitlines()
        link = [line for line in lines if re.search(rf" -o {re.escape(target)}\S* ", line)][-1]
        link = re.sub(r"^: && ", "", re.sub(r" && :.*$", "", link))
        self.link = shlex.split(link)

    def parts_of(self, unit):
        """The files that the compiler reads for a unit, those of the system left out."""
        command = [w for w in without(self.compiles[unit][0], "-o", "-MF", "-MT")
                   if w not in ("-MD", "-c")]
        rule = run([*command, "-MM"], cwd=self.build.folder).replace("\\\n", " ")
        return {os.path.relpath(self.build.folder / name, self.build.tree)
                for name in rule.split(":", 1)[1].split()}

    def compile(self, unit, root, output):
        """Compiles a unit of a copy of the tree: None, or why that failed."""
        sources = f"{self.build.tree / SOURCES}/"
        command = [w.replace(f"-I{sources}", f"-I{root / SOURCES}/")
                   for w in self.compiles[unit][0]]
        command[command.index("-o") + 1] = str(output)
        command[command.index("-c") + 1] = str(root / unit)
        command = [w for w in without(command, "-MF", "-MT")
                   if w not in ("-MD", "-Werror", "-g") and w[:2] != "-W"]
        # The copy is to name itself as the original does, and equal code to give an equal object.
        command += ["-w", "-fno-lto", "-frandom-seed=0", f"-ffile-prefix-map={root}/="]
        process = subprocess.Popen(command, text=True, cwd=self.build.folder, start_new_session=True,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        errors = finish(process, COMPILE_LIMIT)  # what runs at compile time may run for ever
        return None if process.returncode == 0 else errors or "no end"

    def link_with(self, objects, output):
        """Links with other objects, by unit, in place of the unchanged ones. Does that work?"""
        other = {self.compiles[unit][1]: str(path) for unit, path in objects.items()}
        command = [other.get(word, word) for word in self.link]
        command[command.index("-o") + 1] = str(output)
        return subprocess.run(command, cwd=self.build.folder,
                              capture_output=True).returncode == 0


class Build:
    """A built folder: what is linked from the library's units, and the tests."""

    def __init__(self, folder, tree):
        self.folder = folder
        self.tree = tree
        headers = {h.name for h in (tree / SOURCES).rglob("*.h")}
        images = collections.defaultdict(dict)
        for entry in json.loads((folder / "compile_commands.json").read_text()):
            source = pathlib.Path(entry["file"])
            included = {pathlib.Path(name).name for name in INCLUDE.findall(source.read_text())}
            is_test = source.is_relative_to(tree / "tests") and included & headers
            if source.is_relative_to(tree / SOURCES) or is_test:
                command = shlex.split(entry["command"])
                output = command[command.index("-o") + 1]
                target = re.search(r"(.*)/CMakeFiles/([^/]+)\.dir/", output).groups()
                images[target][str(source.relative_to(tree))] = (command, output)
        self.library = Image(self, "lib/libwyx_commlib.so",
                             images.pop((str(SOURCES), "wyx_commlib")))
        self.tests = collections.defaultdict(list)
        self.with_units = collections.defaultdict(list)
        listing = json.loads(run(["ctest", "--test-dir", str(folder), "--show-only=json-v1"]))
        for test in listing["tests"]:
            command = test.get("command")
            if not command:
                continue
            properties = {p["name"]: p["value"] for p in test.get("properties", [])}
            if "slow" in properties.get("LABELS", []) or NO_TESTS_OF_CODE.search(test["name"]):
                continue
            program = pathlib.Path(command[0])
            if len(command) != 1 or not program.is_relative_to(folder / "tests"):
                continue
            target = (str(program.parent.relative_to(folder)), program.name)
            if target in images:
                image = Image(self, "/".join(target), images[target])
                self.with_units[program.parent.name].append(image)
            else:
                self.tests[program.parent.name].append(program)

    def images(self, file):
        """What the file's module is linked into, the library first."""
        return [self.library] + self.with_units[module_of(file)]


def module_of(file):
    return pathlib.Path(file).relative_to(SOURCES).parts[0]


class Runner:
    def __init__(self, builds, tree, work, deadline):
        self.builds = builds
        self.tree = tree
        self.work = work
        self.deadline = deadline
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
            if module_of(file) in pathlib.Path(unit).parts:
                if (image, unit) not in self.parts:
                    self.parts[image, unit] = image.parts_of(unit)
                if file in self.parts[image, unit]:
                    with_it.append(unit)
        return with_it

    def copy_of_module(self, file):
        """A fresh copy of a file's module and its tests, for the calling worker."""
        root = self.folder() / "tree"
        shutil.rmtree(root, ignore_errors=True)
        module = module_of(file)
        for folder in (SOURCES / module, pathlib.Path("tests") / module):
            shutil.copytree(self.tree / folder, root / folder)
        return root

    def tests_of(self, build, file):
        programs = [p for folder in (module_of(file), *SHARED_TESTS) for p in build.tests[folder]]
        return sorted(programs, key=lambda p: -(self.kills[file, p] + 0.1) /
                      (self.durations.get(p, 0) + 0.02))

    def path(self, build, is_changed=True):
        """Where a test finds the worker's library, if that is changed, and the build's own ones."""
        changed = f"{self.library().parent}:" if is_changed else ""
        return f"{changed}{build.folder / 'lib'}"

    def run_test(self, build, program, limit, is_changed):
        environment = dict(os.environ, LD_LIBRARY_PATH=self.path(build, is_changed),
                           WYX_TEST_SEED="1",
                           UBSAN_OPTIONS="halt_on_error=1", TMPDIR=str(self.folder()))
        process = subprocess.Popen(
            [program, "--gtest_fail_fast", "--gtest_brief=1"], env=environment,
            cwd=self.folder(), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, start_new_session=True)
        return finish(process, limit) is not None and process.returncode == 0

    def library(self):
        folder = self.folder() / "lib"
        folder.mkdir(exist_ok=True)
        return folder / "libwyx_commlib.so.1"

    def test_with_units(self):
        return self.folder() / "test_with_units"

    def expect_pass(self, build, program, key):
        begin = time.monotonic()
        if not self.run_test(build, program, 600, True):
            sys.exit(f"{key} fails without a mistake planted")
        self.durations[key] = time.monotonic() - begin

    def compile_plain(self, image, unit, file):
        with self.lock:
            self.plain_objects += 1
            output = self.work / f"{self.plain_objects}.o"
        errors = image.compile(unit, self.copy_of_module(file), output)
        if errors is not None:
            sys.exit(f"{unit} does not compile:\n{errors}")
        image.plain[unit] = output

    def prepare(self, files, pool):
        """Compiles what is not changed by the same road, and sees that all tests pass with it."""
        for build in self.builds:
            images = dict.fromkeys(i for file in files for i in build.images(file))
            units = {(image, unit): file for image in images for file in files
                     for unit in self.units_with(image, file)}
            for end in [pool.submit(self.compile_plain, *unit, file)
                        for unit, file in units.items()]:
                end.result()
            for image in images:
                output = self.library() if image is build.library else self.test_with_units()
                if not image.link_with(image.plain, output):
                    sys.exit(f"{image.target} cannot be linked")
                if image is not build.library:
                    self.expect_pass(build, output, image)
            library = self.library()
            for program in sorted({p for file in files for p in self.tests_of(build, file)}):
                loaded = run(["ldd", str(program)],
                             env=dict(os.environ, LD_LIBRARY_PATH=self.path(build)))
                if str(library) not in loaded:
                    sys.exit(f"{program} does not take the library from {library}")
                self.expect_pass(build, program, program)

    def compile_all(self, image, file, root):
        """The objects of an image with a changed file, by unit, those that are the same left out;
        or how the compiler ended."""
        objects = {}
        for number, unit in enumerate(self.units_with(image, file)):
            output = self.folder() / f"{number}.o"
            errors = image.compile(unit, root, output)
            if errors is not None:
                # GCC says the first, Clang the second.
                failed = "static assertion failed" in errors or "static_assert failed" in errors
                return objects, "killed" if failed else "invalid"
            if output.read_bytes() != image.plain[unit].read_bytes():
                objects[unit] = output
        return objects, None

    def is_compiled(self, mutant, text, root):
        """Does any image of the first build compile the line of a mistake?"""
        begin = text.rfind("\n", 0, mutant.start) + 1
        marked = text[:begin] + "#error compiled\n" + text[begin:]
        (root / mutant.file).write_text(marked)
        return any(self.compile_all(image, mutant.file, root)[1] is not None
                   for image in self.builds[0].images(mutant.file))

    def fails(self, build, program, key, file, is_changed):
        if self.run_test(build, program, 5 + 5 * self.durations[key], is_changed):
            return False
        with self.lock:
            self.kills[file, key] += 1
        return True

    def judge(self, mutant):
        if self.deadline is not None and time.monotonic() > self.deadline:
            return "untried"
        text = (self.tree / mutant.file).read_text()
        mutated = text[: mutant.start] + mutant.new + text[mutant.end :]
        root = self.copy_of_module(mutant.file)
        (root / mutant.file).write_text(mutated)
        for build in self.builds:
            is_changed = False  # the library
            same = True
            for image in build.images(mutant.file):
                objects, end = self.compile_all(image, mutant.file, root)
                if end is not None:
                    return end
                same = same and not objects
                is_library = image is build.library
                output = self.library() if is_library else self.test_with_units()
                if objects and not image.link_with(image.plain | objects, output):
                    return "invalid"
                if is_library:
                    is_changed = bool(objects)
                    programs = self.tests_of(build, mutant.file) if is_changed else []
                    tests = [(program, program) for program in programs]
                else:
                    # Its own code has changed, or that of the library which it calls.
                    program = output if objects else build.folder / image.target
                    tests = [(program, image)] if objects or is_changed else []
                for program, key in tests:
                    if self.fails(build, program, key, mutant.file, is_changed):
                        return "killed"
            if same and build is self.builds[0]:
                return "equivalent" if self.is_compiled(mutant, text, root) else "elsewhere"
        return "surviving"


def listed_survivors(path, places):
    """Reasons by place: blocks of file, line, mistake and reason, apart by an empty line."""
    listed = {}
    if not path.exists():
        return listed
    for block in re.split(r"\n\s*\n", path.read_text()):
        lines = [line for line in block.splitlines() if line and not line.startswith("#")]
        if lines:
            fields = dict(line.split(": ", 1) for line in lines)
            for what in fields["mistake"].split(" | "):
                keys = [(fields["file"], fields["line"], what)]
                if what.startswith("each "):
                    keys = [p.key for p in places if p.key[:2] == keys[0][:2] and
                            re.sub(r" \(#\d+\)$", "", p.key[2]) == what[5:]] or keys
                listed.update(dict.fromkeys(keys, fields["reason"]))
    return listed


def built(name, folder):
    """Configures and builds a preset, unless its folder is given."""
    if folder is not None:
        return folder.resolve()
    folder = TREE / "build" / f"mutate-{name}"
    run(["cmake", "--preset", name, "-B", str(folder), "-DWYX_BUILD_TOOL=OFF",
         "-DWYX_BUILD_EXAMPLES=OFF"], cwd=TREE)
    subprocess.run(["cmake", "--build", str(folder)], check=True)
    return folder


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--module", action="append", help="a folder of src/commlib")
    parser.add_argument("--file", action="append", help="a file there, by its name alone")
    parser.add_argument("--sample", type=int, help="how many mistakes to plant")
    parser.add_argument("--seed", type=int, default=0, help="which ones")
    parser.add_argument("--seconds", type=float, help="try no further mistake after that time")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--build", type=pathlib.Path, help="a built folder of the preset release")
    parser.add_argument("--asan-build", type=pathlib.Path, help="a built folder of the preset asan")
    parser.add_argument("--no-asan", action="store_true", help="do not try again under sanitizers")
    parser.add_argument("--report", type=pathlib.Path, help="write every mistake and its end here")
    parser.add_argument("--list", action="store_true", help="only list the mistakes")
    arguments = parser.parse_args()

    files = sorted(str(p.relative_to(TREE)) for p in (TREE / SOURCES).rglob("*")
                   if p.suffix in (".cpp", ".h"))
    if arguments.module:
        files = [f for f in files if module_of(f) in arguments.module]
    if arguments.file:
        files = [f for f in files if pathlib.Path(f).name in arguments.file]
    mutants = []
    places = {}
    for file in files:
        text = (TREE / file).read_text()
        ordinals = collections.Counter()
        for mutant in mutants_of(file, text):
            line = (text.count("\n", 0, mutant.start), mutant.what)
            ordinals[line] += 1
            places[mutant] = Place(mutant, text, ordinals[line])
            mutants.append(mutant)
    if arguments.sample is not None and arguments.sample < len(mutants):
        mutants = random.Random(arguments.seed).sample(mutants, arguments.sample)
        files = sorted({m.file for m in mutants})
    if arguments.list:
        for mutant in mutants:
            print(f"{mutant.file}:{places[mutant].number}: {places[mutant].key[2]}: "
                  f"{places[mutant].text}")
        print(f"{len(mutants)} mistakes")
        return 0

    folders = [built("release", arguments.build)]
    if not arguments.no_asan:
        folders.append(built("asan", arguments.asan_build))
    listed = listed_survivors(TREE / SURVIVORS, places.values())
    ends = {}
    with tempfile.TemporaryDirectory(prefix="wyx_mutate_") as work:
        begin = time.monotonic()
        deadline = begin + arguments.seconds if arguments.seconds is not None else None
        runner = Runner([Build(f, TREE) for f in folders], TREE, pathlib.Path(work), deadline)
        with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
            runner.prepare(files, pool)
            for mutant, end in zip(mutants, pool.map(runner.judge, mutants)):
                ends[mutant] = end
                place = places[mutant]
                if end == "surviving":
                    known = "listed" if place.key in listed else "NOT LISTED"
                    print(f"survives ({known}): {mutant.file}:{place.number}: {place.key[2]}\n"
                          f"    {place.text}", flush=True)
                if len(ends) % 100 == 0:
                    print(f"{len(ends)} of {len(mutants)} done", flush=True)

    counts = collections.Counter(ends.values())
    surviving = [places[m].key for m in mutants if ends[m] == "surviving"]
    unlisted = [key for key in surviving if key not in listed]
    reached = collections.defaultdict(set)  # a line may stand in a file more than once
    for mutant, place in places.items():
        reached[place.key].add(ends.get(mutant, "untried"))
    unseen = {"surviving", "equivalent", "elsewhere", "untried"}  # another compiler may differ
    wrong = sorted(k for k in listed if k in reached and not reached[k] & unseen)
    gone = []
    if arguments.sample is None:
        gone = sorted(k for k in listed if k not in reached and k[0] in files)
    if arguments.report:
        arguments.report.write_text("".join(
            f"{ends[m]}\t{m.file}:{places[m].number}\t{places[m].key[2]}\t{places[m].text}\n"
            for m in mutants))
    for key in wrong:
        print(f"listed as surviving, but {' and '.join(sorted(reached[key]))}: {key}")
    for key in gone:
        print(f"listed, but there is no such mistake any more: {key}")

    # A listed survivor that no test can see, since nothing changes, is no mistake either.
    hidden = sum(1 for k in surviving if listed.get(k, "").startswith("equivalent"))
    visible = counts["killed"] + counts["surviving"] - hidden
    share = counts["killed"] / visible if visible else 1.0
    print(f"{len(mutants)} mistakes: {counts['killed']} killed, {counts['surviving']} surviving "
          f"({hidden} of them equivalent by reasoning), {counts['equivalent']} with the same "
          f"object, {counts['elsewhere']} compiled elsewhere only, {counts['invalid']} not "
          f"compiling, {counts['untried']} untried; "
          f"{100 * share:.1f} % of those that can be seen were killed")
    is_low = arguments.sample is None and share < LEAST_KILLED
    return 1 if unlisted or wrong or gone or is_low else 0


if __name__ == "__main__":
    sys.exit(main())
