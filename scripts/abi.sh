#!/usr/bin/env bash
# Compares the binary interface with its baseline in tests/library/abi/baseline, or renews the baseline:
#
#     scripts/abi.sh check BUILD_FOLDER    the libraries of a build with debug information
#     scripts/abi.sh renew [BUILD_FOLDER]  compares, then writes the baseline; without BUILD_FOLDER,
#                                          builds in build/abi first
#
# The baseline has the exports of both libraries, every type of the public C headers (most calls take
# the containers' records as void *, so the calls do not lead to these types), and the services that
# the library asks of its adapter. Names are compared, too, because abidiff does not report a type
# or member that was renamed. `renew` refuses what breaks callers unless the major version is
# higher than the baseline's. docs/abi.md has the policy. CC names the C compiler. Exits with 77 if
# libabigail or debug information is missing.
set -euo pipefail

source_folder=$(cd "$(dirname "$0")/.." && pwd)
baseline=${WYX_ABI_BASELINE:-$source_folder/tests/library/abi/baseline}
files=(libwyx_commlib.abi libwyx_os_adapter.abi libwyx_public_types.abi services.txt)
cc=${CC:-gcc}
source "$source_folder/scripts/temp_folder.sh"
work=$(temp_folder)
trap 'rm -rf "$work"' EXIT

usage() {
    sed -n '2,13s/^# \{0,1\}//p' "$0" >&2
    exit 2
}

skip() {
    echo "skipped: $*" >&2
    exit 77
}

# major FILE.abi: the major version in the SONAME
major() {
    sed -n "1s/.* soname='[^']*\.so\.\([0-9]*\)'.*/\1/p" "$1"
}

# describe BUILD_FOLDER: writes the files of a baseline to $work, without what differs by folder
# and processor
describe() {
    local own_major name headers=() options=(
        --drop-private-types --headers-dir "$source_folder/include"
        --header-file "$source_folder/platform/os_adapter.h"
        --header-file "$source_folder/platform/bounded.h" --no-architecture --no-corpus-path
        --no-comp-dir-path --no-show-locs --no-elf-needed --no-parameter-names
        --no-write-default-sizes --type-id-style hash)
    # The accounting build of the adapter has calls and types of its own, which are not part of the
    # interface.
    printf '[suppress_function]\n  symbol_name_regexp = ^wyx_mem_\n  drop = yes\n' >"$work/own"
    options+=(--suppressions "$work/own")
    for name in libwyx_commlib libwyx_os_adapter; do
        [[ -e $1/lib/$name.so ]] || { echo "$1/lib/$name.so is missing" >&2; exit 1; }
        [[ $(LC_ALL=C readelf -SW "$1/lib/$name.so") == *" .debug_info "* ]] ||
            skip "$1/lib/$name.so has no debug information (WYX_DEBUG_INFO)"
        abidw --exported-interfaces-only "${options[@]}" "$1/lib/$name.so" >"$work/$name.abi"
    done

    own_major=$(major "$work/libwyx_commlib.abi")
    headers=("$source_folder"/include/wyx_commlib/*.h "$source_folder"/platform/{os_adapter,bounded}.h)
    {
        printf '#include "%s"\n' "${headers[@]}"
        echo "extern int wyx_public_types; int wyx_public_types;" # abidw needs a symbol
    } >"$work/types.c"
    "$cc" -g -ffile-prefix-map="$work/=" -fno-eliminate-unused-debug-types -shared -nostdlib \
        -I "$source_folder/include" -I "$source_folder/platform" "$work/types.c" \
        -Wl,-soname,"libwyx_public_types.so.$own_major" -o "$work/libwyx_public_types.so"
    abidw --load-all-types "${options[@]}" "$work/libwyx_public_types.so" \
        >"$work/libwyx_public_types.abi"

    LC_ALL=C readelf -W --dyn-syms "$1/lib/libwyx_commlib.so" |
        awk '$7 == "UND" && $8 ~ /^(XELP|wyx)_/ { print $8 }' | LC_ALL=C sort >"$work/services.txt"
    [[ -s $work/services.txt ]] || { echo "$1: the library needs no service" >&2; exit 1; }
}

# names FILE.abi: prints the name of each symbol, type, typedef, member and enumerator in it
names() {
    awk -F"'" '
        /<elf-symbol /    { print "symbol " $2 }
        /<(class|union|enum)-decl / {
            type = $2
            if ($0 !~ /is-anonymous/) print "type " $2
        }
        /<typedef-decl /  { print "typedef " $2 }
        /<data-member/    { in_member = 1 }
        /<var-decl / && in_member { print "member " type "." $2; in_member = 0 }
        /<enumerator /    { print "enumerator " $2 }
    ' "$1" | LC_ALL=C sort -u
}

# compare_names OLD NEW: prints what differs
compare_names() {
    LC_ALL=C comm -23 "$1" "$2" | sed 's/^/gone: /'
    LC_ALL=C comm -13 "$1" "$2" | sed 's/^/new: /'
}

# compare FILE: sets `verdict` to same, compatible or incompatible, and writes $work/FILE.report
compare() {
    if [[ $1 == services.txt ]]; then
        compare_services
        return
    fi
    local status=0 options=(--no-architecture --ignore-soname)
    [[ $1 != libwyx_public_types.abi ]] || options+=(--non-reachable-types)
    abidiff "${options[@]}" --harmless "$baseline/$1" "$work/$1" >"$work/$1.report" ||
        status=$?
    if ((status & 3)); then
        cat "$work/$1.report" >&2
        echo "abidiff failed on $1" >&2
        exit 1
    fi
    verdict=same
    if [[ -s $work/$1.report ]]; then
        verdict=compatible
    fi
    # Again, without what is known to be harmless, such as an additional status.
    status=0
    abidiff "${options[@]}" --no-added-syms "$baseline/$1" "$work/$1" >"$work/$1.harm" ||
        status=$?
    names "$baseline/$1" >"$work/$1.old"
    names "$work/$1" >"$work/$1.new"
    [[ -s $work/$1.old && -s $work/$1.new ]] || { echo "$1: no names found" >&2; exit 1; }
    if [[ $1 != libwyx_public_types.abi ]]; then # which types a library reaches depends on the compiler
        sed -i '/^symbol /!d' "$work/$1.old" "$work/$1.new"
    fi
    compare_names "$work/$1.old" "$work/$1.new" >"$work/$1.names"
    if [[ $verdict == same && -s $work/$1.names ]]; then
        verdict=compatible
    fi
    if ((status & 8)) || grep -q '^gone: ' "$work/$1.names" ||
        grep -Eqi 'summary: ([1-9][0-9]* removed|[0-9]+ removed, [1-9][0-9]* changed)' \
            "$work/$1.harm"; then
        verdict=incompatible
    fi
    cat "$work/$1.names" >>"$work/$1.report"
}

# compare_services: like compare. A new service breaks clients' adapters, which lack it.
compare_services() {
    compare_names "$baseline/services.txt" "$work/services.txt" >"$work/services.txt.report"
    verdict=same
    if grep -q '^new: ' "$work/services.txt.report"; then
        verdict=incompatible
    elif [[ -s $work/services.txt.report ]]; then
        verdict=compatible
    fi
}

(($# >= 1)) || usage
command -v abidw >/dev/null || skip "libabigail (abigail-tools) is not installed"

case $1 in
check)
    (($# == 2)) || usage
    describe "$2"
    failed=0
    for file in "${files[@]}"; do
        name=${file%.*}
        [[ -e $baseline/$file ]] || { echo "$baseline/$file is missing" >&2; exit 1; }
        compare "$file"
        if [[ $(major "$baseline/$file") != "$(major "$work/$file")" ]]; then
            echo "$name: the baseline is for another major version; run: scripts/abi.sh renew"
            failed=1
            continue
        fi
        if [[ $verdict == same ]]; then
            echo "$name: as in the baseline"
            continue
        fi
        cat "$work/$file.report"
        failed=1
        if [[ $verdict == compatible ]]; then
            echo "$name: only additions; raise the minor version, then run: scripts/abi.sh renew"
        else
            echo "$name: breaks callers; that needs a new major version (docs/abi.md)"
        fi
    done
    exit $failed
    ;;
renew)
    (($# <= 2)) || usage
    build=${2:-$source_folder/build/abi}
    if (($# == 1)); then
        cmake -S "$source_folder" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
            -DWYX_DEBUG_INFO=ON -DWYX_BUILD_TESTS=OFF -DWYX_BUILD_EXAMPLES=OFF \
            -DWYX_BUILD_TOOL=OFF >/dev/null
        cmake --build "$build" >/dev/null
    fi
    describe "$build"
    new_major=$(major "$work/libwyx_commlib.abi")
    old_major=$(major "$baseline/libwyx_commlib.abi" 2>/dev/null) || old_major=$new_major
    for file in "${files[@]}"; do
        [[ -e $baseline/$file ]] || continue
        compare "$file"
        cat "$work/$file.report"
        if [[ $verdict == incompatible ]] && ((new_major <= old_major)); then
            echo "${file%.*} breaks callers: raise the major version first (docs/abi.md)" >&2
            exit 1
        fi
    done
    mkdir -p "$baseline"
    cp "${files[@]/#/$work/}" "$baseline"
    echo "written: $baseline"
    ;;
*) usage ;;
esac
