#!/usr/bin/env bash
# Measures what the quick tests cover:
#
#     scripts/coverage.sh [LINES BRANCHES [ARM_LINES ARM_BRANCHES [TOOL_LINES TOOL_BRANCHES]]]
#
# Fails if less than LINES per cent of the lines or BRANCHES per cent of the branches of src/ and
# platform/linux/ are covered, less than ARM_LINES and ARM_BRANCHES of the forms that only AArch64
# compiles, whose tests run under emulation, or less than TOOL_LINES and TOOL_BRANCHES of tools/wyx/;
# all are 0 if not given. Prints the totals and what is not covered; report/ and report-tool/ in
# build/coverage and report/ in build/coverage-aarch64 have every line. A line that ends in
# "// never: REASON" is left out: no input can reach it. memory.cpp is left out, too:
# memory_accounting.cpp is built in its place, so that the tests run with the accounting adapter as well.
set -euo pipefail

cd "$(dirname "$0")/.."
scripts/install_packages.sh g++ cmake ninja-build libgtest-dev gcovr \
    g++-aarch64-linux-gnu googletest qemu-user

build=build/coverage
cross=build/coverage-aarch64
never='.*// never: .+'
for folder in "$build" "$cross"; do
    mkdir -p "$folder"
    find "$folder" -name '*.gcda' -delete # counts of earlier runs would add up
done

# report FOLDER NAME MIN_LINES MIN_BRANCHES OPTION...: what a build has covered of some sources
report() {
    local folder=$1 name=$2 lines=$3 branches=$4
    local measure=(gcovr --root . --exclude-unreachable-branches
        --exclude-lines-by-pattern "$never" --exclude-branches-by-pattern "$never" "${@:5}")
    mkdir -p "$folder/$name"
    "${measure[@]}" --json "$folder/$name/coverage.json" "$folder"
    measure+=(--add-tracefile "$folder/$name/coverage.json")
    "${measure[@]}" --html-details "$folder/$name/index.html"
    "${measure[@]}" --branches | sed 's/^TOTAL/TOTAL BRANCHES/' # per file: branches not taken
    "${measure[@]}" --print-summary \
        --fail-under-line "$lines" --fail-under-branch "$branches" # per file: lines not run
}

cmake --preset coverage -B "$cross" -DWYX_BUILD_TOOL=OFF -DWYX_BUILD_EXAMPLES=OFF \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/aarch64-linux-gnu.cmake"
cmake --build "$cross" --target crc_tests base64_tests
ctest --test-dir "$cross" -R '_forms_test$|^base64_test$' --no-tests=error --output-on-failure -j2
report "$cross" report "${3:-0}" "${4:-0}" \
    --filter 'src/.*(aarch64|neon)' --gcov-executable aarch64-linux-gnu-gcov
for file in base64_neon.cpp crc_aarch64.cpp crc_clmul_aarch64.h; do
    grep -q "/$file\"" "$cross/report/coverage.json" || { echo "no coverage of $file" >&2; exit 1; }
done

cmake --preset coverage
cmake --build --preset coverage
# Notes (.gcno) of units that are no longer built would contradict the others.
ninja -C "$build" -t cleandead >/dev/null
find "$build" -name '*.gcno' | while read -r notes; do
    [[ -e ${notes%.gcno}.o ]] || rm "$notes"
done
# Some tests run the tool as an unprivileged user, who must be able to write the counts, too.
find "$build/tools/wyx" "$build/src" "$build/platform" -name '*.gcno' | while read -r notes; do
    install -m 666 /dev/null "${notes%.gcno}.gcda"
done
ctest --preset coverage
report "$build" report "${1:-0}" "${2:-0}" --filter 'src/' --filter 'platform/linux/'
# Every call that may throw has a branch for that case: these branches are left out.
report "$build" report-tool "${5:-0}" "${6:-0}" \
    --filter 'tools/wyx/' --exclude-throw-branches
