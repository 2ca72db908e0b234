#!/usr/bin/env bash
# check_signing.sh STAGE WORK: signs a program of folder STAGE, a small installer and its uninstaller with a certificate made here,
# the way a release is signed, and has the signatures verified. WORK is a folder for its files.
set -euo pipefail
here=$(dirname "$(realpath "$0")")
stage=$(realpath "$1") work=$(realpath -m "$2")
rm -rf "$work"
mkdir -p "$work/stage"
cd "$work"

fail() { echo "FAILED: $*"; exit 1; }
verify() { osslsigncode verify -CAfile certificate.pem -in "$1" > "$(basename "$1").log" 2>&1; }

openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=Plugboard test" -addext extendedKeyUsage=codeSigning \
    -addext keyUsage=digitalSignature -keyout key.pem -out certificate.pem 2> openssl.log
export PLUGBOARD_SIGN_CERTIFICATE=$work/certificate.pem PLUGBOARD_SIGN_KEY=$work/key.pem

cp "$stage/plugboard-driver.exe" "$stage/LICENSE.txt" stage
verify stage/plugboard-driver.exe && fail "an unsigned program passes"
"$here/sign.sh" stage/plugboard-driver.exe > sign.log
verify stage/plugboard-driver.exe || fail "the program's signature: $(cat plugboard-driver.exe.log)"

"$here/make_installer.sh" stage 0.0.1 files plugboard-test.exe > makensis.log
"$here/sign.sh" plugboard-test.exe >> sign.log
verify plugboard-test.exe || fail "the installer's signature: $(cat plugboard-test.exe.log)"
# The uninstaller is signed while the installer is made, which shows what the signing says.
grep -q "Signing succeeded\|Succeeded" makensis.log || fail "the uninstaller was not signed: $(cat makensis.log)"

cp stage/plugboard-driver.exe changed.exe
printf 'x' | dd of=changed.exe bs=1 seek=4096 conv=notrunc status=none
verify changed.exe && fail "a changed program passes"
echo "program and installer are verified; unsigned and changed ones are not"
