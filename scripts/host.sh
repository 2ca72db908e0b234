#!/usr/bin/env bash
# host.sh [NAME...]: makes the host machine of the tests, a stock Linux kernel in QEMU that judges the devices, and runs
# the host tests, or those whose name contains a NAME. The last line is "N passed, N failed".
# host.sh --windows: the same for the Windows programs that scripts/windows.sh built; below with_wine.sh.
# host.sh --long [NAME...]: the tests that take ten minutes each, or as long as PLUGBOARD_HOST_SECONDS says; on a machine with
# nothing else to do.
# host.sh --machine: only makes the machine and builds the programs that run in it.
# host.sh --shell FILE: runs a shell script in the machine, with the programs in /host/tmp/app, and prints its output.
. "$(dirname "$0")/lib.sh"

caller=$OLDPWD
machine=build/host/machine

# What the machine is made of, in one word: kernel, QEMU, and everything in the folder that describes it.
ingredients() {
    local kernel
    kernel=$(apt-cache depends linux-image-amd64 2>/dev/null | awk '/Depends:/ {print $2; exit}')
    [ -n "$kernel" ] || return 1
    {
        apt-cache show --no-all-versions "$kernel" | grep -E '^(Package|Version):'
        qemu-system-x86_64 --version
        find tests/host/machine -type f -not -path '*/__pycache__/*' | LC_ALL=C sort | xargs sha256sum
    } | sha256sum | cut -d ' ' -f 1
}

make_machine() {
    rm -rf "$machine"
    tests/host/machine/make_machine.sh build/host/packages "$machine" &&
        /usr/bin/python3 tests/host/machine/qemu.py "$machine" &&
        ingredients >"$machine/made-of"
}

bring_machine() {
    scripts/packages.sh build host checks
    ingredients >/dev/null || scripts/packages.sh --lists
    [ "$(cat "$machine/made-of" 2>/dev/null)" != "$(ingredients)" ] || return 0
    echo "Making the host machine in $machine"
    # The lists may name packages that the mirror has replaced.
    make_machine || { scripts/packages.sh --lists && make_machine; }
}

build_programs() {
    local log=build/host/build.log
    configure_and_build release plugboard plugboard_driver_program plugboard_attach usb_daemon capture_saver >$log 2>&1 ||
        { cat $log >&2; exit 1; }
}

export PYTHONDONTWRITEBYTECODE=1
case "${1:-}" in
--windows)
    bring_machine
    exec /usr/bin/python3 tests/host/run.py --windows
    ;;
--machine)
    bring_machine
    build_programs
    ;;
--shell)
    [ $# -eq 2 ] || { echo "usage: host.sh --shell FILE" >&2; exit 2; }
    file=$(cd "$caller" && realpath "$2")
    bring_machine
    build_programs
    exec /usr/bin/python3 tests/host/shell.py "$file"
    ;;
--long | [!-]* | "")
    bring_machine
    build_programs
    exec /usr/bin/python3 tests/host/run.py "$@"
    ;;
*)
    echo "usage: host.sh [--windows | --machine | --shell FILE | [--long] NAME...]" >&2
    exit 2
    ;;
esac
