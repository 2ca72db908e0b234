#!/usr/bin/env bash
# make_installer.sh STAGE VERSION WORK OUTPUT: makes the installer OUTPUT of the files in folder STAGE; WORK is a folder for what
# is generated. Signs the uninstaller when $PLUGBOARD_SIGN_CERTIFICATE is set (see sign.sh).
set -euo pipefail
here=$(dirname "$(realpath "$0")")
stage=$1 version=$2 work=$(realpath -m "$3") output=$(realpath -m "$4")

"$here/installer_files.py" "$stage" "$work"
sign=()
[ -z "${PLUGBOARD_SIGN_CERTIFICATE:-}" ] || sign=("-DSIGN=$here/sign.sh")
makensis -V2 -WX -INPUTCHARSET UTF8 "-DVERSION=$version" "-DVERSION4=$version.0" "-DOUTPUT=$output" "-DICON=$here/plugboard.ico" \
    "-DLICENCE=$(realpath "$stage")/LICENSE.txt" "-DFILES=$work" "${sign[@]}" "$here/installer.nsi"
