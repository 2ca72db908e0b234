#!/usr/bin/env bash
# windows.sh: builds the Windows x64 programs and the release, and runs the tests and the tour as Windows programs under Wine.
#
#   usage: windows.sh [--build-only | --run-only | --dist]
#
# --run-only runs what an earlier call built. --dist only makes the release, with the key pair that $PLUGBOARD_PARAM_PUBLIC_KEY
# and $PLUGBOARD_PARAM_PRIVATE_KEY name, or one of its own.
#
# $PLUGBOARD_WINDOWS_SYSROOT names the folder of the libraries, or $PLUGBOARD_WINDOWS_ARCHIVE a packed copy of it. Without either
# they are built from Debian's source packages (packaging/windows/build_dependencies.sh, about an hour on two cores).
# Results lie in build/windows (programs in bin/, tests.xml, the release in dist/) and build/windows-tour (reports and pictures).
# The last line is "N passed, N failed".
set -euo pipefail

project=$(dirname "$(dirname "$(realpath "$0")")")
cd "$project"
windows=packaging/windows
build=$project/build/windows
pictures=$project/build/windows-tour
archive=${PLUGBOARD_WINDOWS_ARCHIVE:-}
passed=0 failed=0 started=${PLUGBOARD_STARTED:=$(date +%s)}
export PLUGBOARD_STARTED

step() { echo "== $(($(date +%s) - started)) s: $*"; }

# count NAME COMMAND...: one check; its output is shown whole only when it fails.
count() {
    local name=$1 log
    shift
    log=$build/$name.log
    if "$@" > "$log" 2>&1; then
        passed=$((passed + 1))
        echo "$name: passed: $(tail -n 1 "$log")"
    else
        failed=$((failed + 1))
        echo "$name: FAILED, see $log"
        tail -n 40 "$log"
    fi
}

# Sets `sysroot` to a folder with the libraries.
find_sysroot() {
    local sum
    sysroot=${PLUGBOARD_WINDOWS_SYSROOT:-}
    if [ -n "$sysroot" ]; then
        sysroot=$(realpath "$sysroot")
        [ -d "$sysroot/qt" ] || { echo "PLUGBOARD_WINDOWS_SYSROOT=$sysroot holds no libraries." >&2; exit 1; }
        return
    fi
    sysroot=$project/build/windows-sysroot
    if [ -n "$archive" ]; then
        [ -f "$archive" ] || { echo "PLUGBOARD_WINDOWS_ARCHIVE=$archive is no file." >&2; exit 1; }
        sum=$(sha256sum < "$archive")
        [ "$(cat "$sysroot/unpacked-from" 2>/dev/null)" = "$sum" ] && return
        step "unpacking $archive"
        rm -rf "$sysroot" "$sysroot.partial"
        mkdir -p "$sysroot.partial"
        tar -C "$sysroot.partial" --strip-components 1 --no-same-owner -xf "$archive"
        echo "$sum" > "$sysroot.partial/unpacked-from"
        mv "$sysroot.partial" "$sysroot"
    elif [ -L "$sysroot" ] || [ ! -d "$sysroot/qt" ]; then
        step "building the libraries"
        $windows/build_dependencies.sh "$project/build/windows-dependencies"
        rm -rf "$sysroot"
        ln -s windows-dependencies/sysroot "$sysroot"
    fi
}

build_programs() {
    step "building"
    mkdir -p "$build/bin"
    local fresh=()
    grep -qsx "PLUGBOARD_WINDOWS_SYSROOT:PATH=$sysroot" "$build/CMakeCache.txt" || fresh=(--fresh)
    cmake "${fresh[@]}" --preset windows -DPLUGBOARD_WINDOWS_SYSROOT="$sysroot" > "$build/configure.log" ||
        { cat "$build/configure.log"; exit 1; }
    cmake --build --preset windows
    step "building the Linux programs to compare with"
    cmake --preset release > "$build/configure-linux.log" || { cat "$build/configure-linux.log"; exit 1; }
    cmake --build --preset release --target plugboard plugboard_driver_program devices_test_child
    $windows/deploy_dlls.py --sysroot "$sysroot" --to "$build/bin" --plugins "$build/plugins" \
        "$build/bin" "$build/tests" "$build/tour"
    # Qt looks for plug-ins beside a program that has Qt's DLLs beside it, and otherwise where the DLLs' parent folder has them.
    local kind
    for kind in "$build"/plugins/*; do
        ln -sfn "../plugins/${kind##*/}" "$build/bin/${kind##*/}"
    done
}

make_release() {
    step "making the release"
    $windows/make_dist.sh "$sysroot" "$project/build/windows-dist" "$build/dist"
}

run_tests() {
    step "running the tests"
    local excluded line
    # Whole suites on the list are not run; check_results.py compares the list with what ran.
    excluded=$(sed -n 's/^\([^# :]*\): .*/^\1$/p' $windows/not_run_under_wine.txt | paste -sd '|')
    mkdir -p "$build/output"
    PLUGBOARD_WINE_OUTPUT=$build/output ctest --preset windows --output-junit "$build/tests.xml" --test-output-size-passed 4000000 \
        --test-output-size-failed 4000000 ${excluded:+-E "$excluded"} || true
    ctest --preset windows -N | sed -n 's/^ *Test *#[0-9]*: //p' > "$build/suites"
    $windows/check_results.py "$build/tests.xml" $windows/not_run_under_wine.txt "$build/suites" > "$build/verdict" || true
    cat "$build/verdict"
    line=$(tail -n 1 "$build/verdict")
    [[ $line =~ ^suites\ ([0-9]+)\ passed,\ ([0-9]+)\ failed$ ]] || { echo "The tests were not judged." >&2; exit 1; }
    passed=$((passed + BASH_REMATCH[1])) failed=$((failed + BASH_REMATCH[2]))
}

if [ -z "${PLUGBOARD_WINE_RUNS:-}" ]; then
    scripts/packages.sh build windows host checks
    if [ "${1:-}" = --dist ]; then
        find_sysroot
        make_release
        exit
    fi
    if [ "${1:-}" != --run-only ]; then
        find_sysroot
        build_programs
        make_release
    fi
    [ "${1:-}" = --build-only ] && exit
    # Here, as the tests under Wine may not unpack the machine's packages with their owners.
    step "making the host machine"
    scripts/host.sh --machine > "$build/host-machine.log" 2>&1 || { cat "$build/host-machine.log"; exit 1; }
    exec $windows/with_wine.sh "$0" --run-only
fi
run_tests
step "taking the tour in both languages"
for language in en zh_CN; do
    rm -rf "${pictures:?}/$language"
    count "tour_$language" $windows/run_under_wine.sh "$build/tour/plugboard-tour.exe" "$pictures/$language" --language $language
done
step "comparing with the Linux programs"
count comparison scripts/compare_platforms.py "$project/build/release" "$build"
step "running the driver engine on Wine's own device tree"
count wine_driver tests/driver/wine_driver_test.py "$build/bin" --fixtures "$build/tests/driver" --prefix "$build/wine-driver"
step "attaching the devices of the Windows programs to a stock Linux kernel"
count host scripts/host.sh --windows
step "installing, using and removing the release"
rm -rf "$project/build/wine-release"
count release env -u PLUGBOARD_WINE_RUNS WINEPREFIX="$project/build/wine-release" $windows/with_wine.sh \
    $windows/check_release.py "$build/dist" "$build" "$build/release-check"
count hardening scripts/check_hardening.py --commands "$project/build/windows-dist/compile_commands.json" \
    "$project"/build/windows-dist/stage
count signing $windows/check_signing.sh "$project"/build/windows-dist/stage/plugboard-* "$build/signing-check"
step "done"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
