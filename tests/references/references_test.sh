#!/usr/bin/env bash
# Compares the gallery's pictures with kept ones, as an eye would: see samples/gallery/bounds.txt. With
# GL3_UPDATE_REFERENCES set the kept ones are replaced.
# usage: references_test.sh BIN_FOLDER
set -euo pipefail
bin=$1
here=$(dirname "$(readlink -f "$0")")
table=$here/../../samples/gallery/pictures.txt
failures=$bin/../reference-failures # actual and difference pictures, when there are any

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if [[ -n ${GL3_UPDATE_REFERENCES:-} ]]; then
  "$here/../../samples/gallery/render.sh" "$bin" "$work" 256x144
  for kept in "$here"/*.png; do
    [[ -f $work/$(basename "$kept") ]] || rm "$kept"
  done
  for picture in "$work"/*.png; do
    # One that is the same to the last pixel stays: its recipe alone would differ.
    kept=$here/$(basename "$picture")
    if [[ ! -f $kept ]] || ! idiff -q "$kept" "$picture" >/dev/null 2>&1; then
      cp "$picture" "$kept"
      echo "references_test: keeps $kept; look at it"
    fi
  done
  exit 0
fi

failed=
for kept in "$here"/*.png; do
  grep -q "^$(basename "$kept" .png) *|" "$table" ||
    { echo "references_test: $kept is no longer drawn" && failed=1; }
done
rm -rf "$failures"
# Checked calls draw the same, and none of ours is wrong.
GL3_CHECK=1 "$bin/gl3" info --compare "$work" --driver default || failed=1
[[ -z $failed ]] || { mv "$work" "$failures" && echo "references_test: see $failures" && exit 1; }
