#!/usr/bin/env bash
# check_format.sh [--fix]: every C++ file of ours is as clang-format would have it.
. "$(dirname "$0")/lib.sh"
mapfile -t files < <(git ls-files '*.cpp' '*.h')
if [ "${1:-}" = --fix ]; then
    clang-format-14 -i "${files[@]}"
else
    clang-format-14 --dry-run --Werror "${files[@]}"
fi
