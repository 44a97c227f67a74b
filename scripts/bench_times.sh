#!/usr/bin/env bash
# Times of the calls by themselves: scripts/bench_times.sh [ARGUMENT...]
#
# Arguments go to Google Benchmark, such as --benchmark_filter=Lookup or --benchmark_repetitions=9.
# How fast the library is beside others, scripts/bench.sh tells: it measures ratios, which say more
# on a machine that does other things as well.
set -euo pipefail

cd "$(dirname "$0")/.."
scripts/install_packages.sh g++ cmake ninja-build libbenchmark-dev pkg-config \
    libglib2.0-dev libinih-dev zlib1g-dev libdeflate-dev libisal-dev

build=build/bench-times
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DWYX_BUILD_BENCH=ON \
    -DWYX_BUILD_TESTS=OFF -DWYX_BUILD_EXAMPLES=OFF -DWYX_BUILD_TOOL=OFF >/dev/null
cmake --build "$build" --target bench_times
cd "$build" # where the files that are loaded and saved are made
for program in crc_bench ini_bench growth_bench; do
    "bench/$program" "$@"
done
