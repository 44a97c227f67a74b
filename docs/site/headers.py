"""What the public headers declare, read out of them: calls, their documentation, and statuses."""
import re
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FOLDERS = (ROOT / "include/wyx_commlib", ROOT / "platform")

STATUS = re.compile(r"XELP_(?:ERR|OK)_[A-Z0-9_]+")


@dataclass
class Call:
    name: str
    brief: str
    params: list  # (direction, name, text)
    returns: str
    group: str  # what the group it stands in says of all its calls


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


def _plain(comment):
    """The text of a comment, without its stars, each paragraph on lines of its own."""
    return "\n".join(re.sub(r"^\s*\*? ?", "", line) for line in comment.split("\n")).strip()


def _joined(text):
    return re.sub(r"\s+", " ", text).strip()


def _call(comment, declaration, group):
    text = _plain(comment)
    # Commands that begin a paragraph of their own end the one before them.
    parts = re.split(r"(?m)^@(?=brief|param|return|par\b|warning)", text)
    brief, params, returns = "", [], ""
    for part in parts[1:]:
        word, _, rest = part.partition(" ")
        if word == "brief":
            brief = _joined(rest.split("\n\n")[0])
        elif word.startswith("param"):
            match = re.match(r"param\[([\w,]+)\]\s+(\w+)\s+(.*)", part, re.S)
            params.append((match[1], match[2], _joined(match[3].split("\n\n")[0])))
        elif word.split("\n")[0] == "return":
            returns = _joined(part[len("return"):].split("\n\n")[0])
    name = re.search(r"(\w+)\s*\(", declaration)[1]
    return Call(name, brief, params, returns, group)


def _groups(text):
    """(start, what it says) of every @name group, and of every end of one."""
    places = []
    for match in re.finditer(r"/\*\*((?:(?!\*/).)*@name(?:(?!\*/).)*)\*/|/\*\* @\} \*/", text, re.S):
        places.append((match.start(), _joined(_plain(match[1])) if match[1] else ""))
    return places


def _codes_of(call, calls, seen=()):
    """The statuses a call returns: those it names, and those of the calls it refers to."""
    if call.name in seen:
        return set()
    text = re.sub(r"never returns #\w+", "", call.returns)
    codes = set(STATUS.findall(text))
    if "a status of a line on the way" in text:
        lookups = next(c.group for c in calls.values() if c.group.startswith("@name Lookups"))
        codes |= set(STATUS.findall(lookups))
        text += lookups
    for names in re.findall(r"\b(?:as|status of|one of) ((?:\w+\(\)(?: or )?)+)", text):
        for name in re.findall(r"\w+", names):
            if name in calls:
                codes |= _codes_of(calls[name], calls, (*seen, call.name))
    return codes


def can_fail(call):
    """Does it return a status, or tell of a failure in another way?"""
    said = call.returns + " ".join(text for _, _, text in call.params)
    return bool(STATUS.search(said) or re.search(r"\bas \w+\(\)|fail|null if", said))


def read(path):
    """The calls and statuses of one header, both in its own order."""
    text = path.read_text()
    groups = _groups(text)
    calls = {}
    for match in re.finditer(r"/\*\*((?:(?!\*/).)*)\*/\s*WYX_API\s(.*?);", text, re.S):
        group = ([said for start, said in groups if start < match.start()] or [""])[-1]
        call = _call(match[1], match[2], group)
        calls[call.name] = call
    statuses = [
        Status(name, int(number), _joined(said))
        for name, number, said in re.findall(
            r"^ +(XELP_(?:ERR|OK)_[A-Z0-9_]+) = (\d+),?\s*/\*\*<(.*?)\*/", text, re.S | re.M)
    ]
    for call in calls.values():
        codes = _codes_of(call, calls)
        for status in statuses:
            if status.name in codes:
                status.calls.append(call.name)
    return Header(path.name, list(calls.values()), statuses)


def read_all():
    """Every header by its file name."""
    return {path.name: read(path) for folder in FOLDERS for path in sorted(folder.glob("*.h"))}
