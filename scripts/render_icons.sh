#!/usr/bin/env bash
# render_icons.sh: renders resources/icons/*.png and packaging/windows/plugboard.ico from the drawings in
# resources/icons/svg. Run it after changing a drawing and commit what it makes.
#
# svg/NAME.svg is drawn on a grid of 40 units, the size of a button's icon, and gives NAME.png, which displays of up to
# three times the density need and no more: the main window decodes its pictures at the start. svg/small/NAME.svg is the
# same on a grid of 16 units, the size of a table's icon, where scaling would blur it; it gives NAME_16.png and, for
# displays of double density, NAME_16@2x.png.
set -euo pipefail

cd "$(dirname "$(realpath "$0")")/.."
for tool in rsvg-convert convert; do
    command -v "$tool" >/dev/null || { echo "Needs $tool: apt-get install librsvg2-bin imagemagick" >&2; exit 1; }
done

icons=resources/icons

# render DRAWING SIZE FILE
render() { rsvg-convert --width "$2" --height "$2" --output "$3" "$1"; }

for drawing in "$icons"/svg/*.svg; do
    name=$(basename "$drawing" .svg)
    render "$drawing" 128 "$icons/$name.png"
    render "$icons/svg/small/$name.svg" 16 "$icons/${name}_16.png"
    render "$icons/svg/small/$name.svg" 32 "$icons/${name}_16@2x.png"
done

sizes=$(mktemp -d)
trap 'rm -rf "$sizes"' EXIT
render "$icons/svg/small/logo.svg" 16 "$sizes/016.png"
for size in 24 32 48 64 256; do
    render "$icons/svg/logo.svg" "$size" "$sizes/$(printf %03d "$size").png"
done
convert "$sizes"/*.png packaging/windows/plugboard.ico
