#!/usr/bin/env bash
# The gallery as one contact sheet, each picture with its name.
# usage: sheet.sh BIN_FOLDER OUT_FILE
set -euo pipefail
bin=$1 sheet=$2
here=$(dirname "$(readlink -f "$0")")
font=$(fc-match -f '%{file}' 'DejaVu Sans')
columns=4 width=288 height=162

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$here/render.sh" "$bin" "$work" "${width}x$height"
command=(oiiotool)
count=0
while read -r name; do
  # On black where the picture has alpha; the name on a band of its own.
  command+=("$work/$name.png" --ch "R,G,B"
    --fullsize "${width}x$((height + 18))+0+0" --croptofull
    "--text:x=4:y=$((height + 13)):size=11:font=$font:color=0.9,0.9,0.9" "$name")
  count=$((count + 1))
done < <(awk -F'|' '!/^#/ && NF {gsub(/ /, "", $1); print $1}' "$here/pictures.txt")
rows=$(((count + columns - 1) / columns))
"${command[@]}" --nosoftwareattrib --mosaic:pad=2 "${columns}x$rows" -d uint8 --compression jpeg:88 \
  -o "$work/sheet.jpg"
mv "$work/sheet.jpg" "$sheet"
