#!/usr/bin/env bash
# sign.sh FILE...: puts an Authenticode signature on Windows programs, in place.
#
#   PLUGBOARD_SIGN_CERTIFICATE   PEM file: the certificate, then those that it hangs from
#   PLUGBOARD_SIGN_KEY           PEM file: its private key
#   PLUGBOARD_SIGN_PASSWORD      file with the key's password, where it has one
#   PLUGBOARD_SIGN_TIMESTAMP     address of a time-stamping service (RFC 3161); without it a signature ends with the certificate
set -euo pipefail
: "${PLUGBOARD_SIGN_CERTIFICATE:?names no certificate}" "${PLUGBOARD_SIGN_KEY:?names no key}"

options=(-certs "$PLUGBOARD_SIGN_CERTIFICATE" -key "$PLUGBOARD_SIGN_KEY" -h sha256 -n Plugboard)
[ -z "${PLUGBOARD_SIGN_PASSWORD:-}" ] || options+=(-readpass "$PLUGBOARD_SIGN_PASSWORD")
[ -z "${PLUGBOARD_SIGN_TIMESTAMP:-}" ] || options+=(-ts "$PLUGBOARD_SIGN_TIMESTAMP")
for file in "$@"; do
    rm -f "$file.signed"
    osslsigncode sign "${options[@]}" -in "$file" -out "$file.signed"
    chmod --reference "$file" "$file.signed"
    mv "$file.signed" "$file"
done
