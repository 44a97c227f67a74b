"""What the public headers declare: calls, their documentation, and statuses."""
import functools
import re
import sys
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FOLDERS = (ROOT / "include/wyx_commlib", ROOT / "platform")

sys.path.insert(0, str(ROOT / "scripts"))
from public_headers import parse, sections, statuses_of  # noqa: E402

# Words of sentences that say what a failed call leaves behind.
LEFT = re.compile("nothing changed|changes nothing|as it was|slot is null|stays? (with|empty|done)"
                  "|are deleted$|was not read|added anyway|is gone")
STATUS = re.compile(r"XELP_(?:ERR|OK)_[A-Z0-9_]+")


@dataclass
class Call:
    name: str
    brief: str
    text: str  # what follows the brief description
    params: list  # (direction, name, text)
    returns: str
    group: str  # the title of its group
    group_text: str  # what the group says of all its calls


@dataclass
class Status:
    name: str
    number: int
    text: str
    calls: list = field(default_factory=list)  # names of the calls that return it

    @property
    def is_marker(self):
        return self.name.endswith("_BUTT")

    @property
    def is_returned(self):
        return not self.is_marker and "never returned" not in self.text


@dataclass
class Header:
    name: str
    calls: list
    statuses: list


def _joined(text):
    return " ".join(text.split())


def _call(declaration, group, group_text):
    brief, text, parameters, returns, _ = sections(declaration.doc)
    return Call(declaration.name, _joined(brief), _joined(text),
                [(way, name, _joined(text.split("\n\n")[0])) for name, way, text in parameters],
                _joined(returns), group, _joined(group_text))


def can_fail(call):
    """Does it return a status, or report a failure in another way?"""
    said = call.returns + " ".join(text for _, _, text in call.params)
    return bool(STATUS.search(said) or re.search(r"\bas \w+\(\)|fail|null if", said))


def left_by_failure(call):
    """What a call says about its failures apart from its results: sentences and list items."""
    points = re.split(r"(?:^| )- (?=#|a status|the status)", call.returns)
    if len(points) == 1:
        points = re.split(r"(?<=\.) ", call.returns)
    promised = call.text.partition("*Default adapter*")[0]
    sentences = re.split(r"(?<=\.) (?=[A-Z])", promised)
    if call.group == "Edits":
        sentences += re.split(r"(?<=\.) ", call.group_text)
    return [said for said in [*points, *sentences] if LEFT.search(said)]


def read(path):
    """The calls and statuses of one header, in its order."""
    calls, codes, statuses = [], {}, []
    groups = parse(path.read_text(encoding="utf-8"))[1]
    for title, text, declarations in groups:
        for declaration in declarations:
            if declaration.kind == "call":
                calls.append(_call(declaration, title, text))
                codes[declaration.name] = statuses_of(declaration, groups)
            elif declaration.is_statuses():
                for code, said in declaration.members():
                    name, _, number = code.split()
                    statuses.append(Status(name, int(number), _joined(said)))
    for status in statuses:
        status.calls += [name for name, returned in codes.items() if status.name in returned]
    return Header(path.name, calls, statuses)


@functools.cache
def read_all():
    """The headers that mention WYX_API, by file name."""
    paths = [path for folder in FOLDERS for path in sorted(folder.glob("*.h"))]
    return {path.name: read(path) for path in paths if "WYX_API" in path.read_text()}
