"""What the documents say about CTest and the presets is true: ctest_test.py BUILD_FOLDER CTEST"""
import json
import re
import subprocess
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
BUILD, CTEST = Path(sys.argv[1]), sys.argv[2]
PAGES = [*ROOT.glob("*.md"), *ROOT.glob("docs/**/*.md")]


def tests(*options):
    command = [CTEST, "--test-dir", BUILD, "-C", "slow", *options, "--show-only=json-v1"]
    return json.loads(subprocess.run(command, check=True, capture_output=True).stdout)["tests"]


class Documents(unittest.TestCase):
    def test_every_test_has_its_folders_as_labels(self):
        checked = 0
        for test in tests():
            properties = {each["name"]: each["value"] for each in test["properties"]}
            folder = Path(properties["WORKING_DIRECTORY"])
            if folder.is_relative_to(BUILD / "tests"):
                folders = set(folder.relative_to(BUILD / "tests").parts)
                self.assertLessEqual(folders, set(properties.get("LABELS", [])), test["name"])
                checked += 1
        self.assertGreater(checked, 40)

    def test_every_preset_exists(self):
        presets = json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]
        names = [preset["name"] for preset in presets]
        named = {name for page in PAGES
                 for name in re.findall(r"--preset[ =]([a-z0-9_-]+)", page.read_text())}
        self.assertGreater(len(named), 3)
        for name in named:  # where it ends in a dash, a shell variable completes it
            self.assertTrue(name in names or name.endswith("-") and any(
                full.startswith(name) for full in names), name)

    def test_every_command_finds_tests(self):
        """CTest exits with 0 if it finds no test, so this looks for the tests themselves."""
        if BUILD.name not in ("dev", "release"):
            self.skipTest("the commands are for the presets dev and release")
        filters = {found for page in PAGES for found in re.findall(
            rf"ctest --preset {BUILD.name} [^`\n#]*(-[LR]) ([a-z0-9_]+)", page.read_text())}
        self.assertTrue(filters)
        for option, expression in filters:
            self.assertTrue(tests(option, expression), f"{option} {expression}")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
