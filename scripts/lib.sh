# lib.sh: what the scripts share. Sourced, with the repository's root as the current directory afterwards.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# configure_and_build PRESET [TARGET...]
configure_and_build() {
    local preset=$1
    shift
    cmake --preset "$preset" >"build/$preset.configure.log" 2>&1 || { cat "build/$preset.configure.log" >&2; return 1; }
    cmake --build --preset "$preset" --parallel "$(nproc)" ${1:+--target "$@"}
}

# on_display COMMAND...: runs it on the display at hand, or on a virtual one of 1600 x 1200 where there is none.
on_display() {
    if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
        "$@"
    else
        scripts/packages.sh display
        xvfb-run --auto-servernum --server-args='-screen 0 1600x1200x24 -dpi 96' "$@"
    fi
}

mkdir -p build
