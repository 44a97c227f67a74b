#!/usr/bin/env bash
# What the library costs in an application: scripts/footprint.sh [--update]
#
# Builds the release for x86-64 and, where the cross compiler is there, for AArch64 in
# build/footprint-*, and prints what each module takes, the relocations and the pages that are written
# at load. With --update the tables in docs/footprint.md are made anew.
#
#     scripts/footprint.sh --check LIBRARY BYTES
#
# fails where text, data and bss of the library, as size(1) counts them, are more than BYTES.
set -euo pipefail

if [[ ${1:-} == --check ]]; then
    total=$(size "$2" | awk 'NR == 2 { print $4 }')
    echo "$(basename "$2"): text, data and bss are $total bytes of $3 ($(($3 - total)) left)"
    ((total <= $3))
    exit
fi

cd "$(dirname "$0")/.."
scripts/install_packages.sh g++ g++-aarch64-linux-gnu cmake ninja-build python3
builds=()
for processor in aarch64 x86-64; do
    build=build/footprint-$processor
    toolchain=()
    if [[ $processor == aarch64 ]]; then
        toolchain=(--toolchain cmake/toolchains/aarch64-linux-gnu.cmake)
    fi
    cmake -S . -B "$build" -G Ninja "${toolchain[@]}" -DCMAKE_BUILD_TYPE=Release \
        -DWYX_BUILD_TESTS=OFF -DWYX_BUILD_EXAMPLES=OFF -DWYX_BUILD_TOOL=OFF >/dev/null
    cmake --build "$build" >/dev/null
    builds+=("$processor=$build")
done

tables=$(scripts/footprint_tables.py "${builds[@]}")
if [[ ${1:-} == --update ]]; then
    page=docs/footprint.md
    {
        sed '/^<!-- tables/q' "$page"
        echo
        echo "$tables"
        echo
        sed -n '/^<!-- end/,$p' "$page"
    } >"$page.new"
    mv "$page.new" "$page"
fi
echo "$tables"
