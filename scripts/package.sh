#!/usr/bin/env bash
# Makes the packages and the source archive: scripts/package.sh [FOLDER]
#
# Makes, in FOLDER (default: build/packages):
#
# - Debian packages of the libraries, of what is needed to build with them, of the tool (not with
#   WYX_BUILD_TOOL=OFF), and of the debug information of libraries and tool
# - libwyx_commlib-VERSION.tar.xz, the sources
# - a bill of materials (SPDX)
# - SHA256SUMS of all of these files
#
# Packages, archives and bills that FOLDER already has are deleted.
#
# The same sources produce the same bytes: all times are SOURCE_DATE_EPOCH, by default the time of the
# last commit. Installs what is missing (Debian).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
folder=$(realpath -m "${1:-$root/build/packages}")
cd "$root"
scripts/install_packages.sh g++ cmake ninja-build dpkg-dev file gzip python3 xz-utils
if [[ -z ${SOURCE_DATE_EPOCH:-} ]]; then
    if [[ -e .git ]]; then
        SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
    else
        SOURCE_DATE_EPOCH=$(stat -c %Y CHANGELOG.md) # an unpacked archive, which keeps the time
    fi
fi
export SOURCE_DATE_EPOCH
export LC_ALL=C.UTF-8 # else CPack cannot pack in a folder whose name has letters beyond ASCII
umask 022
mkdir -p "$folder"
rm -f "$folder"/*.deb "$folder"/*.tar.xz "$folder"/*.spdx.json "$folder"/SHA256SUMS

version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
list_sources() { # the project's files: those git knows, or all of an unpacked archive
    if [[ -e .git ]]; then
        git ls-files -z
    else
        find . \( -path ./build -o -samefile "$folder" \) -prune -o \
            \( -type f -o -type l \) -print0
    fi
}
list_sources | LC_ALL=C sort -z | tar --create --no-recursion --format=gnu \
    --owner=0 --group=0 --numeric-owner --mtime="@$SOURCE_DATE_EPOCH" --mode=u=rwX,go=rX \
    --transform="flags=r;s,^\(\./\)\?,libwyx_commlib-$version/," --null --files-from=- |
    xz -T1 >"$folder/libwyx_commlib-$version.tar.xz"

# No path to libraries is stored: packages put them where the system looks.
cmake -S . -B "$folder/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_SKIP_RPATH=ON -DWYX_DEBUG_INFO=ON -DWYX_BUILD_TOOL="${WYX_BUILD_TOOL:-ON}" -DWYX_BUILD_TESTS=OFF \
    -DWYX_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$folder/build" >/dev/null
(cd "$folder/build" && cpack -B "$folder/cpack" >"$folder/log" 2>&1) || { cat "$folder/log" >&2; exit 1; }
mv "$folder"/cpack/*.deb "$folder"
rm -rf "$folder/cpack"
scripts/make_sbom.py "$folder" >"$folder/libwyx_commlib-$version.spdx.json"
(cd "$folder" && sha256sum -- *.deb *.tar.xz *.spdx.json | tee SHA256SUMS)
