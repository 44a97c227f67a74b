#!/usr/bin/env bash
# Compares the library with others for the same tasks, in the build that runs everywhere and in the
# best one for this machine: scripts/bench.sh [DIR [ARGUMENT...]]
#
# DIR (default: build/bench) receives the two build trees and the results: bench.json, and
# bench.html, a page of charts that docs/benchmarks.md explains. Every program gets the arguments,
# such as --only CRC or --rounds 51; --rounds 1 is enough to check that everything works and all
# contenders agree. WYX_BENCH_PROGRAMS="crc md5" runs only these programs, WYX_BENCH_LEVELS=baseline only
# that build.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
dir=${1:-$root/build/bench}
shift || true
read -ra levels <<<"${WYX_BENCH_LEVELS:-baseline best}"
mkdir -p "$dir"

# The other libraries, as the page calls them, and their packages.
peers=(
    zlib=zlib1g-dev libdeflate=libdeflate-dev ISA-L=libisal-dev # crc
    GLib=libglib2.0-dev                                         # containers, base64, ini
    OpenSSL=libssl-dev nettle=nettle-dev                        # md5, base64
    inih=libinih-dev iniparser=libiniparser-dev                 # ini
)
bash "$root/scripts/install_packages.sh" g++ cmake ninja-build pkg-config python3 "${peers[@]#*=}"

# Prints the versions of the other libraries as the members of a JSON object.
versions() {
    local peer version
    for peer in "${peers[@]}"; do
        version=$(dpkg-query -W -f '${source:Upstream-Version}' "${peer#*=}" 2>/dev/null) || continue
        printf '"%s": "%s", ' "${peer%%=*}" "$version"
    done
    printf '"%s": "%s"' "C library" "$(getconf GNU_LIBC_VERSION 2>/dev/null || echo unknown)"
}

declare -A cpu=([baseline]=baseline [best]=native)
results=()
for level in "${levels[@]}"; do
    tree=$dir/$level
    cmake -S "$root" -B "$tree" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DWYX_CPU_LEVEL="${cpu[$level]}" -DWYX_BUILD_BENCH=ON \
        -DWYX_BUILD_TESTS=OFF -DWYX_BUILD_EXAMPLES=OFF -DWYX_BUILD_TOOL=OFF >"$dir/$level.log"
    cmake --build "$tree" --target compare >>"$dir/$level.log" ||
        { cat "$dir/$level.log" >&2; exit 1; }
done
for program in ${WYX_BENCH_PROGRAMS:-$(cd "$dir/${levels[0]}/bench/compare" && ls -- *_compare)}; do
    for level in "${levels[@]}"; do
        result=$dir/$level-${program%_compare}.json
        "$dir/$level/bench/compare/${program%_compare}_compare" \
            --level "$level" --json "$result" "$@"
        results+=("$result")
    done
done
{
    echo "[{\"peers\": {$(versions)}}"
    for result in "${results[@]}"; do
        echo ","
        cat "$result"
    done
    echo "]"
} >"$dir/bench.json"
home=$root/build/docs/html/benchmarks.html # the site, if it was built
[[ -e $home ]] || home=$root/docs/benchmarks.md
"$root/bench/compare/page.py" "$dir/bench.json" "$(realpath --relative-to="$dir" "$home")" \
    >"$dir/bench.html"
echo
echo "written: $dir/bench.json, $dir/bench.html"
