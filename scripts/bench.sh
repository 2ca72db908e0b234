#!/usr/bin/env bash
# bench.sh [NAME...]: prints one JSON line per benchmark, ours and the peer measured in turn in the same run.
. "$(dirname "$0")/lib.sh"

scripts/packages.sh build display bench >&2
configure_and_build release >&2
if [ $# -eq 0 ]; then
    for source in benchmarks/*_benchmark.*; do
        source=${source##*/}
        set -- "$@" "${source%_benchmark.*}"
    done
fi
for name in "$@"; do
    if [ -e "benchmarks/${name}_benchmark.py" ]; then
        scripts/host.sh --machine >&2
        PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 "benchmarks/${name}_benchmark.py"
    else
        on_display "build/release/benchmarks/${name}_benchmark"
    fi
done
