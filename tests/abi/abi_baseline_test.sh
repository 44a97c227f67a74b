#!/usr/bin/env bash
# The libraries against the baseline of the binary interface, and the check itself against baselines
# that differ from them in a known way: abi_baseline_test.sh SOURCE_FOLDER BUILD_FOLDER WORK_FOLDER
set -euo pipefail

source_folder=$1
build=$2
work=$3
failures=0

"$source_folder/scripts/abi.sh" check "$build"

# expect WORDS FILE SED_SCRIPT: with such a baseline, the check fails and says so
expect() {
    local words=$1 file=$2 script=$3 status=0
    rm -rf "$work"
    mkdir -p "$work"
    cp "$source_folder"/tests/abi/baseline/*.abi "$work"
    sed -i "$script" "$work/$file"
    if cmp -s "$work/$file" "$source_folder/tests/abi/baseline/$file"; then
        echo "FAILED: changes nothing: $script"
        failures=$((failures + 1))
        return
    fi
    WYX_ABI_BASELINE=$work "$source_folder/scripts/abi.sh" check "$build" >"$work/log" 2>&1 ||
        status=$?
    if ((status != 1)) || ! grep -q "$words" "$work/log"; then
        echo "FAILED: $script: status $status, not \"$words\":"
        cat "$work/log"
        failures=$((failures + 1))
    fi
}

# What the baseline has and the library has not, and the other way about.
expect "breaks callers" libwyx_commlib.abi "s/XELP_CRC_16'/XELP_CRC_Gone'/g"
expect "only additions" libwyx_commlib.abi \
    "/<elf-symbol name='XELP_CRC_16'/d; /<function-decl name='XELP_CRC_16'/,/<\/function-decl>/d"
expect "breaks callers" libwyx_os_adapter.abi "s/XELP_Fopen'/XELP_Gone'/g"
# A parameter more, and one of another type.
expect "breaks callers" libwyx_commlib.abi "/<function-decl name='XELP_CRC_32'/{n;p}"
expect "breaks callers" libwyx_commlib.abi \
    "/<function-decl name='XELP_MD5_Update'/,/<\/function-decl>/s/<return .*/<return type-id='f694c952'\/>/"
# Records: a size, an offset, and one that calls only take as void *.
expect "breaks callers" libwyx_commlib.abi \
    "/<class-decl name='xelpMD5_S_CTX'/s/size-in-bits='704'/size-in-bits='768'/"
expect "breaks callers" libwyx_public_types.abi \
    "/<class-decl name='xelpDLinkList_S_Node'/,/<\/class-decl>/s/offset-in-bits='128'/offset-in-bits='192'/"
# Statuses: another number, one that is gone, one that is new.
expect "breaks callers" libwyx_public_types.abi \
    "s/\(name='XELP_ERR_INI_KEY_NOT_FOUND' value\)='20'/\1='21'/"
expect "breaks callers" libwyx_public_types.abi \
    "s/.*name='XELP_ERR_INI_KEY_NOT_FOUND'.*/&\n<enumerator name='XELP_ERR_INI_GONE' value='22'\/>/"
expect "only additions" libwyx_public_types.abi "/name='XELP_ERR_INI_KEY_NOT_FOUND'/d"
# The baseline of the version before.
expect "another major version" libwyx_commlib.abi "1s/\.so\.[0-9]*'/.so.0'/"

if ((failures == 0)); then
    echo "the check tells every kind of change"
fi
exit $((failures != 0))
