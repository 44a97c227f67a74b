#!/usr/bin/env bash
# Compiles the base types and configures the project for processors of each kind:
# unsupported_targets_test.sh SOURCE_FOLDER WORK_FOLDER
#
# Clang can compile for all of them without system headers, and types.h includes none. If Clang is
# missing, the test exits with 77 after the part that the compiler in CC can do.
set -euo pipefail
export LC_ALL=C

source_folder=$1
work=$2
rm -rf "$work"
mkdir -p "$work"
header='#error "wyx_commlib is for 64-bit little-endian systems only (on Android: arm64-v8a and x86_64)"'
printf '#include "wyx_commlib/types.h"\nQAL_ULONG ulValue;\n' >"$work/types.c"
failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

compiles() { # COMMAND...
    "$@" -fsyntax-only -I "$source_folder/include" "$work/types.c" 2>"$work/log"
}

refused() { # WHAT COMMAND...: the compiler must fail, and its first message must be the header's own
    local what=$1
    shift
    if compiles "$@"; then
        fail "types.h compiles for $what"
    elif [[ $(grep -m 1 'error' "$work/log") != *"${header#\#error }"* ]]; then
        fail "$what is refused with: $(head -n 3 "$work/log")"
    fi
}

compiles "$CC" || fail "types.h is refused by $CC: $(cat "$work/log")"
if [[ $(uname -m) == x86_64 ]]; then
    refused "32 bits, by $CC" "$CC" -m32
fi
if ! command -v clang >/dev/null || ! command -v clang++ >/dev/null; then
    echo "skipped: no clang, for other processors than this one: scripts/install_packages.sh clang"
    exit $((failures ? 1 : 77))
fi

for target in aarch64-linux-android24 x86_64-linux-android24 aarch64-linux-gnu x86_64-linux-musl \
    riscv64-linux-gnu; do
    compiles clang --target=$target || fail "types.h is refused for $target: $(cat "$work/log")"
done
for target in armv7a-linux-androideabi24 i686-linux-android24 i386-linux-gnu x86_64-linux-gnux32 \
    s390x-linux-gnu aarch64_be-linux-gnu x86_64-windows-msvc; do
    refused $target clang --target=$target
done

configure() { # SYSTEM PROCESSOR TARGET
    cmake -S "$source_folder" -B "$work/$3" -G Ninja -D CMAKE_SYSTEM_NAME="$1" \
        -D CMAKE_SYSTEM_VERSION=1 -D CMAKE_SYSTEM_PROCESSOR="$2" -D CMAKE_C_COMPILER=clang \
        -D CMAKE_CXX_COMPILER=clang++ -D CMAKE_C_COMPILER_TARGET="$3" \
        -D CMAKE_CXX_COMPILER_TARGET="$3" -D CMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY \
        -D WYX_BUILD_TESTS=OFF -D WYX_BUILD_EXAMPLES=OFF -D WYX_BUILD_TOOL=OFF -D WYX_INSTALL=OFF \
        >"$work/log" 2>&1
}

configure Linux riscv64 riscv64-linux-gnu || fail "no configuration for riscv64: $(cat "$work/log")"
while read -r system processor bytes target; do
    if configure "$system" "$processor" "$target"; then
        fail "$target can be configured"
    fi
    # CMake breaks the lines of a message.
    message=$(tr -s '\n ' ' ' <"$work/log")
    [[ $message == *"libwyx_commlib supports 64-bit little-endian Linux and Android only, not $system on $processor with pointers of $bytes bytes (for Gradle: ndk { abiFilters 'arm64-v8a', 'x86_64' })"* &&
        $(grep -c 'CMake Error' "$work/log") == 1 ]] ||
        fail "$target is refused with: $(cat "$work/log")"
done <<'TARGETS'
Android armv7-a 4 armv7a-linux-androideabi24
Linux i686 4 i386-linux-gnu
Linux x86_64 4 x86_64-linux-gnux32
Linux s390x 8 s390x-linux-gnu
FreeBSD x86_64 8 x86_64-unknown-freebsd
TARGETS

((failures == 0)) && echo "targets: as they should be"
exit $((failures != 0))
