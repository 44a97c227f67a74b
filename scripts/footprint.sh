#!/usr/bin/env bash
# What the library costs an application: scripts/footprint.sh
#
# Installs what is missing (Debian), builds the release for x86-64 and AArch64 in
# build/footprint-*, and prints the size of each module, the relocations and the pages that are
# written at load. docs/footprint.md explains the tables.
#
#     scripts/footprint.sh --check LIBRARY BYTES MAP
#
# fails if text, data and bss of the library, as size(1) counts them, are more than BYTES. Two things are
# not counted: the gap that lld leaves after the data it makes read-only, which takes no bytes of the
# file, and the page that GNU ld sometimes adds for stubs that work around a processor's erratum. MAP, the
# linker's map, shows these stubs.
set -euo pipefail

if [[ ${1:-} == --check ]]; then
    padding=$(size -A "$2" | awk '$1 == ".relro_padding" { print $2 }')
    stubs=0
    while read -r start end; do
        stubs=$((stubs + end - start))
    done < <(awk '$1 ~ /^0x/ && /linker stubs$/ { start = $1; next } start && $1 ~ /^0x/ { print start, $1; start = "" }' "$4")
    total=$(($(size "$2" | awk 'NR == 2 { print $4 }') - ${padding:-0} - stubs))
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

scripts/footprint_tables.py "${builds[@]}"
