#!/usr/bin/env bash
# test.sh [--native]: builds everything, checks format and the arrows between folders, runs all tests, the tour and the host
# tests; then the same as Windows programs under Wine, unless --native is given. The last line is "N passed, N failed".
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

# counted NAME LOG COMMAND...: a command whose last line is "N passed, N failed" counts with these.
counted() {
    local name=$1 log=$2 good bad
    shift 2
    "$@" 2>&1 | tee "$log" || true
    read -r good _ bad _ < <(grep -x '[0-9]* passed, [0-9]* failed' "$log" | tail -n 1) ||
        { good=0 bad=1; echo "FAILED: $name were not run" >&2; }
    passed=$((passed + good)) failed=$((failed + bad))
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

check "hardening" scripts/check_hardening.py --commands build/release/compile_commands.json build/release/bin
check "first start" on_display scripts/check_first_start.sh build/release/tour/plugins
check "tour" on_display build/release/tour/plugboard-tour "$PWD/build/tour"
check "tour in Chinese, 144 dots an inch" on_display env QT_FONT_DPI=144 \
    build/release/tour/plugboard-tour "$PWD/build/tour-zh_CN" --language zh_CN
check "tour, 192 dots an inch" on_display env QT_FONT_DPI=192 build/release/tour/plugboard-tour "$PWD/build/tour-192"

counted "host tests" build/host.log scripts/host.sh
if [ "${1:-}" != --native ]; then
    counted "tests of the Windows programs" build/windows.log scripts/windows.sh
fi

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
