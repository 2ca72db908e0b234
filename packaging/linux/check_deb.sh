#!/usr/bin/env bash
# check_deb.sh [FILE.deb]: installs the package (default: what make_deb.sh made) into a bare Debian 12 in a temporary folder, with apt
# finding what it depends on, and uses it there as an ordinary user. Before, lintian and others judge the package. Needs root and the network, about 2 GB and some
# minutes. The last line is "N passed, N failed".
set -euo pipefail
project=$(realpath "$(dirname "$0")/../..")
"$project/scripts/packages.sh" clean_root package
deb=$(realpath "${1:-$(ls "$project"/build/linux-dist/*.deb)}")
root=$(mktemp -d)
chmod 755 "$root" # others must pass its top folder
passed=0 failed=0

end() {
    umount "$root/proc" "$root/dev/shm" 2> /dev/null || true
    rm -rf --one-file-system "$root"
}
trap end EXIT

inside() { env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive chroot "$root" "$@"; }

as_user() { inside setpriv --reuid tester --regid tester --clear-groups env HOME=/home/tester QT_QPA_PLATFORM=offscreen sh -c "$1"; }

# count NAME COMMAND...: one check.
count() {
    if "${@:2}"; then
        passed=$((passed + 1))
        echo "passed: $1"
    else
        failed=$((failed + 1))
        echo "FAILED: $1"
    fi
}

# prints COMMAND PATTERN: runs as the user; some line of the output, which is shown otherwise, matches the pattern.
prints() {
    local output status=0
    output=$(as_user "$1" 2>&1) || status=$?
    [ $status -eq 0 ] && grep -qE -- "$2" <<< "$output" && return
    echo "exit code $status: $output"
    return 1
}

# check NAME COMMAND PATTERN
check() { count "$1" prints "$2" "$3"; }

# manual_tells PROGRAM: its manual page has every option that the program lists.
manual_tells() {
    local page option untold=0
    page=$(as_user "MANWIDTH=200 man $1 | cat")
    for option in $(as_user "$1 --help" | grep -oE -- '--[a-z][a-z-]+' | sort -u); do
        grep -qE -- "$option([^a-z-]|$)" <<< "$page" || { echo "$1(1) does not tell of $option"; untold=1; }
    done
    return $untold
}

# completes WORD... RESULT: bash offers RESULT for the last of the words.
completes() {
    local words=("${@:1:$#-1}") wanted=${!#} offered
    offered=$(as_user "bash /tmp/complete.bash ${words[*]}")
    grep -qxF -- "$wanted" <<< "$offered" || { echo "not offered: $wanted, but $offered"; return 1; }
}
# What bash does when its user presses the tabulator behind these words.
completion='. "/usr/share/bash-completion/completions/$1"
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    function=$(complete -p "$1" | sed "s/.*-F \([^ ]*\) .*/\1/")
    "$function" "$1" "${!#}" "${COMP_WORDS[COMP_CWORD - 1]}"
    printf "%s\n" "${COMPREPLY[@]}"'

# What the package leaves outside of its users' folders.
traces() { inside find / -xdev -name '*plugboard*' -not -path '/home/*' -not -path '/tmp/*' -not -path '/proc/*'; }

unpacked=$(mktemp -d)
dpkg-deb -x "$deb" "$unpacked"
count "lintian finds no error" lintian --fail-on error "$deb"
count "the AppStream data are valid" appstreamcli validate --no-net "$unpacked"/usr/share/metainfo/*.xml
count "the menu entry is valid" desktop-file-validate "$unpacked"/usr/share/applications/plugboard.desktop
rm -rf "$unpacked"

debootstrap --variant=minbase bookworm "$root" http://deb.debian.org/debian > "$root.log" 2>&1 || { tail "$root.log"; exit 1; }
rm -f "$root.log"
mount -t proc proc "$root/proc"
mkdir -p "$root/dev/shm"
mount -t tmpfs tmpfs "$root/dev/shm"
cp "$deb" "$root/tmp"
inside apt-get -qq update
inside apt-get -qq -o Dpkg::Use-Pty=0 install -y --no-install-recommends "/tmp/$(basename "$deb")" > /dev/null
inside useradd --create-home tester
echo "$completion" > "$root/tmp/complete.bash"
echo "installed $(basename "$deb"): $(stat -c %s "$deb") bytes, $(inside dpkg-query -W | wc -l) packages in all"

version=$(dpkg-deb -f "$deb" Version)
check "the window's program says its version" "plugboard --version" "^Plugboard ${version//./[.]}$"
check "the capture program says its version" "plugboard-capture --version" "^plugboard-capture ${version//./[.]}$"
check "the engine lists its commands" "plugboard-driver help" "dp_add"
check "the media program lists its commands" "plugboard-media --list-commands" "^TestAv"
own=/home/tester/.local/share/plugboard
check "the bus driver is installed in the user's own tree" \
    "cd $own && plugboard-driver --each usbredir dp_add vusbbus.inf --then usbredir install vusbbus.inf 'root\\VUBUS' && plugboard-driver find '*'" \
    "ROOT"
check "the device process is there" "test -x /usr/lib/plugboard/usb-daemon.exe && /usr/lib/plugboard/usb-daemon.exe --help 2>&1 || [ \$? = 2 ]" \
    "^usage: usb-daemon.exe --mode Local"
check "the helper is there, where the policy names it" "
    grep -o '/usr/lib/plugboard/plugboard-attach' /usr/share/polkit-1/actions/plugboard.policy &&
    stat -c '%U %a' /usr/lib/plugboard/plugboard-attach | grep -x 'root 755' &&
    /usr/lib/plugboard/plugboard-attach 2>&1 || [ \$? = 2 ]" "^usage: plugboard-attach DEVICE-ID SPEED"
check "a device is created, answers, is listed and deleted" "
    plugboard --demo --create keyboard & window=\$!
    for i in \$(seq 100); do ls $own/device_*.json > /dev/null 2>&1 && break; sleep 0.2; done
    plugboard --list | grep 'Keyboard Device' || exit 1
    pid=\$(plugboard --list --json | sed -n 's/.*\"processId\": *\"*\\([0-9]*\\).*/\\1/p')
    kill \$window; plugboard --send \$pid status
    plugboard --delete \$pid && ! ls $own/device_*.json" "^OK: keyboard: server 127[.]0[.]0[.]1:[0-9]+, bus id 1-1, not attached"
ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=640x480:rate=25:duration=1 -c:v mjpeg "$root/tmp/film.avi"
check "a camera is started, with all that its library needs" "
    plugboard --start camera --set source=/tmp/film.avi > /dev/null
    pid=\$(plugboard --list --json | sed -n 's/.*\"processId\": *\"*\\([0-9]*\\).*/\\1/p')
    plugboard --send \$pid status && plugboard --delete all" "^OK: camera: .*MJPEG 640x480 at 25, bulk, UVC 1[.]0"
inside sh -c "echo '; changed' >> /usr/lib/plugboard/vusbbus.inf"
check "the user's copies follow the package" "plugboard --version && tail -n 1 $own/vusbbus.inf" "^; changed"
check "a security key is created" "
    plugboard --start fido2 --set serial=CHECKED && ls $own/fido2/CHECKED_credentials.json && plugboard --delete all" "CHECKED_credentials"

inside apt-get -qq -o Dpkg::Use-Pty=0 install -y --no-install-recommends man-db > /dev/null
for program in plugboard plugboard-capture plugboard-driver plugboard-media; do
    count "the manual page of $program has its options" manual_tells $program
done
check "the helper has a manual page" "man plugboard-attach | cat" "polkit"
count "an option is completed" completes plugboard --sta --start
count "a setting is completed" completes plugboard --start camera --set re resolution=
count "a command of the engine is completed" completes plugboard-driver dp_a dp_add

inside apt-get -qq -o Dpkg::Use-Pty=0 purge -y plugboard > /dev/null
count "nothing stays after a purge" test -z "$(traces)"
count "the user's folder stays" test -e "$root$own/fido2/CHECKED_credentials.json"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
