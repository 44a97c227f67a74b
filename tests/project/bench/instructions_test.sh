#!/usr/bin/env bash
# How scripts/instructions.sh judges counts: each case is the page's own table with one change.
set -euo pipefail

root=$(cd "$(dirname "$0")/../../.." && pwd)
page=$root/docs/instruction-counts.md
counts=$(mktemp)
trap 'rm "$counts"' EXIT

# judge EXPECTED_STATUS EXPECTED_TEXT: compares $counts with the page.
judge() {
    local status=0
    said=$("$root/scripts/instructions.sh" --compare "$counts" "$page") || status=$?
    if ((status != $1)) || [[ $said != *$2* ]]; then
        echo "status $status instead of $1, or no \"$2\" in:" >&2
        echo "$said" >&2
        exit 1
    fi
}

# change ROW SCALE: writes the table of the page, with the first count of a row scaled, to $counts.
change() {
    awk -F'|' -v OFS='|' -v row=" $1 " -v scale="$2" '
        $2 == row { $3 = " " $3 * scale " "; ++found }
        /^\|/
        END { exit !found }' "$page" >"$counts"
}

row="CRC-32, 16,384 bytes"
change "$row" 1
judge 0 "none is more than 2 % above"
change "$row" 1.019
judge 0 "none is more than 2 % above"
change "$row" 1.021
judge 1 "FAILED: AArch64 Clang: $row"
change "$row" 0.981
judge 0 ""
[[ $said != *Lower* ]]
change "$row" 0.979
judge 0 "Lower the budget"
change "$row" 0 # nothing was counted
judge 1 "FAILED"
peer=$(sed -n 's/^| \(\*inet_pton[^|]*\*\) .*/\1/p' "$page" | head -n 1)
change "$peer" 2 # not ours
judge 0 "none is more than 2 % above"
grep "^|" "$page" | grep -v "$row" >"$counts"
judge 1 "$row: was not counted"
grep "^|" "$page" | sed "s/^| $row/| another row/" >"$counts"
judge 1 "another row"
grep "^|" "$page" | sed '/compiler/s/GCC [0-9]*/GCC 1/g' >"$counts"
judge 0 "SKIPPED: AArch64 GCC: compiled by GCC 1"
grep "^|" "$page" | sed '/compiler/s/[0-9][0-9]*/1/g' >"$counts"
judge 0 "0 counts compared"
grep "^|" "$page" | sed 's/| AArch64 GCC/| Another/' >"$counts"
judge 1 "another column"
