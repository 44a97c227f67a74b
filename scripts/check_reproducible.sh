#!/usr/bin/env bash
# Builds both libraries in two folders of different names and depths, with and without debug
# information, and compares the libraries byte by byte, also after stripping them:
# scripts/check_reproducible.sh [SCRATCH_FOLDER]
#
# The sources are copied to, and built in, a new folder in SCRATCH_FOLDER (default: TMPDIR, else /tmp), which
# must not be in the tree unless it is in build/.
set -euo pipefail

source_folder=$(cd "$(dirname "$0")/.." && pwd)
source "$source_folder/scripts/temp_folder.sh"
(($# == 0)) || mkdir -p "$1"
scratch=$(TMPDIR=${1:-${TMPDIR:-/tmp}} temp_folder)
trap 'rm -rf "$scratch"' EXIT

# copy_source FOLDER: copies the project's files as they are in the working tree
copy_source() {
    mkdir -p "$1"
    tar -C "$source_folder" -c --exclude=./build --exclude=./.git . | tar -C "$1" -x
}

# build SOURCE BUILD TYPE: builds the libraries, without SOURCE_DATE_EPOCH, which would make a
# timestamp in them the same in both builds
build() {
    env -u SOURCE_DATE_EPOCH cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE="$3" \
        -DWYX_BUILD_TESTS=OFF -DWYX_BUILD_EXAMPLES=OFF -DWYX_BUILD_TOOL=OFF >/dev/null
    cmake --build "$2" >/dev/null
}

one=$scratch/one
two=$scratch/another/and/a/longer/name
copy_source "$one"
copy_source "$two"
for type in Release RelWithDebInfo; do
    build "$one" "$one/build/$type" "$type"
    build "$two" "$scratch/outside-$type" "$type" # with the build folder outside the source folder
    for name in libwyx_commlib.so libwyx_os_adapter.so; do
        left=$one/build/$type/lib/$name
        right=$scratch/outside-$type/lib/$name
        cmp "$left" "$right"
        strip -o "$left.stripped" "$left"
        strip -o "$right.stripped" "$right"
        cmp "$left.stripped" "$right.stripped"
        if grep -qF "$scratch" "$left" "$right"; then
            echo "$name ($type) names the folder it was built in" >&2
            exit 1
        fi
        echo "$name ($type): $(stat -Lc %s "$left") bytes, the same from both folders"
    done
done
