#!/usr/bin/env bash
# Builds the consumer with Meson, with the library as a subproject and with the installed one:
# check_meson.sh SOURCE_FOLDER BUILD_FOLDER WORK_FOLDER
set -euo pipefail

source_folder=$1
build=$2
work=$3
source "$source_folder/scripts/temp_folder.sh"
prefix=$(temp_folder) # Meson cannot read what pkg-config says of names beyond ASCII
trap 'rm -r "$prefix"' EXIT
rm -rf "$work"
mkdir -p "$work/subprojects"
cp "$source_folder"/tests/shipping/install/{meson/meson*,consumer/consumer.c*} "$work"
ln -s "$source_folder" "$work/subprojects/wyx_commlib"
for component in runtime development; do
    cmake --install "$build" --prefix "$prefix" --component "$component" >/dev/null
done
modules=$(dirname "$(find "$prefix" -name wyx_commlib.pc)")
export PKG_CONFIG_PATH=$modules LD_LIBRARY_PATH=${modules%/pkgconfig}

cd "$work"
for installed in true false; do
    [[ $installed == true ]] || unset LD_LIBRARY_PATH # Meson's own programs find what it built
    { meson setup "$installed" -Dinstalled="$installed" &&
        meson compile -C "$installed" consumer_c consumer_cpp &&
        meson test -C "$installed" --no-rebuild --print-errorlogs; } >log 2>&1 || { cat log; exit 1; }
    grep -q '^Ok: *2 *$' log || { cat log; exit 1; }
    echo "Meson, installed=$installed: both programs run"
done
