#!/usr/bin/env bash
# make_wine_prefix.sh: makes the Wine prefix in which Windows programs of this build run, when it is not there. Needs a
# display.
set -euo pipefail
. "$(dirname "$(realpath "$0")")/wine_environment.sh"

mkdir -p "$WINEPREFIX"
exec 9> "$WINEPREFIX.lock"
flock 9
[ -e "$WINEPREFIX/ready" ] && exit 0
settings=Z:$(dirname "$(realpath "$0")")/wine_prefix.reg
{ wineboot --init && wine regedit /S "${settings//\//\\}"; } 9>&- > "$WINEPREFIX/wineboot.log" 2>&1
touch "$WINEPREFIX/ready"
