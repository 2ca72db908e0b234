#!/usr/bin/env bash
# make_dist.sh SYSROOT BUILD DIST: makes the release in folder DIST: zip, installer, SHA256SUMS. Programs are built in folder BUILD.
#
#   PLUGBOARD_PARAM_PUBLIC_KEY   PEM file of the key that device parameters are encrypted with, and
#   PLUGBOARD_PARAM_PRIVATE_KEY  of its other half, for the device process (default: a pair made in BUILD)
#   PLUGBOARD_FETCH_HOST         host of the start-up fetch (default 127.0.0.1)
#   PLUGBOARD_SIGN_CERTIFICATE   with the others of sign.sh: sign the programs, the uninstaller and the installer
#   SOURCE_DATE_EPOCH            the time that everything carries (default: that of the commit)
#
# The same sources, key, host, compilers and sysroot give the same bytes, wherever the folders are, but for signatures.
set -euo pipefail
public_key=${PLUGBOARD_PARAM_PUBLIC_KEY:+$(realpath "$PLUGBOARD_PARAM_PUBLIC_KEY")}
private_key=${PLUGBOARD_PARAM_PRIVATE_KEY:+$(realpath "$PLUGBOARD_PARAM_PRIVATE_KEY")}

project=$(realpath "$(dirname "$0")/../..")
windows=$project/packaging/windows
sysroot=$(realpath "$1") build=$(realpath -m "$2") dist=$(realpath -m "$3")
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -C "$project" log -1 --format=%ct)}
export LC_ALL=C.UTF-8 TZ=UTC
umask 022

sign() { [ -z "${PLUGBOARD_SIGN_CERTIFICATE:-}" ] || "$windows/sign.sh" "$@" > "$build/sign.log"; }

mkdir -p "$build"
cd "$project"
cmake --preset windows-dist -B "$build" -DPLUGBOARD_WINDOWS_SYSROOT="$sysroot" \
    -DPARAM_PUBLIC_KEY="$public_key" -DPARAM_PRIVATE_KEY="$private_key" \
    -DSTARTUP_FETCH_HOST="${PLUGBOARD_FETCH_HOST:-127.0.0.1}" > "$build/configure.log" 2>&1 ||
    { cat "$build/configure.log" >&2; exit 1; }
cmake --build "$build"
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")

stage=$build/stage/plugboard-$version
rm -rf "$build/stage"
mkdir -p "$stage"
cp "$build"/bin/*.exe "$build"/bin/plugboard-*.dll "$stage"
sign "$stage"/*.exe "$stage"/plugboard-*.dll
"$windows/deploy_dlls.py" --sysroot "$sysroot" --to "$stage" "$stage"
find "$stage" -name '*.dll' -exec x86_64-w64-mingw32-strip --strip-unneeded --enable-deterministic-archives {} +
cp "$project/LICENSE" "$stage/LICENSE.txt"
"$windows/collect_licences.py" "$stage" --sysroot "$sysroot"
find "$stage" -type f -exec chmod 644 {} + -exec touch --date "@$SOURCE_DATE_EPOCH" {} +

rm -rf "$dist"
mkdir -p "$dist"
"$windows/make_zip.py" "$stage" "$dist/plugboard-$version-windows-x64.zip"
"$windows/make_installer.sh" "$stage" "$version" "$build/installer" "$dist/plugboard-$version-setup.exe"
sign "$dist/plugboard-$version-setup.exe"
(cd "$dist" && sha256sum -- * > SHA256SUMS)
(cd "$dist" && wc -c -- * | sed '$d')
