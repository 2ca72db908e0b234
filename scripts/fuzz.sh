#!/usr/bin/env bash
# fuzz.sh SECONDS [NAME...]: runs every fuzzer (or the named ones) for that long, seeded from fuzz/corpus/NAME. An input
# that crashes is saved beside the seeds, and the exit status is 1.
# fuzz.sh --runs NUMBER [NAME...]: the same for that many inputs.
. "$(dirname "$0")/lib.sh"

limit=-max_total_time=${1:?usage: fuzz.sh SECONDS|--runs NUMBER [NAME...]}
if [ "$1" = --runs ]; then
    limit=-runs=${2:?usage: fuzz.sh --runs NUMBER [NAME...]}
    shift
fi
shift
scripts/packages.sh build fuzz
configure_and_build fuzz fuzzers >&2
if [ $# -eq 0 ]; then
    for source in fuzz/*_fuzzer.cpp; do set -- "$@" "$(basename "$source" _fuzzer.cpp)"; done
fi
failed=0
for name in "$@"; do
    seeds=fuzz/corpus/$name found=build/fuzz/found/$name
    if [ -z "$(ls -A "$seeds" 2>/dev/null)" ]; then
        failed=1
        echo "$name: no seeds in $seeds" >&2
        continue
    fi
    mkdir -p "$found"
    log=build/fuzz/$name.log
    if LSAN_OPTIONS=suppressions=$PWD/scripts/leak_suppressions.txt "build/fuzz/fuzz/${name}_fuzzer" \
        "$limit" -timeout=10 -rss_limit_mb=2048 \
        -artifact_prefix="$seeds/" -print_final_stats=1 "$found" "$seeds" >"$log" 2>&1; then
        echo "$name: $(sed -n 's/stat::number_of_executed_units: *//p' "$log") runs, no crash"
    else
        failed=1
        echo "$name: CRASHED, see $log and $seeds" >&2
        tail -n 40 "$log" >&2
    fi
done
exit $failed
