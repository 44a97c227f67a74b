#!/usr/bin/env bash
# Checks the libraries against the baseline of the binary interface, and then the check itself with
# baselines that differ in a known way: abi_baseline_test.sh SOURCE_FOLDER BUILD_FOLDER WORK_FOLDER
set -euo pipefail

source_folder=$1
build=$2
work=$3
failures=0

"$source_folder/scripts/abi.sh" check "$build"

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# plant FILE SED_SCRIPT: a baseline in $work that differs from the real one
plant() {
    rm -rf "$work"
    mkdir -p "$work"
    cp "$source_folder"/tests/library/abi/baseline/* "$work"
    sed -i "$2" "$work/$1"
    ! cmp -s "$work/$1" "$source_folder/tests/library/abi/baseline/$1" || fail "changes nothing: $2"
}

# abi COMMAND...: scripts/abi.sh with that baseline; sets $status, and writes $work/log
abi() {
    status=0
    WYX_ABI_BASELINE=$work "$source_folder/scripts/abi.sh" "$@" >"$work/log" 2>&1 || status=$?
}

# expect WORDS FILE SED_SCRIPT: with such a baseline, the check fails and prints WORDS
expect() {
    plant "$2" "$3"
    abi check "$build"
    if ((status != 1)) || ! grep -q "$1" "$work/log"; then
        fail "$3: status $status, not \"$1\":"
        cat "$work/log"
    fi
}

# The changes that docs/abi.md lists, in its order. Each sed script turns the baseline into the one
# before the change.
# Additions: a call, a status, a type, an enumerator.
expect "only additions" libwyx_commlib.abi \
    "/<elf-symbol name='XELP_CRC_16'/d; /<function-decl name='XELP_CRC_16'/,/<\/function-decl>/d"
expect "only additions" libwyx_public_types.abi "/name='XELP_ERR_INI_KEY_NOT_FOUND'/d"
expect "new: typedef QAL_LONG" libwyx_public_types.abi "/<typedef-decl name='QAL_LONG'/d"
expect "only additions" libwyx_public_types.abi "/<typedef-decl name='QAL_LONG'/d"
expect "only additions" libwyx_public_types.abi "/<enumerator name='INI_KEYVALUE_LINE'/d"
# A removed call, of either library.
expect "breaks callers" libwyx_commlib.abi "s/XELP_CRC_16'/XELP_CRC_Gone'/g"
expect "breaks callers" libwyx_os_adapter.abi "s/XELP_Fopen'/XELP_Gone'/g"
# A renamed type, record, enumeration, member and enumerator, and a removed enumerator.
expect "gone: typedef DLinkList_S_Gone" libwyx_public_types.abi \
    "s/<typedef-decl name='DLinkList_S_Head'/<typedef-decl name='DLinkList_S_Gone'/"
expect "breaks callers" libwyx_public_types.abi \
    "s/<typedef-decl name='DLinkList_S_Head'/<typedef-decl name='DLinkList_S_Gone'/"
expect "breaks callers" libwyx_public_types.abi \
    "s/<class-decl name='xelpDLinkList_S_Head'/<class-decl name='xelpDLinkList_S_Gone'/"
expect "breaks callers" libwyx_public_types.abi \
    "s/<enum-decl name='xelpCRC16_ErrCode'/<enum-decl name='xelpGone'/"
expect "gone: member .*\.ulGone" libwyx_public_types.abi \
    "s/<var-decl name='ulLineNum'/<var-decl name='ulGone'/"
expect "breaks callers" libwyx_public_types.abi "s/<var-decl name='ulLineNum'/<var-decl name='ulGone'/"
expect "breaks callers" libwyx_public_types.abi \
    "s/<enumerator name='INI_BLANK_LINE'/<enumerator name='INI_GONE_LINE'/"
expect "breaks callers" libwyx_public_types.abi \
    "s/.*name='XELP_ERR_INI_KEY_NOT_FOUND'.*/&\n<enumerator name='XELP_ERR_INI_GONE' value='22'\/>/"
# A change in the number of arguments, and in the type of an argument, a result and a callback.
expect "breaks callers" libwyx_commlib.abi "/<function-decl name='XELP_CRC_32'/{n;p}"
expect "breaks callers" libwyx_commlib.abi \
    "/<function-decl name='XELP_CRC_32'/,/<\/function-decl>/s/<parameter type-id='f694c952'/<parameter type-id='7487a4b5'/"
expect "breaks callers" libwyx_commlib.abi \
    "/<function-decl name='XELP_MD5_Update'/,/<\/function-decl>/s/<return .*/<return type-id='f694c952'\/>/"
callback=$(sed -n "s/.*<typedef-decl name='XELP_Hash_Function' type-id='\([^']*\)'.*/\1/p" \
    "$source_folder/tests/library/abi/baseline/libwyx_public_types.abi")
expect "breaks callers" libwyx_public_types.abi \
    "s/\(<typedef-decl name='XELP_Hash_Function'\) type-id='$callback'/\1 type-id='5d1dd8bc'/"
# A size, an offset (of a record that calls take as void *), a number.
expect "breaks callers" libwyx_commlib.abi \
    "/<class-decl name='xelpMD5_S_CTX'/s/size-in-bits='704'/size-in-bits='768'/"
expect "breaks callers" libwyx_public_types.abi \
    "/<class-decl name='xelpDLinkList_S_Node'/,/<\/class-decl>/s/offset-in-bits='128'/offset-in-bits='192'/"
expect "breaks callers" libwyx_public_types.abi \
    "s/\(name='XELP_ERR_INI_KEY_NOT_FOUND' value\)='20'/\1='21'/"
# A service: one added, and one removed.
expect "breaks callers" services.txt "/^XELP_Rename$/d"
expect "only additions" services.txt "1i XELP_AGone"
# The baseline of the version before.
expect "another major version" libwyx_commlib.abi "1s/\.so\.[0-9]*'/.so.0'/"

# Renewing accepts additions, and refuses what breaks callers at the same major version.
plant libwyx_public_types.abi "s/<var-decl name='ulLineNum'/<var-decl name='ulGone'/"
abi renew "$build"
((status == 1)) || fail "renewed a renamed member at the same major version"
grep -q "'ulGone'" "$work/libwyx_public_types.abi" || fail "wrote the baseline anyway"
sed -i "1s/\.so\.[0-9]*'/.so.0'/" "$work"/*.abi
abi renew "$build"
((status == 0)) || fail "refused a renamed member at a higher major version"
plant libwyx_public_types.abi "/<typedef-decl name='QAL_LONG'/d"
abi renew "$build"
((status == 0)) || fail "refused to renew with an addition"
abi check "$build"
((status == 0)) || fail "the renewed baseline is not that of the build"
! grep -q "'pucEnd'" "$work/libwyx_os_adapter.abi" || fail "the renewed baseline has the members of xelpFile"

if ((failures == 0)); then
    echo "every kind of change is noticed"
fi
exit $((failures != 0))
