"""The page of a run: every figure of it, nothing from elsewhere, and a warning if one is due."""
import json
import re
import sys
import unittest
import xml.etree.ElementTree
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "bench/compare"))
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

    def test_members_missing_from_an_older_run_are_unknown(self):
        old = [{k: v for k, v in run.items() if k not in ("date", "cpus", "others")} for run in RUNS]
        self.assertIn("<dt>Date</dt><dd>unknown</dd>", rendered(old))

    def test_each_peer_and_limit_has_a_chart_that_shows_its_ratios(self):
        labels = re.findall(r'aria-label="([^"]*)"', rendered())
        self.assertEqual(
            ["Ratios against zlib &amp; co: 16 B baseline 0.50; 1 KiB baseline 4.00, best 16.0",
             "Share of the limit: reading: 1 KiB baseline 20%",
             "Ratios against a table: query all, at random, 1000 best 1.00"], labels)

    def test_times_are_beside_the_ratios(self):
        texts = re.findall(r"<text[^>]*>([^<]* : [^<]*)</text>", rendered())
        self.assertEqual(["ours : theirs", "8.00 ns : 4.00 ns", "100 ns : 400 ns", "25.0 ns : 400 ns",
                          "ours : limit", "100 ns : 20.0 ns", "ours : theirs", "12.3 ms : 12.3 ms"],
                         texts)

    def test_case_names_do_not_overlap_the_coloured_field(self):
        for chart in re.findall(r"<figure>.*?</figure>", rendered(), re.S):
            fields = [(float(y), float(y) + float(height)) for y, height in
                      re.findall(r'<rect class="slow"[^>]* y="([\d.]+)"[^>]* height="([\d.]+)"', chart)]
            names = re.findall(r'<text class="case"[^>]* y="([\d.]+)"', chart)
            self.assertTrue(names)
            self.assertEqual("against" in chart, bool(fields))
            for name in map(float, names):
                self.assertFalse(any(top < name and name - 12 < end for top, end in fields))

    def test_a_limit_is_drawn_as_a_share_and_not_as_a_competitor(self):
        limit = re.search(r"<h3>share of the limit: reading</h3>(.*?)</figure>", rendered(), re.S)[1]
        self.assertIn(">20%</text>", limit)
        self.assertNotIn("circle", limit)
        self.assertNotIn('class="slow"', limit)

    def test_it_names_the_peers_versions_and_links_back(self):
        text = "\n".join(page.page([{"peers": {"zlib": "1.2", "inih": "55"}}, *RUNS], "a&b.html"))
        self.assertIn("<dd>zlib 1.2, inih 55</dd>", text)
        self.assertIn('<a href="a&amp;b.html">', text)
        self.assertIn("<dt>Others</dt><dd>unknown</dd>", rendered())

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

    def test_a_busy_machine_is_reported(self):
        self.assertNotIn('class="warning"', rendered())
        busy = [dict(run, others=1.5) for run in RUNS]
        self.assertRegex(rendered(busy), 'class="warning".*\n?.* 38% of its processors')


class Sample(unittest.TestCase):
    """The run that the documentation shows."""
    runs = json.loads((ROOT / "docs/bench-sample.json").read_text())

    def test_the_drawing_is_made_from_it(self):
        drawn = (ROOT / "docs/images/speed.svg").read_text(encoding="utf-8")
        self.assertEqual("\n".join(page.summary(self.runs)) + "\n", drawn,
                         "bench/compare/page.py --summary docs/bench-sample.json >docs/images/speed.svg")
        xml.etree.ElementTree.fromstring(drawn)

    def test_it_has_both_builds_a_date_versions_and_enough_rounds(self):
        self.assertEqual({"baseline", "best"}, {run["level"] for run in self.runs if "level" in run})
        self.assertTrue(self.runs[0]["peers"])
        for run in self.runs[1:]:
            self.assertGreaterEqual(run["rounds"], 15)
            self.assertRegex(run["date"], r"^20\d\d-\d\d-\d\d \d\d:\d\d UTC$")

    def test_the_drawing_reports_a_busy_machine(self):
        quiet = [dict(run, others=0) if "cases" in run else run for run in self.runs]
        self.assertNotIn("other work", "\n".join(page.summary(quiet)))
        self.assertIn("other work took up to 50%",
                      "\n".join(page.summary([dict(run, others=2) for run in RUNS])))


class Scale(unittest.TestCase):
    def test_the_chart_always_shows_one_and_keeps_the_order(self):
        for ratios in ([3, 5], [0.2, 0.3], [0.001, 100]):
            scale = page.Scale(ratios, 70, 350)
            places = [scale.x(r) for r in sorted([*ratios, 1])]
            self.assertEqual(places, sorted(places))
            self.assertGreater(places[0], 70)
            self.assertLess(places[-1], 350)
            self.assertIn(1, scale.ticks())

    def test_twice_and_half_as_fast_are_equally_far_from_one(self):
        scale = page.Scale([0.5, 2], 70, 350)
        self.assertAlmostEqual(scale.x(2) - scale.x(1), scale.x(1) - scale.x(0.5), delta=0.11)

    def test_a_spread_as_large_as_its_ratio_still_has_a_place(self):
        scale = page.Scale([0.2], 70, 350)
        start, end = page.whisker({"ratio": 0.2, "spread": 0.3})
        self.assertGreater(start, 0)
        self.assertEqual(70, scale.x(start / 100))
        self.assertGreater(scale.x(end), scale.x(0.2))


if __name__ == "__main__":
    unittest.main()
