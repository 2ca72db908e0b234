#!/usr/bin/env bash
# check_first_start.sh PLUGINS: starts the program as the README says, in a copy of the sources that was never built, and
# answers its question with the mouse (Yes, and OK to a failure): the window must open. PLUGINS holds
# generic/program_user, which does that. Needs a display.
. "$(dirname "$0")/lib.sh"

plugins=$(realpath "$1")
copy=$PWD/build/first-start
rm -rf "$copy"
mkdir -p "$copy/user"
tar --exclude=./build --exclude=./.git -cf - . | tar -xf - -C "$copy"
status=0
QT_PLUGIN_PATH=$plugins QT_QPA_GENERIC_PLUGINS=programuser:Yes+Ok \
    PLUGBOARD_USER_FOLDER=$copy/user PLUGBOARD_USER_DATA=$copy/user \
    "$copy/scripts/run.sh" > "$copy/output" 2>&1 || status=$?
if [ $status -ne 0 ] || ! grep -qsx "window Plugboard" "$copy/user/seen.txt"; then
    tail -n 20 "$copy/output" >&2
    echo "The first start ended with exit code $status and showed:" >&2
    cat "$copy/user/seen.txt" >&2
    exit 1
fi
