#!/usr/bin/env bash
# check_format.sh [--fix]: every C++ file of ours is as clang-format would have it.
. "$(dirname "$0")/lib.sh"
mapfile -t files < <(find . -path ./build -prune -o -name '*.cpp' -print -o -name '*.h' -print)
[ ${#files[@]} -gt 0 ] || { echo "There is no C++ file here." >&2; exit 1; }
if [ "${1:-}" = --fix ]; then
    clang-format-14 -i "${files[@]}"
else
    clang-format-14 --dry-run --Werror "${files[@]}"
fi
