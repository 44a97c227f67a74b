"""What mistakes can be planted in a source file, and which of them are listed as survivors.

A mistake is a changed operator, constant, condition or result, or a statement left out. scripts/mutate.py
plants them, except those that move a bound by 1 on a line whose comment says "speed only": the inputs that
then take another path have the same result there.
"""

import collections
import re

SPEED_ONLY = re.compile(r"//.*\bspeed only\b")
BOUND_MOVED = {"< becomes <=", "<= becomes <", "> becomes >=", ">= becomes >"}

TOKEN = re.compile(
    r"""(?P<space>\s+)
      | (?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<directive>^[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)
      | (?P<string>"(?:[^"\\\n]|\\.)*")
      | (?P<char>'(?:[^'\\\n]|\\.)+')
      | (?P<number>0[xX][0-9A-Fa-f']+[uUlL]*|[0-9][0-9']*[uUlL]*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<operator><<=|>>=|<=>|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|::|.)
    """,
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

BINARY = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
    "==": ("!=",), "!=": ("==",), "&&": ("||",), "||": ("&&",),
    "+": ("-",), "-": ("+",), "*": ("+",), "/": ("*",), "%": ("/",),
    "&": ("|",), "|": ("&",), "^": ("|",), "<<": (">>",), ">>": ("<<",),
    "+=": ("-=",), "-=": ("+=",), "|=": ("&=",), "&=": ("|=",), "^=": ("|=",),
    "<<=": (">>=",), ">>=": ("<<=",),
}
CHARS = {"\\n": "\\r", "\\r": "\\n", "\\t": " ", "\\0": "\\1", "\\\\": "/", "\\'": "\\\""}
NO_STATEMENT = {
    "return", "using", "namespace", "static", "const", "constexpr", "consteval", "template",
    "static_assert", "case", "default", "public", "private", "struct", "class", "enum", "typedef",
    "extern", "else", "do", "for", "while", "if", "switch", "friend", "inline", "union",
}

Token = collections.namedtuple("Token", "kind text start")
Mutant = collections.namedtuple("Mutant", "file start end new what")


def tokens_of(text):
    """All tokens but spaces, comments and directives; a static assertion is left out whole."""
    tokens = [Token(m.lastgroup, m.group(), m.start()) for m in TOKEN.finditer(text)]
    kept = []
    depth = 0
    skipping = False
    for token in tokens:
        if skipping:
            depth += (token.text == "(") - (token.text == ")")
            skipping = not (token.text == ";" and depth == 0)
        elif token.text == "static_assert":
            skipping, depth = True, 0
        elif token.kind not in ("space", "comment", "directive"):
            kept.append(token)
    return kept


def closing(tokens, i):
    """Index of the bracket that closes the one at i."""
    depth = 0
    for j in range(i, len(tokens)):
        depth += (tokens[j].text in "([{") - (tokens[j].text in ")]}")
        if depth == 0:
            return j
    return i


def plus_one(number):
    match = re.fullmatch(r"(0[xX])?([0-9A-Fa-f']+?)([uUlL]*)", number)
    prefix, digits, suffix = match.group(1) or "", match.group(2).replace("'", ""), match.group(3)
    value = int(digits, 16 if prefix else 10) + 1
    return f"{prefix}{value:X}{suffix}" if prefix else f"{value}{suffix}"


def next_char(literal):
    body = literal[1:-1]
    if body in CHARS:
        return f"'{CHARS[body]}'"
    if body.startswith("\\"):
        return None
    following = chr(ord(body) + 1)
    return f"'{following}'" if following not in "'\\\x7f" else None


def other_text(literal):
    body = literal[1:-1]
    if not body or body[0] in "\\%":
        return f'"?{body}"' if body else None
    return f'"{chr(ord(body[0]) ^ 1)}{body[1:]}"' if body[0] not in '#!Z[]' else f'"?{body[1:]}"'


def mutants_of(name, text):
    """All mistakes that can be planted in a text, those on lines marked "speed only" included."""
    tokens = tokens_of(text)
    found = []

    def plant(start, end, new, what):
        found.append(Mutant(name, start, end, new, what))

    for i, token in enumerate(tokens):
        start, end = token.start, token.start + len(token.text)
        char_before, char_after = text[start - 1 : start], text[end : end + 1]
        after = tokens[i + 1] if i + 1 < len(tokens) else None
        previous = tokens[i - 1] if i > 0 else None
        if token.kind == "operator":
            if token.text in BINARY and char_before.isspace() and char_after.isspace():
                for new in BINARY[token.text]:
                    plant(start, end, new, f"{token.text} becomes {new}")
            elif token.text in ("++", "--"):
                new = "--" if token.text == "++" else "++"
                plant(start, end, new, f"{token.text} becomes {new}")
            elif token.text == "!":
                plant(start, end, "", "! left out")
            elif token.text == "~":
                plant(start, end, "", "~ left out")
        elif token.kind == "number":
            new = plus_one(token.text)
            plant(start, end, new, f"{token.text} becomes {new}")
        elif token.kind == "char":
            new = next_char(token.text)
            if new:
                plant(start, end, new, f"{token.text} becomes {new}")
        elif token.kind == "string":
            new = other_text(token.text)
            if new and (previous is None or previous.text != "extern"):
                plant(start, end, new, f"{token.text} becomes {new}")
        elif token.text in ("true", "false"):
            new = "false" if token.text == "true" else "true"
            plant(start, end, new, f"{token.text} becomes {new}")
        elif token.text in ("if", "while") and after is not None and after.text == "(":
            close = tokens[closing(tokens, i + 1)].start
            inner = after.start + 1
            if token.text == "if":
                plant(inner, close, f"!({text[inner:close]})", "if negated")
            else:
                plant(inner, close, f"false && ({text[inner:close]})", "while never")
        elif token.text == "return" and after is not None and after.text != ";":
            j = i
            while tokens[j].text != ";":
                j = closing(tokens, j) + 1 if tokens[j].text in "([{" else j + 1
            if text[after.start : tokens[j].start] not in ("0", "nullptr", "false", "{}"):
                plant(after.start, tokens[j].start, "{}", "nothing returned")

        # A statement of its own: a call, an assignment, a jump.
        begins = previous is not None and previous.text in (";", "{", "}", ")", "else", ":")
        if not begins or token.text in NO_STATEMENT or token.kind not in ("word", "operator"):
            continue
        if token.kind == "operator" and token.text not in ("*", "++", "--", "("):
            continue
        j = i
        while j < len(tokens) and tokens[j].text not in (";", "{", "}", ")", "]"):
            j = closing(tokens, j) + 1 if tokens[j].text in "([" else j + 1
        if j >= len(tokens) or tokens[j].text != ";":
            continue
        statement = tokens[i:j]
        texts = [t.text for t in statement]
        if previous.text == ")" and texts[0] in ("*", "("):
            continue
        is_jump = texts in (["break"], ["continue"], ["return"])
        declares = len(statement) > 1 and statement[0].kind == "word" and (
            statement[1].kind == "word" or (texts[1] in "*&" and len(texts) > 2 and
                                             text[statement[1].start + 1] != " "))
        acts = any(t in texts for t in ("(", "=", "++", "--", "+=", "-=", "|=", "&=", "^=", "<<="))
        if is_jump or (acts and not declares):
            plant(token.start, tokens[j].start, "", "left out")
    return found


def moves_bound(mutant, text):
    """Does a mistake move a bound by one: the comparison, or a number that is compared or defined?"""
    if mutant.what in BOUND_MOVED:
        return True
    line = text[text.rfind("\n", 0, mutant.start) + 1 : mutant.start].rstrip()
    is_bound = re.search(r"\s[<>]=?$|constexpr.*\s=$", line) is not None
    return is_bound and text[mutant.start].isdigit()


class Place:
    """The line of a mutant, its text, and its number among those of its kind on that line."""

    def __init__(self, mutant, text, ordinal):
        begin = text.rfind("\n", 0, mutant.start) + 1
        end = text.find("\n", mutant.start)
        line = text[begin : end if end >= 0 else len(text)]
        self.number = text.count("\n", 0, mutant.start) + 1
        self.text = " ".join(line.split())
        self.is_marked = SPEED_ONLY.search(line) is not None and moves_bound(mutant, text)
        suffix = f" (#{ordinal})" if ordinal > 1 else ""
        self.key = (mutant.file, self.text, mutant.what + suffix)


def places_of(name, text):
    """The place of each mistake that can be planted in a text."""
    ordinals = collections.Counter()
    places = {}
    for mutant in mutants_of(name, text):
        line = (text.count("\n", 0, mutant.start), mutant.what)
        ordinals[line] += 1
        places[mutant] = Place(mutant, text, ordinals[line])
    return places


def listed_survivors(path, places):
    """Reasons by place, from blocks of file, line, mistake and reason with empty lines between."""
    listed = {}
    if not path.exists():
        return listed
    for block in re.split(r"\n\s*\n", path.read_text()):
        lines = [line for line in block.splitlines() if line and not line.startswith("#")]
        if lines:
            fields = dict(line.split(": ", 1) for line in lines)
            fields["line"] = " ".join(fields["line"].split())
            for what in fields["mistake"].split(" | "):
                keys = [(fields["file"], fields["line"], what)]
                if what.startswith("each "):
                    keys = [p.key for p in places if p.key[:2] == keys[0][:2] and
                            re.sub(r" \(#\d+\)$", "", p.key[2]) == what[5:]] or keys
                listed.update(dict.fromkeys(keys, fields["reason"]))
    return listed
