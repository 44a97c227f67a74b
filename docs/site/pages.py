"""The pages of the site: which files they are, and the names they have in it."""
import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

# A page that no group names, such as a new one, goes into the last group.
GROUPS = {
    "Start": ["README.md", "docs/which-module.md", "docs/architecture.md"],
    "Modules": [f"docs/modules/{name}.md" for name in (
        "crc", "md5", "dlink", "slink", "hash", "ini", "addresses", "base64", "platform", "cpp")],
    "What to rely on": ["docs/ownership-and-errors.md", "docs/error-codes.md", "docs/durability.md",
                        "docs/round-trips.md", "docs/abi.md", "SECURITY.md"],
    "Tool": ["docs/tool.md"],
    "Building and shipping": ["CONTRIBUTING.md", "docs/benchmarks.md", "docs/releasing.md",
                              "CHANGELOG.md"],
}


def grouped():
    """The files of every group, including those that no group names."""
    groups = {name: [ROOT / file for file in files] for name, files in GROUPS.items()}
    named = {file for files in groups.values() for file in files}
    found = [*sorted((ROOT / "docs").glob("*.md")), *sorted((ROOT / "docs/modules").glob("*.md"))]
    groups["Building and shipping"][1:1] = [file for file in found if file not in named]
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
