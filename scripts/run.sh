#!/usr/bin/env bash
# run.sh [ARGS]: builds the programs and starts the window in demonstration mode; ARGS go to it (see --help).
# run.sh --tour DIR [--language zh_CN]: walks through every feature unattended; pictures and report.json go into DIR.
# On a machine without a display the tour runs instead, into build/tour.
. "$(dirname "$0")/lib.sh"

caller=$OLDPWD
scripts/packages.sh build

tour_into() {
    configure_and_build release plugboard_tour
    on_display build/release/tour/plugboard-tour "$@"
}

case "${1:-}" in
--tour)
    [ $# -eq 2 ] || [ $# -eq 4 ] || { echo "usage: run.sh --tour DIR [--language LANGUAGE]" >&2; exit 2; }
    case $2 in /*) folder=$2 ;; *) folder=$caller/$2 ;; esac
    tour_into "$folder" "${@:3}"
    ;;
--help | --version | --list | --delete | -h | -v)
    configure_and_build release plugboard >&2
    exec build/release/bin/plugboard "$@"
    ;;
*)
    if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
        echo "No display here: walking through the program on a virtual one."
        tour_into "$PWD/build/tour"
        exit
    fi
    configure_and_build release plugboard
    exec build/release/bin/plugboard --demo "$@"
    ;;
esac
