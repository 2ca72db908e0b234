#!/usr/bin/env bash
# test.sh: builds everything, checks format and the arrows between folders, runs all tests and the tour.
. "$(dirname "$0")/lib.sh"

scripts/packages.sh build display checks
passed=0 failed=0

# check NAME COMMAND...: one check that counts.
check() {
    local name=$1
    shift
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        echo "FAILED: $name" >&2
    fi
}

check "format" scripts/check_format.sh
check "arrows between folders" python3 scripts/check_arrows.py
configure_and_build release
log=build/release/tests.log
on_display ctest --preset release --parallel 2 --output-on-failure | tee "$log" || true
total=$(sed -n 's/.*tests failed out of \([0-9]*\)$/\1/p' "$log")
broken=$(sed -n 's/.*% tests passed, \([0-9]*\) tests failed out of .*/\1/p' "$log")
[ "${total:-0}" -gt 0 ] || { total=1 broken=1; echo "FAILED: no test ran" >&2; }
passed=$((passed + total - broken)) failed=$((failed + broken))

check "tour" on_display build/release/tour/plugboard-tour "$PWD/build/tour"

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
