#!/usr/bin/env bash
# Runs fuzz targets: scripts/fuzz.sh TARGET|all SECONDS|EXECUTIONSx [BUILD_FOLDER]
#
# Each target runs for SECONDS, such as 60, or executions, such as 2000000x. Builds the targets with
# the preset "fuzz" first, unless WYX_FUZZERS names a folder of built ones. Inputs that reach
# something new are kept beside the targets (corpus-TARGET) and used again; the seeds in
# tests/fuzz/corpus do not change. A finding is reported with the file that holds it: fix the cause,
# and put the file into tests/fuzz/corpus/TARGET, so that fuzz_replay_test replays it.
set -euo pipefail

if (($# < 2)) || [[ ! $2 =~ ^[1-9][0-9]*x?$ ]]; then
    sed -n '2,8s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi
target=$1
limit=-max_total_time=$2
if [[ $2 == *x ]]; then
    limit=-runs=${2%x}
fi
source_folder=$(cd "$(dirname "$0")/.." && pwd)
corpora=$source_folder/tests/fuzz/corpus
build_folder=${3:-$source_folder/build/fuzz}

targets=("$target")
if [[ $target == all ]]; then
    mapfile -t targets < <(ls "$corpora")
fi
if [[ -n ${WYX_FUZZERS:-} ]]; then
    programs=$WYX_FUZZERS
else
    programs=$build_folder/tests/fuzz
    cmake -S "$source_folder" --preset fuzz -B "$build_folder" >/dev/null
    cmake --build "$build_folder" --target "${targets[@]/#/fuzz_}"
fi

# Short allocation stacks and a small quarantine save time and memory, because the models allocate more
# than the library. A finding can be replayed with the defaults.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:detect_stack_use_after_return=1:malloc_context_size=1:quarantine_size_mb=8}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
failed=0
for name in "${targets[@]}"; do
    if [[ ! -x $programs/fuzz_$name ]]; then
        echo "$programs has no fuzz target $name" >&2
        exit 2
    fi
    kept=$programs/corpus-$name
    mkdir -p "$kept"
    log=$programs/$name.log
    start=$SECONDS
    if "$programs/fuzz_$name" "$limit" -max_len=2048 -timeout=10 \
        -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$programs/finding-$name-" \
        "$kept" "$corpora/$name" >"$log" 2>&1; then
        executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
        if ((executions == 0)); then
            echo "$name: executed nothing" >&2
            failed=1
            continue
        fi
        echo "$name: $executions executions in $((SECONDS - start)) s," \
            "$(ls "$kept" | wc -l) inputs kept, no finding"
    else
        echo "$name: FINDING" >&2
        tail -n 60 "$log" >&2
        failed=1
    fi
done
exit $failed
