#!/usr/bin/env bash
# Shows what the library is for, on real input: bash scripts/demo.sh
#
# Installs what is missing (Debian), builds the release, and sends INI files on a round trip: load,
# check, look up every value, change a key, save, load again, compare. The files are those under
# examples/data and the INI-like ones of this machine; it works on copies and changes none of them.
set -euo pipefail

cd "$(dirname "$0")/.."
scripts/install_packages.sh g++ cmake ninja-build libcli11-dev nlohmann-json3-dev

work=$(mktemp -d)
# The saves of a round trip are flushed one by one, which a memory disk makes quick.
memory=$(mktemp -d -p /dev/shm 2>/dev/null || mktemp -d)
trap 'rm -rf "$work" "$memory"' EXIT

# A folder of its own, so that that of the release keeps its tests.
build=build/demo
echo "Building the release in $build ..."
if ! { cmake --preset release -B "$build" -DWYX_BUILD_TESTS=OFF -DWYX_BUILD_EXAMPLES=OFF &&
    cmake --build "$build" --target wyx; } >"$work/log" 2>&1; then
    tail -n 30 "$work/log" >&2
    exit 1
fi
wyx=$PWD/$(find "$build" -type f -name wyx -perm -u+x | head -n 1)

# What a user would type; some of it is refused, which is a part of the show.
try() {
    echo "\$ wyx ${*@Q}" | sed "s/'\([A-Za-z0-9._=-]*\)'/\1/g"
    (cd "$work" && "$wyx" "$@" 2>&1) || echo "(exit code $?)"
}

echo
echo "== A client's configuration"
cp examples/data/client.ini "$work"
try ini get client.ini sip port
try ini set client.ini sip port=5063 proxy=sip2.example.org
try ini set client.ini account 'DisplayName=Alice ;-)'
try sum --crc32 client.ini
echo "\$ diff of the old and the new file"
diff examples/data/client.ini "$work/client.ini" || true

# Exit code 1: some file did not come back the same. The table says which, and why.
round_trip() {
    TMPDIR=$memory "$wyx" ini roundtrip "$@" || (($? == 1))
}

echo
echo "== Round trip: examples/data"
round_trip examples/data/*.ini

echo
echo "== Round trip: the INI-like files of this machine"
find /etc /usr/lib /usr/share -type f -readable \
    \( -name '*.ini' -o -name '*.desktop' -o -name '*.service' -o -name '*.conf' \) -print0 \
    2>/dev/null >"$work/list" || true
round_trip --shown 8 --files0-from "$work/list"
