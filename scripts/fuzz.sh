#!/usr/bin/env bash
# Builds the libFuzzer targets in build/fuzz (clang, address and undefined-behaviour sanitizers)
# and runs each for FUZZ_SECONDS (default 300), one after the other. Fails on any crash, leak,
# time-out or memory blow-up; the input that caused it is left in build/fuzz/crashes/.
#   FUZZ_SECONDS=7 scripts/fuzz.sh            the bounded run of `make test` (about 100 s)
#   FUZZ_TARGETS="xlsx zip" scripts/fuzz.sh   some targets only
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${FUZZ_SECONDS:-300}
targets=${FUZZ_TARGETS:-"zip xml xlsx xlsx_parts ods cfb xls csv native formula formula_eval cell_text"}
jobs=${JOBS:-2}
tree=build/fuzz

CC=clang CXX=clang++ cmake -S . -B $tree -DKES_FUZZ=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build $tree -j "$jobs" >/dev/null
[ -d $tree/seeds ] || /usr/bin/python3 scripts/fuzz_seeds.py $tree/seeds >/dev/null

max_len() {
    case "$1" in
        zip|xlsx|ods|cfb|xls|native) echo $((1 << 20)) ;;
        xml|xlsx_parts) echo $((1 << 18)) ;;
        csv) echo $((1 << 16)) ;;
        formula|formula_eval) echo 4096 ;;
        *) echo 1024 ;;
    esac
}

dictionary() {
    case "$1" in
        xml|xlsx_parts) echo "-dict=fuzz/xml.dict" ;;
        formula|formula_eval|cell_text) echo "-dict=fuzz/formula.dict" ;;
    esac
}

status=0
mkdir -p $tree/crashes
for t in $targets; do
    corpus=$tree/corpus/$t
    mkdir -p "$corpus" "$tree/seeds/$t"
    log=$tree/fuzz-$t.log
    # The grown corpus comes first, so new finds are kept there; the seeds are only read.
    if ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=0 UBSAN_OPTIONS=print_stacktrace=1 \
        "$tree/bin/fuzz_$t" -max_total_time="$seconds" -rss_limit_mb=2048 -malloc_limit_mb=1024 -timeout=10 \
        -max_len="$(max_len "$t")" $(dictionary "$t") -print_final_stats=1 -artifact_prefix="$tree/crashes/$t-" \
        "$corpus" "$tree/seeds/$t" >"$log" 2>&1; then
        echo "fuzz $t: ok, $(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$') runs" \
             "in ${seconds}s, corpus $(ls "$corpus" | wc -l)"
    else
        status=1
        echo "fuzz $t: FAILED, see $log"
        grep -m1 -E '^(==[0-9]+==ERROR|SUMMARY|.*runtime error|fuzz invariant)' "$log" || tail -5 "$log"
        ls -t $tree/crashes/$t-* 2>/dev/null | head -1
    fi
done
exit $status
