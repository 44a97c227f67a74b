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
    library=${2:?LIBRARY is missing} bytes=${3:?BYTES is missing} map=${4:?MAP is missing}
    padding=$(size -A "$library" | awk '$1 == ".relro_padding" { print "-", $2 }')
    stubs=$(awk '$1 ~ /^0x/ && /linker stubs$/ { start = $1; next }
        start && $1 ~ /^0x/ { print "-", $1, "+", start; start = "" }' "$map")
    total=$(size "$library" | awk 'NR == 2 { print $4 }')
    total=$((total $padding $stubs))
    echo "$(basename "$library"): text, data and bss are $total bytes of $bytes ($((bytes - total)) left)"
    ((total <= bytes))
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
