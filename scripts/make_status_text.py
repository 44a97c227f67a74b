#!/usr/bin/env python3
"""Writes include/wyx_commlib/status_text.h: scripts/make_status_text.py [--check]

The texts are the comments of the enumerators in the public headers, up to their first semicolon or to
the colon of "never returned:", so that a log says the same as the manual and the site. With --check it
writes nothing and fails if the header in the tree differs from what it would write.
"""
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True
from public_headers import parse  # noqa: E402

INCLUDE = Path(__file__).resolve().parents[1] / "include/wyx_commlib"
HEADER = INCLUDE / "status_text.h"

# The function for each enumeration, and what its statuses belong to.
FUNCTIONS = {
    "xelpCRC16_ErrCode": ("crc16", "the CRC-16 calls"),
    "xelpCRC_ErrCode": ("crc32", "the CRC-32 calls"),
    "xelpDLLErrCode": ("dlink", "the doubly linked list"),
    "xelpSLLErrCode": ("slink", "the fixed-capacity list"),
    "xelpHashErrCode": ("hash", "the hash table"),
    "xelpIniErrCode": ("ini", "the INI calls"),
    "xelpPARSE_IPV4V6_ErrCode": ("address", "the address parsers"),
}

START = """\
/**
 * @file status_text.h
 * @brief What a status means, in words: one function for each error enumeration, inline.
 *
 * `scripts/make_status_text.py` makes the texts from the enumerators' comments; a number that two
 * enumerators share has the texts of both. They are for logs and messages and may be reworded in
 * any release; programs should compare numbers. A number means something only together with its
 * module, so no one function covers all of them.
 *
 * Any number of threads may call the functions.
 * @code{.c}
 * QAL_UINT32 status = XELP_IniGetFileContent("net.ini", &doc);
 * if (status != XELP_ERR_INI_OK) {
 *     fprintf(stderr, "net.ini: %s (%u)\\n", wyx_ini_status_text(status), status);
 * }
 * @endcode
 */
#ifndef WYX_COMMLIB_STATUS_TEXT_H
#define WYX_COMMLIB_STATUS_TEXT_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN
"""

FUNCTION = """
/**
 * @brief The text of a status of {owner}.
 *
 * @param[in] ulStatus  the status
 * @return a constant string, never null: "success" for 0, "unknown status" for a number that
 *         is none of the statuses.
 */
static inline const QAL_CHAR *wyx_{name}_status_text(QAL_UINT32 ulStatus)
{{
    switch (ulStatus) {{
{cases}
        default:
            return "unknown status";
    }}
}}
"""

END = """
WYX_C_END

#endif
"""


def text_of(comment):
    """The beginning of an enumerator's comment, without marks."""
    text = re.split(r"(?<=never returned): |;\s", " ".join(comment.split()))[0]
    return re.sub(r"[`#]", "", text.replace("`;`", "semicolon")).rstrip(".").replace('"', '\\"')


def texts_of(enumeration):
    """The texts of every number, in the order of the numbers; end markers are not statuses."""
    texts = {0: ["success"]}
    for code, comment in enumeration.members():
        name, _, number = code.split()
        if not name.endswith("_BUTT") and int(number) != 0:
            texts.setdefault(int(number), []).append(text_of(comment))
    return {number: ", or ".join(texts[number]) for number in sorted(texts)}


def case(number, text):
    """A label with its text, in literals that fit on a line."""
    pieces = re.findall(r".{1,76}(?: |$)", text)
    literals = ("\n" + " " * 19).join(f'"{piece}"' for piece in pieces)
    return f"        case {number}:\n            return {literals};"


def make():
    functions = {}
    for path in sorted(INCLUDE.glob("*.h")):
        for _, _, declarations in parse(path.read_text(encoding="utf-8"))[1] if path != HEADER else []:
            for declaration in declarations:
                if declaration.is_statuses():
                    name, owner = FUNCTIONS[re.search(r"enum (\w+)", declaration.flat)[1]]
                    cases = "\n".join(map(case, *zip(*texts_of(declaration).items())))
                    functions[name] = FUNCTION.format(owner=owner, name=name, cases=cases)
    if len(functions) != len(FUNCTIONS):
        sys.exit(f"enumerations found for {sorted(functions)} only")
    return START + "".join(functions.values()) + END


if __name__ == "__main__":
    if sys.argv[1:] not in ([], ["--check"]):
        sys.exit(__doc__)
    made = make()
    if sys.argv[1:]:
        if HEADER.read_text(encoding="utf-8") != made:
            sys.exit("status_text.h differs from the enumerations: run scripts/make_status_text.py")
    else:
        HEADER.write_text(made, encoding="utf-8")
