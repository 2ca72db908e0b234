#!/usr/bin/env bash
# test.sh [--native]: builds everything, checks format and the arrows between folders, runs all tests and the tour; then
# the same as Windows programs under Wine, unless --native is given. The last line is "N passed, N failed".
. "$(dirname "$0")/lib.sh"

scripts/packages.sh build display checks
passed=0 failed=0
export PLUGBOARD_USER_DATA=$PWD/build/user-data # not the settings and logs of whoever runs the tests

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
check "translations" scripts/update_translations.sh --check
configure_and_build release
log=build/release/tests.log
on_display ctest --preset release --parallel 2 --output-on-failure | tee "$log" || true
total=$(sed -n 's/.*tests failed out of \([0-9]*\)$/\1/p' "$log")
broken=$(sed -n 's/.*% tests passed, \([0-9]*\) tests failed out of .*/\1/p' "$log")
[ "${total:-0}" -gt 0 ] || { total=1 broken=1; echo "FAILED: no test ran" >&2; }
passed=$((passed + total - broken)) failed=$((failed + broken))

check "tour" on_display build/release/tour/plugboard-tour "$PWD/build/tour"
check "tour in Chinese" on_display build/release/tour/plugboard-tour "$PWD/build/tour-zh_CN" --language zh_CN

if [ "${1:-}" != --native ]; then
    log=build/windows.log
    scripts/windows.sh 2>&1 | tee "$log" || true
    read -r windows_passed _ windows_failed _ < <(grep -x '[0-9]* passed, [0-9]* failed' "$log" | tail -n 1) ||
        { windows_passed=0 windows_failed=1; echo "FAILED: the Windows programs were not tested" >&2; }
    passed=$((passed + windows_passed)) failed=$((failed + windows_failed))
fi

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
