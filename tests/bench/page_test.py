"""The page of a run: every figure of it, nothing from elsewhere, and a warning if one is due."""
import json
import re
import sys
import unittest
import xml.etree.ElementTree
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(HERE.parents[1] / "bench/compare"))
import page  # noqa: E402

RUNS = json.loads((HERE / "run.json").read_text())


def rendered(runs=None):
    return "\n".join(page.page(runs or RUNS))


class Page(unittest.TestCase):
    def test_it_is_well_formed_and_loads_nothing(self):
        text = rendered()
        xml.etree.ElementTree.fromstring(text.split("\n", 1)[1])
        self.assertNotRegex(text, r"https?:|url\(|@import|<script|src=")

    def test_it_names_machine_compiler_date_and_both_builds(self):
        text = rendered()
        for said in ("Some &lt;CPU&gt;; 4 processors", "GCC 12", "baseline, best",
                     "2026-01-02 03:04 UTC to 2026-01-02 03:09 UTC"):
            self.assertIn(f"<dd>{said}</dd>", text)

    def test_members_that_an_older_run_does_not_have_are_unknown(self):
        old = [{k: v for k, v in run.items() if k not in ("date", "cpus", "others")} for run in RUNS]
        self.assertIn("<dt>Date</dt><dd>unknown</dd>", rendered(old))

    def test_each_peer_and_limit_has_a_chart_that_says_its_ratios(self):
        labels = re.findall(r'aria-label="([^"]*)"', rendered())
        self.assertEqual(
            ["Ratios against zlib &amp; co: 16 B baseline 0.50; 1 KiB baseline 4.00, best 16.0",
             "Ratios limit: reading: 1 KiB baseline 0.20",
             "Ratios against a table: query all, at random, 1000 best 1.00"], labels)

    def test_each_figure_is_in_the_table(self):
        rows = re.findall(r"<tr>(<td>.*?)</tr>", rendered())
        cells = [re.sub(r"<span[^>]*>|</span>", "", row).split("</td><td>") for row in rows]
        self.assertEqual(["<td>16 B", "baseline", "8.00 ns", "2.00", "0.50 ± 0.01 [0.40]", "</td>"],
                         cells[0])
        self.assertEqual(["<td>1 KiB", "baseline", "100 ns", "10.2", "4.00 ± 0.25 [5.00] missed",
                          "0.20 ± 0.30</td>"], cells[1])
        self.assertEqual(["<td>query all, at random, 1000", "best", "12.3 ms", "", "1.00 ± 0.00, one run cannot decide</td>"],
                         cells[3])

    def test_it_counts_the_targets_that_were_missed(self):
        self.assertIn("<dt>Targets missed</dt><dd>1</dd>", rendered())

    def test_a_busy_machine_is_told_of(self):
        self.assertNotIn('class="warning"', rendered())
        busy = [dict(run, others=1.5) for run in RUNS]
        self.assertRegex(rendered(busy), 'class="warning".*\n?.* 38% of its processors')


class Scale(unittest.TestCase):
    def test_one_is_always_there_and_everything_in_order_within_the_chart(self):
        for ratios in ([3, 5], [0.2, 0.3], [0.001, 100]):
            scale = page.Scale(ratios, 70)
            places = [scale.x(r) for r in sorted([*ratios, 1])]
            self.assertEqual(places, sorted(places))
            self.assertGreater(places[0], 70)
            self.assertLess(places[-1], page.WIDTH - 10)
            self.assertIn(1, scale.ticks())

    def test_twice_and_half_as_fast_are_equally_far_from_one(self):
        scale = page.Scale([0.5, 2], 70)
        self.assertAlmostEqual(scale.x(2) - scale.x(1), scale.x(1) - scale.x(0.5), delta=0.11)

    def test_a_spread_as_large_as_its_ratio_still_has_a_place(self):
        scale = page.Scale([0.2], 70)
        start, end = page.whisker({"ratio": 0.2, "spread": 0.3})
        self.assertGreater(start, 0)
        self.assertEqual(70, scale.x(start / 100))
        self.assertGreater(scale.x(end), scale.x(0.2))


if __name__ == "__main__":
    unittest.main()
