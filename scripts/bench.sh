#!/usr/bin/env bash
# bench.sh [NAME...]: prints one JSON line per benchmark, ours and the peer measured in turn in the same run.
. "$(dirname "$0")/lib.sh"

scripts/packages.sh build display bench >&2
configure_and_build release >&2
if [ $# -eq 0 ]; then
    for source in benchmarks/*_benchmark.cpp; do set -- "$@" "$(basename "$source" _benchmark.cpp)"; done
fi
for name in "$@"; do
    on_display "build/release/benchmarks/${name}_benchmark"
done
