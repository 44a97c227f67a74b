#!/usr/bin/env bash
# Builds presets and runs their tests: scripts/test.sh [PRESET...]
#
# Without a preset: dev and release; `cmake --workflow --list-presets` names the others. Installs what is
# missing (Debian), builds under build/. Tests of the configuration "slow" are not run.
set -euo pipefail

cd "$(dirname "$0")/.."
if (($# == 0)); then
    set -- dev release
fi

packages=(g++ cmake ninja-build libgtest-dev nlohmann-json3-dev pkg-config)
for preset in "$@"; do
    case $preset in
    clang) packages+=(clang) ;;
    musl) packages+=(clang googletest libc++-dev musl-tools) ;;
    fuzz) packages+=(clang libclang-rt-dev) ;;
    aarch64*) packages+=(g++-aarch64-linux-gnu googletest qemu-user) ;;
    esac
done
scripts/install_packages.sh "${packages[@]}"
# Libraries to compare results with; tests that use them are left out if they are missing.
scripts/install_packages.sh zlib1g-dev libssl-dev || true

for preset in "$@"; do
    echo "=== $preset"
    cmake --workflow --preset "$preset"
done
