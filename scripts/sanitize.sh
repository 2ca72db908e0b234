#!/usr/bin/env bash
# sanitize.sh address|thread: the whole test suite under that sanitizer.
. "$(dirname "$0")/lib.sh"

case "${1:-}" in
address | thread) ;;
*) echo "usage: sanitize.sh address|thread" >&2; exit 2 ;;
esac
scripts/packages.sh build display checks
configure_and_build "$1"
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1
# Qt and the other libraries are not instrumented: what goes on inside them only looks like a race.
export TSAN_OPTIONS=ignore_noninstrumented_modules=1:halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/scripts/thread_suppressions.txt
export LSAN_OPTIONS=suppressions=$PWD/scripts/leak_suppressions.txt
ctest --preset "$1" --parallel 2
