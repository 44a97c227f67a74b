#!/usr/bin/env bash
# Builds presets, runs their tests and lists those that were skipped: scripts/test.sh [PRESET...]
#
# Without a preset: release; `cmake --workflow --list-presets` lists them. Installs what is
# missing (Debian), builds in build/PRESET. If a preset fails, the next one is still run.
set -euo pipefail

cd "$(dirname "$0")/.."
source scripts/temp_folder.sh
folder=$(temp_folder) # the tests need such folders, too
rmdir "$folder"
if (($# == 0)); then
    set -- release
fi

packages=(g++ cmake ninja-build libgtest-dev nlohmann-json3-dev)
for preset in "$@"; do
    case $preset in
    clang) packages+=(clang) ;;
    musl) packages+=(clang googletest libc++-dev musl-tools) ;;
    fuzz) packages+=(clang libclang-rt-dev) ;;
    aarch64*) packages+=(g++-aarch64-linux-gnu googletest qemu-user) ;;
    esac
done
scripts/install_packages.sh "${packages[@]}"
# A test that needs one of these is skipped without it. Large ones, such as Clang and
# a JDK, are left out.
optional=(abigail-tools crudini dpkg-dev e2fsprogs file fish libssl-dev mandoc meson pkg-config python3 strace
    xz-utils zlib1g-dev zsh)
scripts/install_packages.sh "${optional[@]}" || echo "continuing; tests without their packages are skipped"

failed=()
for preset in "$@"; do
    echo "=== $preset"
    rm -f "build/$preset/tests.xml"
    cmake --workflow --preset "$preset" || failed+=("$preset")
done
for preset in "$@"; do
    scripts/skipped_tests.sh "build/$preset"
done
if ((${#failed[@]})); then
    echo "FAILED: ${failed[*]}" >&2
    exit 1
fi
