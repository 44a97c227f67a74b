#!/usr/bin/env bash
# Coverage of src/ and platform/linux/ by all quick tests: scripts/coverage.sh [LINES [BRANCHES]]
#
# Fails if less than LINES per cent of the lines or BRANCHES per cent of the branches are covered;
# both are 0 if not given. Prints the totals and what is not covered; build/coverage/report/ has
# every line. Left out is a line that ends in "// never: REASON", for what no input can reach.
set -euo pipefail

min_lines=${1:-0}
min_branches=${2:-0}
cd "$(dirname "$0")/.."
scripts/install_packages.sh g++ cmake ninja-build libgtest-dev gcovr

build=build/coverage
mkdir -p "$build/report"
find "$build" -name '*.gcda' -delete # counts of earlier runs would add up
cmake --workflow --preset coverage

never='.*// never: .+'
measure=(gcovr --root . --filter 'src/' --filter 'platform/linux/' --exclude-unreachable-branches
         --exclude-lines-by-pattern "$never" --exclude-branches-by-pattern "$never")
"${measure[@]}" --json "$build/coverage.json" "$build"
report=("${measure[@]}" --add-tracefile "$build/coverage.json")
"${report[@]}" --html-details "$build/report/index.html"
"${report[@]}" --branches | sed 's/^TOTAL/TOTAL BRANCHES/' # per file: branches not taken
"${report[@]}" --print-summary \
    --fail-under-line "$min_lines" --fail-under-branch "$min_branches" # per file: lines not run
