#!/usr/bin/env bash
# Shows what the library is for, on real input: bash scripts/demo.sh
#
# Installs what is missing (Debian), builds the release, and edits copies of files.
set -euo pipefail

cd "$(dirname "$0")/.."
scripts/install_packages.sh g++ cmake ninja-build

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

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
