#!/usr/bin/env bash
# Compiles every public header alone, included once and included twice, in each standard of C and
# C++ that users have:
#
#     check_headers.sh C_COMPILER CXX_COMPILER SOURCE_FOLDER WORK_FOLDER
set -euo pipefail

declare -A compiler=([c]=$1 [c++]=$2)
source_folder=$3
work=$4
rm -rf "$work"
mkdir -p "$work"
headers=("$source_folder"/include/wyx_commlib/*.h "$source_folder"/platform/*.h)
units=()
for header in "${headers[@]}"; do
    unit=$work/$(basename "$header" .h)
    printf '#include "%s"\nextern int wyx_unit_is_not_empty;\n' "$header" >"${unit}_once.c"
    printf '#include "%s"\n#include "%s"\nextern int wyx_unit_is_not_empty;\n' \
        "$header" "$header" >"${unit}_twice.c"
    units+=("${unit}_once.c" "${unit}_twice.c")
done

failed=0
checked=0
for standard in c99 c11 c17 c++11 c++14 c++17 c++20; do
    language=c
    [[ $standard == c++* ]] && language=c++
    # Without the compiler's own search path: our headers must include no others.
    if "${compiler[$language]}" -x "$language" -std="$standard" -fsyntax-only -nostdinc \
        -Wall -Wextra -Wpedantic -Wconversion -Wundef -Werror \
        -I "$source_folder/include" -I "$source_folder/platform" "${units[@]}"; then
        checked=$((checked + 1))
    else
        echo "${compiler[$language]} -std=$standard: see above"
        failed=1
    fi
done
echo "${#headers[@]} headers, $checked standards of 7 without a warning"
exit $failed
