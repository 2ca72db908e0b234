#!/usr/bin/env bash
# guide_pictures.sh [DIR]: makes the pictures of the user guide anew. The tour is taken, unless DIR holds one; of its pictures,
# those that the pages of docs/guide name (images/STEP.png) are put into docs/guide/images, in 256 colours. A page that
# names a step that took no picture is an error, as are pictures of more than 1.5 MB in all.
tour=${1:+$(realpath "$1")}
. "$(dirname "$0")/lib.sh"

scripts/packages.sh build guide
if [ -z "$tour" ]; then
    tour=$PWD/build/guide-tour
    rm -rf "$tour"
    configure_and_build release plugboard_tour
    on_display build/release/tour/plugboard-tour "$tour"
fi

images=docs/guide/images most=1500000

rm -rf "$images"
mkdir -p "$images"
names=$(grep -oh 'images/[a-z0-9-]*\.png' docs/guide/*.md | sort -u)
for name in $names; do
    step=$(basename "$name" .png)
    picture=$(python3 -c '
import json, sys
steps = json.load(open(sys.argv[1]))["steps"]
print(next((step["picture"] for step in steps if step["name"] == sys.argv[2]), ""))' "$tour/report.json" "$step")
    [ -n "$picture" ] || { echo "No step \"$step\" of the tour took a picture." >&2; exit 1; }
    convert "$tour/$picture" -strip +dither -colors 256 -define png:compression-level=9 "png8:docs/guide/$name"
done
total=$(du -cb "$images"/*.png | tail -n 1 | cut -f 1)
echo "$(echo "$names" | wc -l) pictures, $total bytes"
[ "$total" -le $most ] || { echo "That is more than $most bytes." >&2; exit 1; }
