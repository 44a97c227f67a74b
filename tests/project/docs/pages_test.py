"""The site's pages show all that the headers declare, and nothing that is not in them."""
import re
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "docs/site"))
import check_links  # noqa: E402
import fill_page  # noqa: E402
import headers  # noqa: E402
import make_index  # noqa: E402
import pages  # noqa: E402


class Licence(unittest.TestCase):
    def test_the_text_is_shown_as_soon_as_there_is_a_file(self):
        self.assertIn("\n<!-- licence: LICENSE -->\n", (ROOT / "README.md").read_text())
        with tempfile.TemporaryDirectory() as folder, \
                unittest.mock.patch.object(pages, "ROOT", Path(folder)):
            self.assertEqual([], fill_page.licence("LICENSE"))
            (Path(folder) / "LICENSE").write_text("Made-up <licence>\n")
            self.assertEqual(["@htmlonly<pre>Made-up &lt;licence&gt;\n</pre>@endhtmlonly"],
                             fill_page.licence("LICENSE"))


class Headers(unittest.TestCase):
    declared = headers.read_all()

    def test_every_exported_function_is_found_with_its_documentation(self):
        found = {call.name: call for header in self.declared.values() for call in header.calls}
        exported = set()
        for exports in ("src/commlib/exports.txt", "platform/exports.txt",
                        "platform/exports_accounting.txt"):
            exported |= set((ROOT / exports).read_text().split())
        undeclared = {"Encode", "Decode", "MD5Transform"}  # steps of calls, not meant to be called
        self.assertEqual(exported - undeclared - {"QAL_CHARset"}, set(found))
        for call in found.values():
            self.assertTrue(call.brief, call.name)

    def test_every_parameter_is_found(self):
        copy = next(c for c in self.declared["bounded.h"].calls if c.name == "wyx_memcpy_s")
        self.assertEqual([("out", "pDest"), ("in", "ulDestMax"), ("in", "pSrc"), ("in", "ulCount")],
                         [param[:2] for param in copy.params])
        self.assertEqual("the destination; untouched on failure", copy.params[0][2])

    def test_a_status_is_returned_by_some_call_unless_it_says_otherwise(self):
        for header in self.declared.values():
            for status in header.statuses:
                self.assertEqual(status.is_returned, bool(status.calls), status.name)

    def test_a_call_has_the_statuses_of_the_calls_it_refers_to(self):
        calls = {s.name: s.calls for s in self.declared["ini_parser.h"].statuses}
        self.assertEqual(["XELP_IniCheckFile", "IniCheckKeyLine"], calls["XELP_ERR_INI_COMMENT"])
        self.assertIn("XELP_IniDelKey", calls["XELP_ERR_INI_KEY_NAME"])
        self.assertNotIn("XELP_IniDelSection", calls["XELP_ERR_INI_KEY_NAME"])
        self.assertNotIn("XELP_IniGetSectionList", calls["XELP_ERR_INI_VALUE_NULL"])
        ports = next(s for s in self.declared["ip4_ip6_parser.h"].statuses
                     if s.name == "XELP_OK_HAVE_PORT")
        self.assertEqual(["XELP_Parse_IPV4"], ports.calls)


    def test_effects_of_a_failure_are_found_wherever_documented(self):
        calls = {c.name: c for header in self.declared.values() for c in header.calls}
        self.assertEqual(["A failure changes nothing."],
                         headers.left_by_failure(calls["XELP_Hash_SaveNode"]))
        self.assertIn("#XELP_ERR_INI_INTERNAL: no memory; the slot is null",
                      headers.left_by_failure(calls["IniSaveStringToIniStruct"]))
        self.assertIn("There is no rollback: what was done before a failure stays done.",
                      headers.left_by_failure(calls["XELP_IniDelKey"]))
        self.assertIn("the status of a line that makes a lookup fail; "
                      "the key's lines before that one are deleted",
                      headers.left_by_failure(calls["XELP_IniDelKey"]))
        self.assertEqual([], headers.left_by_failure(calls["XELP_CRC_32"]))
        # What only the default adapter does is not a promise of the service.
        self.assertEqual([], headers.left_by_failure(calls["XELP_Fopen"]))


class StatusText(unittest.TestCase):
    def test_the_header_has_the_texts_of_the_enumerations(self):
        script = Path(headers.ROOT) / "scripts/make_status_text.py"
        subprocess.run([sys.executable, script, "--check"], check=True)


class Pages(unittest.TestCase):
    def test_every_page_can_be_filled_and_has_a_name_of_its_own(self):
        names = [pages.page_of(file) for file in pages.every()]
        self.assertEqual(len(names), len(set(names)))
        for file in pages.every():
            self.assertNotRegex(fill_page.fill(file), r"<!-- (calls|statuses|failures|example):")

    def test_the_index_of_error_codes_has_every_status(self):
        text = fill_page.fill(ROOT / "docs/error-codes.md")
        for header in Headers.declared.values():
            for status in header.statuses:
                place = f'<a name="error-codes-{status.name.lower()}"></a>'
                row = f"<td>{place}{status.number}</td><td><code>@ref {status.name}</code></td>"
                self.assertEqual(not status.is_marker, row in text, status.name)

    def test_every_module_has_a_page_with_its_calls_and_an_example_that_is_run(self):
        registered = re.findall(r"wyx_add_example\((\w+)",
                                (ROOT / "examples/CMakeLists.txt").read_text())
        shown = set()
        for file in (ROOT / "docs/modules").glob("*.md"):
            text = file.read_text()
            shown |= set(re.findall(r"<!-- calls: (\S+) -->", text))
            examples = re.findall(r"<!-- example: examples/(\w+)\.(?:c|cpp) -->", text)
            self.assertEqual(1, len(examples), file.name)
            self.assertIn(examples[0], registered)
        declaring = {header.name for header in Headers.declared.values() if header.calls}
        self.assertEqual(declaring, shown)

    def test_the_page_of_other_languages_shows_every_program(self):
        shown = re.findall(r"<!-- example: examples/(?:bindings|jni)/(from_\w+\.\w+|FromJava.java) -->",
                           (ROOT / "docs/bindings.md").read_text())
        programs = [file.name for file in (ROOT / "examples").glob("*/[fF]rom*.*")]
        self.assertEqual(sorted(programs), sorted(shown))

    def test_every_page_of_a_module_begins_with_recipes(self):
        for file in (ROOT / "docs/modules").glob("*.md"):
            first = re.search(r"(?m)^## (.*)$", file.read_text())
            self.assertEqual("Recipes", first[1], file.name)

    def test_headings_have_no_code_markup(self):
        self.assertEqual(["## Of ini check {#tool-of-ini-check}"],
                         fill_page._line("## Of `ini check`", ROOT / "docs/tool.md", {}))

    def test_a_page_lists_its_sections_but_not_headings_inside_code(self):
        with tempfile.TemporaryDirectory() as folder:
            page = Path(folder) / "x.md"
            page.write_text("# X\n## One `a`\n```sh\n## no\n```\n### Two\n")
            self.assertEqual(
                ["", '@htmlonly<div class="toc"><h3>On this page</h3><ul>'
                 '<li class="level1"><a href="#x-one-a">One a</a></li>'
                 '<li class="level2"><a href="#x-two">Two</a></li></ul></div>@endhtmlonly', ""],
                fill_page.contents(page))
            page.write_text("# X\nno sections\n")
            self.assertEqual([], fill_page.contents(page))

    def test_search_words_belong_to_the_heading_before_them(self):
        with tempfile.TemporaryDirectory() as folder:
            page = Path(folder) / "x.md"
            page.write_text("# X\n\n<!-- search: a, b -->\n\n## One\n<!-- search: c -->\n")
            self.assertEqual({"": "a, b", "x-one": "c"}, pages.searched(page))
            self.assertEqual([], fill_page._line("<!-- search: a -->", page, {}))

    def test_the_text_of_a_link_is_one_line_without_code(self):
        link = re.match(r"\[([^]]*)\]\((.*)\)", "[the\n  `wyx` tool](tool.md)")
        self.assertEqual("[the wyx tool](@ref tool)", fill_page._link(link, ROOT / "docs/tool.md"))

    def test_code_that_doxygen_would_misread_is_escaped(self):
        self.assertEqual(r"see <code>\::ffff:1.2.3.4</code> and `a::b` or `a|b`",
                         fill_page._spans("see `::ffff:1.2.3.4` and `a::b` or `a|b`"))
        self.assertEqual(r" * | `x` | <code>\@ &amp; \| \--y</code> |",
                         fill_page._spans(r" * | `x` | `@ & \| --y` |"))
        self.assertEqual("<code>f('x')</code> of `a'b`", fill_page._spans("`f('x')` of `a'b`"))
        self.assertEqual("<strong>`x` is</strong> so", fill_page._spans("**`x` is** so"))

    def test_a_bracket_in_code_does_not_start_a_link(self):
        found = [m[2] for m in fill_page.LINK.finditer("`[` a [b](c) ![d](e)\n`[\n\n[f\ng](h)")]
        self.assertEqual([None, "c", None, "h"], found)

    def test_a_link_to_a_missing_page_is_refused(self):
        with self.assertRaises(SystemExit):
            fill_page._link(re.match(r"\[(.*)\]\((.*)\)", "[x](no-such.md)"),
                            ROOT / "docs/tool.md")


class Search(unittest.TestCase):
    def test_tables_are_searched_but_not_shown_and_tooltips_are_ignored(self):
        page = ('<div class="contents"><p>a</p><h2><a class="anchor" id="x"></a>b</h2><p>c</p>'
                '<table><tr><td>d</td></tr></table><p>e</p><div class="ttc">f</div></div>')
        self.assertEqual([["", "", "a", "a"], ["x", "b", "cde", "ce"]], make_index.Sections(page).found)


class Benchmarks(unittest.TestCase):
    def test_the_page_counts_what_the_drawing_shows(self):
        drawing = (ROOT / "docs/images/speed.svg").read_text(encoding="utf-8")
        text = " ".join((ROOT / "docs/benchmarks.md").read_text(encoding="utf-8").split())
        for build, said in (("baseline", r"faster in (\d+) of (\d+) comparisons and slower in (\d+)"),
                            ("best", r"faster in (\d+) of the (\d+) and slower in (\d+)")):
            ratios = [(float(ratio), float(whisker)) for ratio, whisker in
                      re.findall(rf"{build}: ([\d.]+) ± ([\d.]+)", drawing)]
            counts = (sum(ratio - whisker > 1 for ratio, whisker in ratios), len(ratios),
                      sum(ratio + whisker < 1 for ratio, whisker in ratios))
            self.assertIn(tuple(map(str, counts)), re.findall(said, text), build)


class Links(unittest.TestCase):
    def errors(self, **files):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                (Path(folder) / f"{name}.html").write_text(text)
            return check_links.check(Path(folder).resolve())[2]

    def test_working_links_pass(self):
        self.assertEqual([], self.errors(
            a='<h1 id="top">x</h1><a href="b.html#there">y</a><a href="#top">z</a>'
              '<a href="https://example.org/">elsewhere</a>',
            b='<a name="there"></a>'))

    def test_an_unresolved_reference_is_an_error(self):
        self.assertEqual(["a.html: @ref there: Doxygen left this as text"],
                         self.errors(a="<p>see @ref there for it</p>"))
        self.assertEqual(["a.html: <tt>: Doxygen left this as text"],
                         self.errors(a="<h1>of &lt;tt>x</h1>"))

    def test_dead_links_and_external_resources_are_errors(self):
        self.assertEqual(
            ["a.html: b.html#there: no such place", "a.html: c.html: no such file",
             "a.html: loads https://example.org/x.css"],
            self.errors(a='<a href="b.html#there">x</a><a href="c.html">y</a><p>a &lt;b&gt;</p>'
                          '<link href="https://example.org/x.css">', b=""))


if __name__ == "__main__":
    unittest.main()
