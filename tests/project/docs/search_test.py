"""Types queries into the search field of the site in a real browser: search_test.py FOLDER

Builds the site in FOLDER. Each query must have one of its pages among the first three results; some must
have it as the very first, to which Enter leads. If a tool that makes the site is missing, the test ends
with 77, which CTest takes for skipped.
"""
import html
import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
NEEDED = {"libjs-lunr": "/usr/share/javascript/lunr/lunr.min.js",
          "doxygen-awesome-css": "/usr/share/doxygen-awesome-css/doxygen-awesome.css"}
COUNTED = 3

# Queries whose first result must be right.
FIRST = {"link", "free result"}

# query: pages, each with or without a place, and what else the title must contain; "" is a query that
# finds nothing
QUERIES = {
    "link": "index.html#index-cmake index.html#index-pkg-config",
    "free result": "ownership-and-errors.html",
    "0x50": "error-codes.html#error-codes-xelp_err_ini_internal",
    "0xb4": "error-codes.html#error-codes-xelp_err_ini_write_file",
    "getting started": "index.html",
    "ibk": "durability.html",
    "iterate": "dlink.html#dlink-walk-through-it hash.html#hash-visit-all-records",
    "maximum line length": "ini_parser.html#ini_parser-cost-limits-threads",
    "windows": "porting.html#porting-the-default-adapter-on-another-system",
    "free": "os__adapter_8h.html ownership-and-errors.html",
    "key": "ini_parser.html#ini_parser-read-a-key",
    "read a key": "ini_parser.html#ini_parser-read-a-key",
    "80": "error-codes.html#error-codes-xelp_err_ini_internal",
    "180": "error-codes.html#error-codes-xelp_err_ini_write_file",
    "memory": "ownership-and-errors.html os__adapter_8h.html",
    "decode": "base64.html#base64-decode-a-string base64_8h.html",
    "release": "ownership-and-errors.html",
    "leak": "ownership-and-errors.html",
    "IniGet": "ini__parser_8h.html XELP_IniGetKeyValue",
    "crc": "crc.html",
    "ini": "ini_parser.html",
    "base64": "base64.html",
    "android": "android.html",
    "XELP_Ini": "ini__parser_8h.html XELP_Ini",
    "change and save": "ini_parser.html#ini_parser-change-a-key-and-save",
    "free what a call returned": "ownership-and-errors.html",
    "status 80": "error-codes.html#error-codes-xelp_err_ini_internal",
    "error 30": "error-codes.html",
    "link with CMake": "index.html#index-cmake",
    "link with pkg-config": "index.html#index-pkg-config",
    "link from C++": "index.html#index-from-c",
    "replace the adapter": "platform.html#platform-replace-the-adapter",
    "what survives a power cut": "durability.html",
    "is it thread-safe": "ownership-and-errors.html#ownership-and-errors-threads",
    "how fast is it": "benchmarks.html",
    "how do I use it on Android": "android.html",
    "IniGetKeyValue": "ini__parser_8h.html XELP_IniGetKeyValue",
    "getkeyvalue": "ini__parser_8h.html XELP_IniGetKeyValue",
    "ERR_INI_LINE_TOO_LONG": "error-codes.html#error-codes-xelp_err_ini_line_too_long",
    "BASE64Free": "base64_8h.html",
    "hash map": "hash.html",
    "dictionary": "hash.html",
    "md5 hex": "md5.html#md5-the-digest-of-a-buffer-as-hexadecimal-text",
    "digest of a file": "md5.html#md5-the-digest-of-a-file",
    "delete section": "ini_parser.html#ini_parser-delete-a-key-or-a-section",
    "zlib crc32": "crc.html#crc-the-crc-32-that-zlib-png-and-zip-use",
    "queue": "dlink.html#dlink-use-it-as-a-queue",
    "ipv6 port": "ip4_ip6_parser.html#ip4_ip6_parser-connect-to-an-ipv6-address-with-an-optional-port",
    "python": "bindings.html",
    "rust": "bindings.html",
    "jni": "android.html bindings.html",
    "licence": "index.html",
    "install": "index.html",
    "vulnerability": "security.html",
    "binary compatibility": "abi.html",
    "benchmrk": "benchmarks.html",
    "qwxzy": "",
}

# Types as a user does, and stores in the page what the list then shows.
TYPIST = """
<script>
window.addEventListener("load", function () {
    var field = document.getElementById("find-text"), shown = [];
    QUERIES.forEach(function (query) {
        field.value = query;
        field.dispatchEvent(new Event("input"));
        var links = document.querySelectorAll("#find-list:not([hidden]) a");
        shown.push(Array.prototype.map.call(links, function (link) {
            return link.getAttribute("href") + " " + link.querySelector(".found-title").textContent;
        }));
    });
    field.value = QUERIES[0];
    field.dispatchEvent(new Event("input"));
    setTimeout(function () { // what else the page does on loading must not close the list
        var report = document.createElement("pre"), list = document.getElementById("find-list");
        report.id = "shown";
        report.textContent = JSON.stringify({shown: shown, isOpen: !list.hidden});
        document.body.appendChild(report);
    }, 4000);
});
</script>
"""


def shown(site):
    """What the browser's list shows for each query."""
    page = site / "html/typed.html"
    script = TYPIST.replace("QUERIES", json.dumps(list(QUERIES)))
    page.write_text((site / "html/index.html").read_text(encoding="utf-8")
                    .replace("</body>", script + "</body>"), encoding="utf-8")
    with tempfile.TemporaryDirectory() as profile:
        # The sandbox does not start as root; the page is ours.
        dom = subprocess.run(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             f"--user-data-dir={profile}", "--virtual-time-budget=60000", "--dump-dom",
             page.resolve().as_uri()],
            check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=300).stdout.decode()
    page.unlink()
    report = re.search(r'<pre id="shown">(.*?)</pre>', dom, re.S)
    if not report:
        sys.exit("the page did not search")
    found = json.loads(html.unescape(report[1]))
    if not found["isOpen"]:
        sys.exit("the list of results did not stay open")
    return found["shown"]


def is_right(expected, found, counted):
    """Does one of the first results lead to an expected page, and have the expected name, if any?"""
    names = [word for word in expected.split() if ".html" not in word]
    for place in (word for word in expected.split() if ".html" in word):
        for result in found[:counted]:
            url, _, title = result.partition(" ")
            if place in (url, url.split("#")[0]) and all(name in title for name in names):
                return True
    return not expected and not found


def main(site):
    for package, file in NEEDED.items():
        if not os.path.exists(file):
            print(f"skipped: no {file}: scripts/install_packages.sh {package}")
            return 77
    subprocess.run(["scripts/docs.sh", site], cwd=ROOT, check=True)
    wrong = 0
    for (query, expected), found in zip(QUERIES.items(), shown(site), strict=True):
        if not is_right(expected, found, 1 if query in FIRST else COUNTED):
            wrong += 1
            print(f"{query!r}: expected {expected or 'nothing'}, found:", *found[:5], sep="\n    ")
    print(f"{len(QUERIES) - wrong} of {len(QUERIES)} queries found what they should")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
