#!/usr/bin/env bash
# run_under_wine.sh PROGRAM [ARGS]: runs a Windows program of this build and exits with its exit code.
#
# The Wine prefix is made on first use. DLLs are found in the build's bin folder (the
# folder "bin" above the program that lies nearest), where deploy_dlls.py puts them. Arguments pass untouched. Without a
# display a virtual one is started for the program.
set -euo pipefail

here=$(dirname "$(realpath "$0")")
. "$here/wine_environment.sh"

if [ -z "${DISPLAY:-}" ]; then
    exec xvfb-run -a -s "-screen 0 1600x1200x24" "$0" "$@"
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

if [ ! -e "$WINEPREFIX/ready" ]; then
    "$here/make_wine_prefix.sh"
fi
exec wine "$program" "${@:2}"
