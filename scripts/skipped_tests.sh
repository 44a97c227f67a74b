#!/usr/bin/env bash
# Lists the tests that the last run of a test preset left out: scripts/skipped_tests.sh BUILD_FOLDER
set -euo pipefail

build=${1:?BUILD_FOLDER is missing}
report=$build/tests.xml # the presets make CTest write it
if [[ ! -e $report ]]; then
    echo "No test was run in $build"
    exit
fi

# Programs that print "skipped: REASON", and single cases of GoogleTest, whose reason is the line after
# "FILE:LINE: Skipped".
skipped=$(sed 's/&lt;/</g; s/&gt;/>/g; s/&quot;/"/g; s/&apos;/'\''/g; s/&amp;/\&/g' "$report" | awk '
    /<testcase name="/ { split($0, part, "\""); test = part[2] }
    { sub(/^.*<system-out>/, "") }
    /^skipped: / { print "  " test ": " substr($0, 10) }
    reason == "next" { reason = $0 }
    /: Skipped$/ { reason = "next" }
    /^\[  SKIPPED \] .* \([0-9]+ ms\)$/ { print "  " test ", " $4 ": " reason; reason = "" }
')
if [[ -n $skipped ]]; then
    printf 'Skipped in %s:\n%s\n' "$build" "$skipped"
    echo "To run one of them again: ctest --test-dir $build --output-on-failure -R TEST"
fi

run=$(sed -n 's/.*<testcase name="\([^"]*\)".*/\1/p' "$report")
left=$(ctest --test-dir "$build" -C slow -N | sed -n 's/^ *Test *#[0-9]*: //p' |
    grep -vxF -e "$run" | paste -sd ' ') || true # all of them were run
if [[ -n $left ]]; then
    echo "Not part of this run: $left"
    echo "To run them: ctest --test-dir $build -C slow -R '^(${left// /|})\$'"
fi
