"""The pages of the site: which files they are, and the names they have in it."""
import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

# The run of the comparisons that the site shows, as a page of the same name.
SAMPLE_RUN = ROOT / "docs/bench-sample.json"

# A page that no group names, such as a new one, goes into the group "Contributing".
GROUPS = {
    "Start": ["README.md", "docs/which-module.md", "docs/bindings.md", "docs/tool.md"],
    "Modules": [f"docs/modules/{name}.md" for name in (
        "ini_parser", "crc", "md5", "base64", "ip4_ip6_parser", "hash", "dlink", "slink", "cpp",
        "platform")],
    "Errors": ["docs/error-codes.md", "docs/ownership-and-errors.md"],
    "Guarantees": ["docs/durability.md", "docs/round-trips.md", "docs/abi.md", "SECURITY.md"],
    "Android": ["docs/android.md"],
    "Performance": ["docs/benchmarks.md", "docs/instruction-counts.md", "docs/footprint.md"],
    "Contributing": ["CONTRIBUTING.md", "docs/adding.md", "docs/architecture.md",
                     "docs/porting.md", "docs/releasing.md", "CHANGELOG.md"],
}


# A line after the heading of a page or section: further words by which the search finds it.
SEARCHED = re.compile(r"<!-- search: (.+) -->")


def searched(file):
    """{anchor: words} of a page; the anchor of the page itself is empty."""
    anchor, found = "", {}
    for line in re.sub(r"(?ms)^```.*?^```$", "", file.read_text(encoding="utf-8")).splitlines():
        if heading := re.match(r"##+ (.*)", line):
            anchor = f"{page_of(file)}-{anchor_of(heading[1])}"
        elif words := SEARCHED.fullmatch(line):
            found[anchor] = words[1]
    return found


def grouped():
    """The files of every group, including those that no group names."""
    groups = {name: [ROOT / file for file in files] for name, files in GROUPS.items()}
    named = {file for files in groups.values() for file in files}
    found = [*sorted((ROOT / "docs").glob("*.md")), *sorted((ROOT / "docs/modules").glob("*.md"))]
    groups["Contributing"] += [file for file in found if file not in named]
    return groups


def every():
    return [file for files in grouped().values() for file in files]


def anchor_of(heading):
    """The anchor of a heading, as the usual viewers of repositories make it."""
    text = re.sub(r"[^\w\- ]", "", heading.lower().replace("`", ""))
    return text.strip().replace(" ", "-")


def page_of(file):
    """The name of a page: that of its file."""
    return "index" if file.name == "README.md" else file.stem.lower()


def title_of(file):
    """What the navigation calls a page: its heading, up to a colon or comma."""
    heading = next(line for line in file.read_text().splitlines() if line.startswith("# "))
    return re.split(r"[:,]", heading[2:].replace("`", ""))[0].strip()
