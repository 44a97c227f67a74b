"""The scripts that plant mistakes: what can be planted in a sample, and when a run fails."""
import collections
import sys
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(HERE.parents[2] / "scripts"))
import mutants  # noqa: E402
import mutate  # noqa: E402

SAMPLE = """\
#include "sample.h"
namespace sample {
static_assert(sizeof(int) == 4, "a + b");
constexpr int kLimit = 0x10; // <= 16
constexpr char kMark = ';';
/* if (a < b) */
int Sum(const char *psz, int iCount, bool isFound)
{
    int iSum = 0;
    for (int i = 0; i < iCount; ++i) {
        if (psz[i] == kMark && !isFound) {
            break;
        }
        Note("sum", iSum);
    }
    if (iCount > 64) { // speed only: the loop for few is faster
        return Many(psz);
    }
    return isFound ? iSum : -1;
}
} // namespace sample
"""


def planted(text=SAMPLE):
    """What each mistake makes of its line: {line number: {new text of the line, ...}}."""
    lines = collections.defaultdict(set)
    for m in mutants.mutants_of("sample.cpp", text):
        number = text.count("\n", 0, m.start) + 1
        changed = text[: m.start] + m.new + text[m.end :]
        lines[number].add(" ".join(changed.splitlines()[number - 1].split()))
    return lines


class Planting(unittest.TestCase):
    def test_each_line_has_exactly_these_mistakes(self):
        self.assertEqual({
            4: {"constexpr int kLimit = 0x11; // <= 16"},
            5: {"constexpr char kMark = '<';"},
            9: {"int iSum = 1;"},
            10: {"for (int i = 1; i < iCount; ++i) {", "for (int i = 0; i <= iCount; ++i) {",
                 "for (int i = 0; i >= iCount; ++i) {", "for (int i = 0; i < iCount; --i) {"},
            11: {"if (psz[i] != kMark && !isFound) {", "if (psz[i] == kMark || !isFound) {",
                 "if (psz[i] == kMark && isFound) {", "if (!(psz[i] == kMark && !isFound)) {"},
            12: {";"},
            14: {";", 'Note("rum", iSum);'},
            16: {"if (iCount >= 64) { // speed only: the loop for few is faster",
                 "if (iCount <= 64) { // speed only: the loop for few is faster",
                 "if (iCount > 65) { // speed only: the loop for few is faster",
                 "if (!(iCount > 64)) { // speed only: the loop for few is faster"},
            17: {"return {};"},
            19: {"return {};", "return isFound ? iSum : -2;"},
        }, dict(planted()))

    def test_only_the_bound_on_the_marked_line_is_marked(self):
        places = mutants.places_of("sample.cpp", SAMPLE).values()
        self.assertEqual([(16, "64 becomes 65"), (16, "> becomes >=")],
                         sorted((p.number, p.key[2]) for p in places if p.is_marked))

    def test_a_marked_constant_is_a_bound(self):
        place, = mutants.places_of("a.cpp", "constexpr int kMin = 5; // speed only").values()
        self.assertTrue(place.is_marked)

    def test_other_numbers_on_a_marked_line_are_not_bounds(self):
        text = "for (; left >= 28; left -= 24) { // speed only"
        marked = [p.key[2] for p in mutants.places_of("a.cpp", text).values() if p.is_marked]
        self.assertEqual([">= becomes >", "28 becomes 29"], marked)

    def test_a_marker_is_a_comment(self):
        places = mutants.places_of("a.cpp", 'f("speed only", 1 < 2);').values()
        self.assertFalse(any(p.is_marked for p in places))

    def test_the_second_of_a_kind_on_a_line_has_a_number(self):
        keys = [p.key for p in mutants.places_of("a.cpp", "int a = 1 + b + 1;").values()]
        self.assertIn(("a.cpp", "int a = 1 + b + 1;", "1 becomes 2"), keys)
        self.assertIn(("a.cpp", "int a = 1 + b + 1;", "1 becomes 2 (#2)"), keys)


class Fake:
    """A run over the mistakes of a small text; the test decides how each ends."""

    def __init__(self, text="x = 1;\ny = 2;\nz = 3;\n", listed=None):
        self.places = mutants.places_of("a.cpp", text)
        self.listed = listed or {}

    def faults(self, *ends, least=1, is_sample=True):
        chosen = dict(zip(self.places, ends))
        return mutate.faults_of(chosen, self.places, self.listed, {"a.cpp"}, least, is_sample)


ONE = ("a.cpp", "x = 1;", "1 becomes 2")


class Verdict(unittest.TestCase):
    def test_a_run_that_kills_everything_passes(self):
        self.assertEqual([], Fake().faults(*["killed"] * 3))
        self.assertEqual([], Fake().faults(*["killed"] * 6, is_sample=False))

    def test_a_run_that_tries_nothing_fails(self):
        self.assertEqual(["only 0 mistakes were tried, not 2", "no mistake was killed"],
                         Fake().faults("untried", "untried", "untried", least=2))
        self.assertTrue(Fake().faults(least=0))

    def test_a_run_that_tries_too_few_fails(self):
        self.assertEqual(["only 1 mistakes were tried, not 2"],
                         Fake().faults("killed", "untried", "untried", least=2))

    def test_a_run_that_kills_nothing_fails(self):
        self.assertEqual(["no mistake was killed"], Fake().faults("equivalent", "elsewhere", "invalid"))

    def test_an_unlisted_survivor_fails(self):
        fault, = Fake().faults("killed", "surviving")
        self.assertIn("survives without a reason", fault)

    def test_a_listed_survivor_passes(self):
        fake = Fake()
        first = next(iter(fake.places.values())).key
        self.assertEqual([], Fake(listed={first: "equivalent: why"}).faults("surviving", "killed"))

    def test_a_listed_mistake_that_is_killed_fails(self):
        fake = Fake()
        first = next(iter(fake.places.values())).key
        fault, = Fake(listed={first: "why"}).faults("killed")
        self.assertIn("listed as surviving, but killed", fault)

    def test_a_stale_entry_fails_only_a_whole_run(self):
        fake = Fake(listed={("a.cpp", "w = 0;", "0 becomes 1"): "why"})
        self.assertEqual([], fake.faults(*["killed"] * 6))
        fault, = fake.faults(*["killed"] * 6, is_sample=False)
        self.assertIn("no such mistake any more", fault)

    def test_a_whole_run_that_kills_too_few_fails(self):
        fake = Fake()
        reasons = {p.key: "no test can see it" for p in fake.places.values()}
        fake.listed = reasons
        ends = ["killed"] + ["surviving"] * (len(fake.places) - 1)
        self.assertIn("less than 97% were killed", fake.faults(*ends, is_sample=False))


class Survivors(unittest.TestCase):
    def test_each_entry_names_a_mistake_that_can_be_planted(self):
        places = {}
        for file in mutate.chosen_files() + mutate.chosen_files(["tool"]):
            places |= mutants.places_of(file, (mutate.TREE / file).read_text())
        keys = {p.key for p in places.values()}
        listed = mutants.listed_survivors(mutate.TREE / mutate.SURVIVORS, places.values())
        self.assertGreater(len(listed), 10)
        self.assertEqual([], sorted(k for k in listed if k not in keys))


class Files(unittest.TestCase):
    def test_a_file_belongs_to_a_part_and_a_module(self):
        for file, module in (("src/commlib/crc/source/crc16_arth.cpp", "crc"),
                             ("src/commlib/blocks.h", "library"),
                             ("platform/linux/file.cpp", "platform"),
                             ("tools/wyx/verbs/addr.cpp", "tool")):
            self.assertEqual(module, mutate.module_of(file))

    def test_shared_files_are_tested_by_every_module(self):
        self.assertIn("src/commlib/blocks.h", mutate.chosen_files(["library"]))
        folders = mutate.test_folders_of("src/commlib/blocks.h")
        self.assertLessEqual({"slink", "hash", "base64", "ini_parser", "fuzz", "failures"},
                             set(folders))
        self.assertEqual(("crc", "fuzz", "failures"),
                         mutate.test_folders_of("src/commlib/crc/source/crc16_arth.cpp"))

    def test_all_parts_have_sources(self):
        modules = {mutate.module_of(f) for f in mutate.chosen_files()}
        self.assertLessEqual({"crc", "ini_parser", "platform"}, modules)
        self.assertNotIn("tool", modules)
        self.assertEqual({"platform"}, {mutate.part_of(f) for f in mutate.chosen_files(["platform"])})
        self.assertTrue(mutate.chosen_files(["tool"]))


if __name__ == "__main__":
    unittest.main()
