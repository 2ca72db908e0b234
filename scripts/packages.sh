#!/usr/bin/env bash
# packages.sh GROUP...: installs what is missing of the Debian packages that a group of commands needs.
# packages.sh --lists: just brings apt's lists up to date.
set -euo pipefail

build=(g++ cmake ninja-build pkg-config ccache qtbase5-dev qttools5-dev qttools5-dev-tools qttranslations5-l10n libssl-dev openssl
    libavformat-dev libavcodec-dev libavfilter-dev libavutil-dev libswresample-dev libswscale-dev libopencv-dev
    nlohmann-json3-dev libfido2-dev ffmpeg python3 procps fonts-dejavu-core fonts-noto-cjk)
display=(xvfb xauth libqt5gui5 fonts-noto-cjk)
checks=(clang-format-14 python3 git ffmpeg tshark dosfstools mtools)
bench=(ffmpeg tshark python3-gi gir1.2-gst-rtsp-server-1.0 gstreamer1.0-plugins-base gstreamer1.0-plugins-good
    gstreamer1.0-plugins-bad gstreamer1.0-plugins-ugly)
guide=(imagemagick)
fuzz=(clang-14 libclang-rt-14-dev)
windows=(g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine wine64 xvfb xauth xz-utils python3 nsis osslsigncode
    libfreetype-dev)
host=(qemu-system-x86 cpio xz-utils python3 openssl xvfb xdotool chromium
    fido2-tools ffmpeg jq kbd qrencode zbar-tools) # the second line is what docs/guide/examples/job.sh uses
package=(dpkg-dev file lintian appstream desktop-file-utils man-db)
clean_root=(debootstrap)
dependencies=(g++ make perl cmake ninja-build nasm pkg-config python3 dpkg-dev g++-mingw-w64-x86-64-posix libz-mingw-w64-dev xz-utils)

as_root=()
become_root() {
    [ "$(id -u)" -ne 0 ] || return 0
    command -v sudo >/dev/null || { echo "Run as root, or install sudo: $1" >&2; exit 1; }
    as_root=(sudo)
}

if [ "${1:-}" = --lists ]; then
    become_root "apt must update its lists."
    "${as_root[@]}" apt-get update -qq
    exit
fi

missing=()
for group in "$@"; do
    declare -n packages=$group
    for package in "${packages[@]}"; do
        dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}" >&2
become_root "apt must install ${missing[*]}."
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
