#!/usr/bin/env bash
# run_under_wine.sh PROGRAM [ARGS]: runs a Windows program of this build and exits with its exit code.
#
# DLLs are found in the build's bin folder (the nearest folder "bin" above the program), where deploy_dlls.py puts them.
# Arguments pass untouched. With $PLUGBOARD_WINE_OUTPUT, a folder, the output comes when the program has ended. Several runs are faster below one with_wine.sh, which each starts for itself otherwise.
set -euo pipefail
here=$(dirname "$(realpath "$0")")
. "$here/wine_environment.sh"

if [ "${PLUGBOARD_WINE_RUNS:-}" != "$WINEPREFIX" ]; then
    exec "$here/with_wine.sh" "$0" "$@"
fi

program=$(realpath "$1")
folder=$(dirname "$program")
while [ "$folder" != / ] && [ ! -d "$folder/bin" ]; do
    folder=$(dirname "$folder")
done
if [ -d "$folder/bin" ]; then
    dlls=Z:${folder//\//\\}\\bin
    export WINEPATH=$dlls${WINEPATH:+;$WINEPATH}
fi
# Wine's console helper inherits what is written to and sometimes outlives the program: whoever waits for the end of a
# pipe has the output pass through a file.
if [ -n "${PLUGBOARD_WINE_OUTPUT:-}" ]; then
    output=$(mktemp "$PLUGBOARD_WINE_OUTPUT/XXXXXXXX")
    status=0
    wine "$program" "${@:2}" > "$output" 2>&1 < /dev/null || status=$?
    cat "$output"
    rm -f "$output"
    exit "$status"
fi
exec wine "$program" "${@:2}"
