#!/usr/bin/env bash
# make_machine.sh PACKAGES FOLDER: writes into FOLDER what the host machine starts from.
#   vmlinux      Debian's stock kernel, ready to run
#   initrd.img   busybox, kernel modules, and the programs of the system that use USB devices
#   lent         what this system may lack where a test shows it in the guest as a desktop: polkit, its bus, and the
#                module that an administrator loads
# PACKAGES keeps what was downloaded; nothing is installed. Needs apt with its lists, dpkg-deb, cpio and xz.
set -euo pipefail

here=$(dirname "$(realpath "$0")")
store=$1 image=$2
packages=(busybox-static kmod usbip usbutils evtest dosfstools v4l-utils alsa-utils fido2-tools
    polkitd pkexec dbus-daemon dbus-system-bus-common)
programs=(/usr/sbin/usbip /usr/sbin/usbipd /usr/bin/lsusb /usr/bin/evtest /sbin/mkfs.fat /sbin/fsck.fat
    /usr/bin/v4l2-ctl /usr/bin/arecord /usr/bin/aplay /usr/bin/fido2-token /usr/bin/fido2-cred /usr/bin/fido2-assert)
lent_programs=(/usr/bin/pkexec /usr/lib/polkit-1/polkitd /usr/bin/dbus-daemon /bin/kmod)
lent_files=(/usr/share/dbus-1 /usr/share/polkit-1 /usr/lib/pam.d/polkit-1)
lent_module=vhci-hcd
# In the order in which they are loaded: the machine's own controller gets the first bus number.
modules=(virtio_pci virtio_net virtio_console 9pnet_virtio 9p overlay
    xhci-pci vhci-hcd usbip-host usbmon
    usbhid hid-generic evdev
    usb-storage uas sd_mod sg vfat nls_cp437 nls_ascii nls_iso8859-1 nls_utf8
    uvcvideo snd-usb-audio cdc-acm)

mkdir -p "$store/partial" "$image"
store=$(realpath "$store") image=$(realpath "$image")
work=$(mktemp -d "$image/work.XXXXXX")
trap 'rm -rf "$work"' EXIT
root=$work/root tree=$work/tree
kernel=$(apt-cache depends linux-image-amd64 | awk '/Depends:/ {print $2; exit}')
release=${kernel#linux-image-}

# Downloads what is missing or old, and unpacks all of it into $root.
bring_packages() {
    local deb
    # With an empty list of installed packages apt brings every library too; it needs no lock for that.
    : >"$work/none"
    local apt=(apt-get -qq -y -o Debug::NoLocking=1 -o APT::Sandbox::User=root -o Dir::State::status="$work/none"
        -o Dir::Cache::archives="$store")
    "${apt[@]}" autoclean >/dev/null # otherwise two versions of a package would be unpacked over each other
    "${apt[@]}" --no-install-recommends --download-only install "${packages[@]}" >/dev/null
    (cd "$store" && apt-get -qq -o APT::Sandbox::User=root download "$kernel")
    mkdir "$root"
    for deb in "$store"/*.deb; do
        case ${deb##*/} in linux-image-*) [[ ${deb##*/} == "$kernel"_* ]] || continue ;; esac
        dpkg-deb -x "$deb" "$root"
    done
}

# The loader of the unpacked system, so that its programs run here whatever this system's libraries are.
of_root() {
    "$root/lib64/ld-linux-x86-64.so.2" --library-path "$root/lib/x86_64-linux-gnu:$root/usr/lib/x86_64-linux-gnu" "$@"
}
kmod_as() { of_root --argv0 "$1" "$root/bin/kmod" "${@:2}"; }

# The kernel out of its bzImage (x86 boot protocol: set-up sectors at 0x1f1, offset and length of the payload at 0x248
# and 0x24c): an emulated processor takes seconds to unpack it.
extract_kernel() {
    local bzimage=$root/boot/vmlinuz-$release
    number() { od -An -t "u$2" -j "$(($1))" -N "$2" "$bzimage" | tr -d ' '; }
    local start=$((($(number 0x1f1 1) + 1) * 512 + $(number 0x248 4)))
    # Behind the payload stand four bytes that are no xz: its end is its own, so the unpacker's complaint means nothing.
    tail -c +$((start + 1)) "$bzimage" | head -c "$(number 0x24c 4)" | xz -dc --single-stream >"$1" 2>/dev/null || true
    [ "$(head -c 4 "$1" | tail -c 3)" = ELF ] || { echo "There is no kernel in $bzimage." >&2; exit 1; }
}

# copy_program PROGRAM TO LIBRARIES: a program of the unpacked system as the file TO, and its libraries into that folder.
copy_program() {
    local library
    cp -L "$root$1" "$2"
    of_root --list "$root$1" | sed -n 's/.*=> \(\/[^ ]*\).*/\1/p' | while read -r library; do
        cp -Lnu "$library" "$3"
    done
}

add_programs() {
    local program
    cp "$root/bin/busybox" "$tree/bin/"
    for program in "${programs[@]}"; do
        copy_program "$program" "$tree$program" "$tree/lib/x86_64-linux-gnu/"
    done
    cp -L "$root/lib64/ld-linux-x86-64.so.2" "$tree/lib64/"
    cp -r "$root/usr/share/alsa" "$tree/usr/share/"
    mkdir -p "$tree/usr/share/hwdata" "$tree/usr/share/misc" # usbip and lsusb complain without their lists of names
    : >"$tree/usr/share/hwdata/usb.ids"
    : >"$tree/usr/share/misc/usb.ids"
}

add_modules() {
    local module file
    kmod_as depmod -b "$root" "$release"
    mkdir -p "$tree/lib/modules"
    for module in "${modules[@]}"; do # each with what it needs before it
        kmod_as modprobe -d "$root" -S "$release" -D "$module" | awk '$1 == "insmod" {print $2}'
    done | awk '!seen[$0]++' | while read -r file; do
        cp "$file" "$tree/lib/modules/"
        basename "$file"
    done >"$tree/lib/modules/order"
}

# All of it below /usr, as this system has it, over which or under which it is mounted.
make_lent() {
    local lent=$image/lent program file
    mkdir -p "$lent"/usr/{bin,sbin,lib/x86_64-linux-gnu,lib/polkit-1}
    for program in "${lent_programs[@]}"; do
        file=/usr/${program#/usr}
        copy_program "$program" "$lent${file/\/\///}" "$lent/usr/lib/x86_64-linux-gnu/"
    done
    ln -s ../bin/kmod "$lent/usr/sbin/modprobe"
    (cd "$root" && cp -r --parents "${lent_files[@]/#/.}" "$lent/")
    kmod_as modprobe -d "$root" -S "$release" -D "$lent_module" | awk '$1 == "insmod" {print $2}' | while read -r file; do
        install -D "$file" "$lent/usr${file#"$root"}"
    done
    cp "$root/lib/modules/$release"/modules.{order,builtin,builtin.modinfo} "$lent/usr/lib/modules/$release/"
    mkdir "$work/usr-only"
    ln -s "$lent/usr/lib" "$work/usr-only/lib"
    kmod_as depmod -b "$work/usr-only" "$release"
}

bring_packages
extract_kernel "$image/vmlinux"
mkdir -p "$tree"/{bin,sbin,dev,proc,sys,tmp,run,mnt,root,etc,host,var/lib,usr/bin,usr/sbin,usr/share,usr/lib,lib64}
mkdir -p "$tree/lib/x86_64-linux-gnu"
ln -s ../run "$tree/var/run"
add_programs
add_modules
make_lent
install -m 755 "$here/init" "$tree/init"
(cd "$tree" && find . | LC_ALL=C sort | cpio --quiet -o -H newc -R 0:0) >"$image/initrd.img"
