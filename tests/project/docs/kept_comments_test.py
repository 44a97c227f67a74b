"""Every *Kept* comment of the product names a test, and that test exists: kept_comments_test.py"""
import re
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
FOLDERS = ("include", "platform", "src", "tools")
TEST = re.compile(r"^(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", re.M)
NAME = re.compile(r"\b([A-Z]\w*)\.([A-Z]\w*)\b")


def kept_comments(text):
    """(line number, text from *Kept* on) for each comment; it ends where the comment lines end."""
    comment = re.compile(r"//+ ?(.*)|^ *\*(?!/) ?(.*)")
    lines = text.split("\n")
    for at, line in enumerate(lines):
        if not re.search(r"(//+ |\* |^ *\*? *|\. )Kept\b", line) or not comment.search(line):
            continue
        said = [line[line.index("Kept"):]]
        for following in lines[at + 1:]:
            match = re.fullmatch(r"\s*//+ ?(.*)", following) or \
                re.fullmatch(r"\s*\*(?!/) ?(.*)", following)
            if not match:
                break
            said.append(match[1])
        yield at + 1, " ".join(said)


def tests():
    """The names of all tests in headers and in the units of test programs."""
    found = set()
    for list_file in (ROOT / "tests").rglob("CMakeLists.txt"):
        listed = list_file.read_text(encoding="utf-8")
        for file in list_file.parent.glob("*.cpp"):
            if re.search(rf"\b{file.stem}\b|\b{file.stem.removesuffix('_test')}\b", listed):
                found |= set(TEST.findall(file.read_text(encoding="utf-8")))
    for header in (ROOT / "tests").rglob("*.h"):
        found |= set(TEST.findall(header.read_text(encoding="utf-8")))
    return found


def faults(where, text, known):
    for line, said in kept_comments(text):
        named = NAME.findall(said)
        if not said.startswith("Kept:"):
            yield f"{where}:{line}: begins with Kept, but not with 'Kept:'"
        elif not named:
            yield f"{where}:{line}: names no test"
        for test in named:
            if test not in known:
                yield f"{where}:{line}: there is no test {'.'.join(test)}"


class KeptComments(unittest.TestCase):
    def test_each_names_a_test_that_exists(self):
        known, wrong, count = tests(), [], 0
        for folder in FOLDERS:
            for file in sorted((ROOT / folder).rglob("*")):
                if file.suffix in (".h", ".cpp"):
                    text = file.read_text(encoding="utf-8")
                    count += len(list(kept_comments(text)))
                    wrong += faults(file.relative_to(ROOT), text, known)
        self.assertEqual([], wrong)
        self.assertGreater(count, 30)

    def test_a_missing_name_and_a_missing_test_are_noticed(self):
        known = {("Unit", "DoesIt")}
        self.assertEqual([], list(faults("f", "  // Kept: it\n  // does (Unit.DoesIt).\n x", known)))
        self.assertEqual([], list(faults("f", "/// So it is. Kept: it does\n/// (Unit.DoesIt).", known)))
        self.assertEqual(["f:1: names no test"], list(faults("f", "// Kept: it does.\nx", known)))
        self.assertEqual(["f:1: there is no test Unit.DidIt"],
                         list(faults("f", "// Kept: it did (Unit.DidIt).", known)))
        self.assertEqual(["f:2: begins with Kept, but not with 'Kept:'"],
                         list(faults("f", "x\n// Kept as a number.", known)))

    def test_tests_of_every_kind_are_known(self):
        kinds = "TEST(A, B)\nTEST_F(C, D)\nTEST_P(E,\n       F)\nTYPED_TEST_P(G, H)\n"
        self.assertEqual([("A", "B"), ("C", "D"), ("E", "F"), ("G", "H")], TEST.findall(kinds))


if __name__ == "__main__":
    sys.exit(unittest.main())
