#!/usr/bin/env bash
# Shows what the library is for, on real input: bash scripts/demo.sh
#
# Installs what is missing (Debian), builds the release, sets a key in copies of the INI-like files of
# this machine, and compares the values with those that another parser reads. The originals stay as they
# are.
set -euo pipefail

cd "$(dirname "$0")/.."
scripts/install_packages.sh g++ cmake ninja-build

source scripts/temp_folder.sh
work=$(temp_folder)
trap 'rm -rf "$work"' EXIT

# Not build/release, which would lose its tests.
build=build/demo
echo "Building the release in $build ..."
configure() {
    cmake --preset release -B "$build" -DWYX_BUILD_TESTS=OFF -DWYX_BUILD_EXAMPLES=OFF
}
make_tool() {
    if [[ -t 1 ]]; then
        cmake --build "$build" --target wyx # Ninja shows how far it is
    else
        cmake --build "$build" --target wyx >"$work/log" 2>&1
    fi
}
if ! { configure >"$work/log" 2>&1 && make_tool; }; then
    tail -n 30 "$work/log" >&2
    exit 1
fi
wyx=$PWD/$build/tools/wyx/wyx

# Runs what a user would type. Some of it is refused on purpose.
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

find /etc /usr/lib /usr/share -type f -readable \
    \( -name '*.ini' -o -name '*.desktop' -o -name '*.service' -o -name '*.conf' \) -print0 \
    2>/dev/null >"$work/list" || true

echo
echo "== A key is set in copies of this machine's $(tr -cd '\0' <"$work/list" | wc -c) INI-like files"
# Each change is flushed to the device, which is quick on a memory disk.
memory=$(TMPDIR=/dev/shm temp_folder 2>/dev/null || temp_folder)
trap 'rm -rf "$work" "$memory"' EXIT
copy=$memory/copy.ini
one=0 none=0 wrong=0
declare -A refused=()
while IFS= read -r -d '' file; do
    cp -- "$file" "$copy"
    key=
    "$wyx" ini sections -- "$copy" >"$memory/sections" 2>/dev/null || true
    while IFS= read -r section && [[ -z $key ]]; do
        key=$("$wyx" ini keys -- "$copy" "$section" 2>/dev/null | head -n 1) || true
        in=$section
    done <"$memory/sections"
    if [[ -z $key ]]; then
        none=$((none + 1))
        continue
    fi
    if ! why=$("$wyx" ini set -- "$copy" "$in" "$key=set-by-demo" 2>&1); then
        why=${why%%$'\n'*}
        why=${why##*copy.ini:}
        refused[$why]=$((${refused[$why]:-0} + 1))
        cmp -s -- "$file" "$copy" || { echo "$file: refused, but changed"; wrong=$((wrong + 1)); }
        continue
    fi
    # One line must have replaced another line and the indented lines that continued it.
    difference=$(diff -a -- "$file" "$copy") || true
    if [[ $(grep -ac '^>' <<<"$difference") == 1 &&
        $(grep -ac '^< [^[:blank:]]' <<<"$difference") == [01] &&
        $("$wyx" ini get -- "$copy" "$in" "$key") == set-by-demo ]]; then
        one=$((one + 1))
    else
        echo "$file: not one line:"$'\n'"$difference"
        wrong=$((wrong + 1))
    fi
done <"$work/list"
printf '%7d  %s\n' "$one" "changed in one line and those that continued it, and in no other byte" \
    "$none" "without a key in a section"
for why in "${!refused[@]}"; do
    printf '%7d  refused: %s\n' "${refused[$why]}" "$why"
done
((wrong == 0)) || { echo "$wrong files were changed in some other way"; exit 1; }

echo
echo "== The values that Python's configparser reads, compared"
if command -v python3 >/dev/null; then
    scripts/compare_values.py "$wyx" "$work/list"
else
    echo "left out: python3 is not installed"
fi
