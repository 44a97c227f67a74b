#!/usr/bin/env bash
# Counts the instructions of each operation and compares the counts with the recorded ones:
# scripts/instructions.sh [--update]
#
# Unlike times, the counts depend only on the compiler and the C library, not on the machine. A plug-in
# for qemu takes them for the builds below; qemu also fixes the CPU for which the C library chooses its
# functions. The table of docs/instruction-counts.md is the budget. The script fails if an operation of the
# library takes over 2 % more instructions than its budget. If one takes over 2 % fewer, the script asks for
# --update, which writes the new counts into the page. Columns of other compilers or another C library are
# skipped.
#
#     scripts/instructions.sh --compare COUNTS PAGE
#
# only compares a table of counts with the table of a page.
set -euo pipefail

compare() { # COUNTS PAGE
    awk -F' *[|] *' '
        !/^\|/ || /^\|---/ { next }
        FNR == NR { for (i = 3; i < NF; ++i) now[$2, i] = $i; names[++rows] = $2; columns = NF - 1; next }
        { for (i = 3; i < NF; ++i) budget[$2, i] = $i; inBudget[$2] = 1; if (NF - 1 > columns) columns = NF - 1 }
        END {
            for (i = 3; i <= columns; ++i) {
                column = now["Operation", i]
                if (column != budget["Operation", i]) {
                    print "FAILED: the page has another column than \"" column "\""
                    failed = 1
                } else if (now["*compiler*", i] != budget["*compiler*", i]) {
                    print "SKIPPED: " column ": compiled by " now["*compiler*", i] \
                          "; the budget is for " budget["*compiler*", i]
                    continue
                }
                for (row = 1; row <= rows; ++row) {
                    name = names[row]
                    if (name == "Operation" || name ~ /^\*/) continue
                    was = budget[name, i] + 0
                    is = now[name, i] + 0
                    ++compared
                    if (was == 0 || is == 0 || is > was * 1.02) {
                        print "FAILED: " column ": " name ": " is " instructions, the budget is " was
                        failed = 1
                    } else if (is < was * 0.98) {
                        print "LESS: " column ": " name ": " is " instructions, the budget is " was
                        less = 1
                    }
                }
            }
            for (row = 1; row <= rows; ++row) delete inBudget[names[row]]
            for (name in inBudget) {
                print "FAILED: " name ": was not counted"
                failed = 1
            }
            if (less) print "Lower the budget: scripts/instructions.sh --update"
            print compared + 0 " counts compared" (failed || !compared ? "" : ", none is more than 2 % above its budget")
            exit failed
        }' "$1" "$2"
}

if [[ ${1:-} == --compare ]]; then
    compare "${2:?COUNTS is missing}" "${3:?PAGE is missing}"
    exit
fi

cd "$(dirname "$0")/.."
page=docs/instruction-counts.md
scripts/install_packages.sh clang cmake g++ g++-aarch64-linux-gnu lld ninja-build qemu-user
out=build/instructions
mkdir -p "$out"
gcc -O2 -shared -fPIC -o "$out/plugin.so" bench/instructions_plugin.c

# count COLUMN QEMU CPU_LEVEL C_COMPILER C++_COMPILER [OPTION...] writes a column of the table.
count() {
    local column=$1 qemu=$2 level=$3 c_compiler=$4 compiler=$5 options=("${@:6}")
    local tree=$out/${column// /-} emulator
    read -ra emulator <<<"$qemu"
    emulator[0]=$(command -v "${emulator[0]}")
    local flags=(-DCMAKE_BUILD_TYPE=Release -DWYX_CPU_LEVEL="$level" -DWYX_BUILD_TESTS=OFF
        -DWYX_BUILD_EXAMPLES=OFF -DWYX_BUILD_TOOL=OFF -DWYX_INSTALL=OFF
        -DCMAKE_{C,CXX}_FLAGS="${options[*]}") # Clang's target and linker
    if [[ $qemu == qemu-aarch64* ]]; then
        flags+=(-DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64)
    fi
    cmake -S . -B "$tree" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_C_COMPILER="$c_compiler" "${flags[@]}" >/dev/null
    cmake --build "$tree" >"$tree.log" || { cat "$tree.log" >&2; return 1; }
    "$compiler" "${options[@]}" -std=c++20 -O2 -Iinclude -Iplatform bench/instructions.cpp \
        -L"$tree/lib" -lwyx_commlib -lwyx_os_adapter -Wl,-rpath,"\$ORIGIN/lib" -o "$tree/driver"
    {
        echo "Operation|$column"
        # Not even the environment and the program's name may vary: their size moves the stack.
        (cd "$tree" && env -i "${emulator[@]}" -plugin ../plugin.so ./driver) | awk -F'\t' '
            NF == 1 { print "*compiler*|" $1; next }
            NF != 5 { exit 1 }
            { count = ($5 - 2 * $4 + $3) / $2; printf count < 100 ? "%s|%.2f\n" : "%s|%.0f\n", $1, count }'
    } >"$tree.column"
    columns+=("$tree.column")
}

columns=()
aarch64="qemu-aarch64 -cpu cortex-a76 -L /usr/aarch64-linux-gnu"
x86_64="qemu-x86_64 -cpu qemu64"
clang_aarch64=(clang clang++ --target=aarch64-linux-gnu -fuse-ld=lld)
count "AArch64 Clang" "$aarch64" baseline "${clang_aarch64[@]}"
count "AArch64 GCC" "$aarch64" baseline aarch64-linux-gnu-{gcc,g++}
count "+crc+crypto Clang" "$aarch64" armv8-a+crc+crypto "${clang_aarch64[@]}"
count "+crc+crypto GCC" "$aarch64" armv8-a+crc+crypto aarch64-linux-gnu-{gcc,g++}
count "x86-64 Clang" "$x86_64" baseline clang clang++ -fuse-ld=lld
count "x86-64 GCC" "$x86_64" baseline gcc g++

paste -d'|' "${columns[@]}" | awk -F'|' '
    { printf "| %s", $1; for (i = 2; i <= NF; i += 2) printf " | %s", $i; print " |" }
    NR == 1 { printf "|---"; for (i = 2; i <= NF; i += 2) printf "|--:"; print "|" }' >"$out/table"
if [[ ${1:-} == --update ]]; then
    { sed '/^|/,$d' "$page"; cat "$out/table"; } >"$out/page"
    mv "$out/page" "$page"
else
    compare "$out/table" "$page"
fi
