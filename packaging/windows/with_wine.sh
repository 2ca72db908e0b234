#!/usr/bin/env bash
# with_wine.sh COMMAND [ARGS]: runs a command that uses Wine, with everything around it: a display (a virtual one unless
# $DISPLAY names one), a Wine prefix (made on first use), its server and its desktop. All of it ends with the command, whose
# exit code is passed on.
#
# Root is bound by file permissions here as any other user is, so that "access denied" can be seen.
set -euo pipefail
here=$(dirname "$(realpath "$0")")
. "$here/wine_environment.sh"

if [ "$(id -u)" -eq 0 ] && [ -z "${PLUGBOARD_WINE_BOUND:-}" ]; then
    export PLUGBOARD_WINE_BOUND=1
    if setpriv --inh-caps=-all --bounding-set=-all true 2>/dev/null; then
        exec setpriv --inh-caps=-all --bounding-set=-all "$0" "$@"
    fi
fi

work=$(mktemp -d)
display_server=
end() {
    # Knows its own prefix only; other Wine programs of this machine are not touched.
    wineserver -k > /dev/null 2>&1 || true
    wineserver -w > /dev/null 2>&1 || true
    [ -z "$display_server" ] || kill "$display_server" 2> /dev/null || true
    rm -rf "$work"
}
trap end EXIT

if [ -z "${DISPLAY:-}" ]; then
    mkfifo "$work/display"
    Xvfb -displayfd 3 -screen 0 1600x1200x24 -nolisten tcp 3<> "$work/display" > "$work/xvfb.log" 2>&1 &
    display_server=$!
    read -r -t 60 number <> "$work/display" || { cat "$work/xvfb.log" >&2; exit 1; }
    export DISPLAY=:$number
fi

# What Wine starts on its own must not hold this command's output open after the command's end.
mkdir -p "$WINEPREFIX"
wineserver -p > /dev/null 2>&1 || { echo "A program runs in $WINEPREFIX already." >&2; exit 1; }
if ! cmp -s "$here/wine_prefix.reg" "$WINEPREFIX/ready"; then
    settings=Z:$here/wine_prefix.reg
    if ! { wineboot --init && wine regedit /S "${settings//\//\\}"; } > "$WINEPREFIX/wineboot.log" 2>&1; then
        cat "$WINEPREFIX/wineboot.log" >&2
        exit 1
    fi
    cp "$here/wine_prefix.reg" "$WINEPREFIX/ready"
fi
wine explorer.exe /desktop=plugboard,1600x1200 > /dev/null 2>&1 &

PLUGBOARD_WINE_RUNS=$WINEPREFIX "$@"
