#!/usr/bin/env bash
# Compares the gallery's pictures with kept ones, as an eye would: they must hold on any driver, so
# edges may fall a little differently. With GL3_UPDATE_REFERENCES set the kept ones are replaced.
# usage: references_test.sh BIN_FOLDER
set -euo pipefail
bin=$1
here=$(dirname "$(readlink -f "$0")")
failures=$bin/../reference-failures # actual and difference pictures
# At most so many percent of the pixels that an eye would call different; so large a mean difference
# of a channel, of 1, for what the eye forgives: a change of light, say; and so large a difference
# anywhere between the pictures at a quarter of their sides, for what the perceptual test does not
# see: thin lines on white or black, be they all gone. The two software renderers of Mesa differ by
# at most half of that.
most="0.3 0.006 0.15"
# Edge filters and thin lines tell where a driver puts an edge, to a part of a pixel.
most_of_edges="9 0.025 0.25" edges=" prewitt sharpen sobel "
most_of_lines="1 0.02 0.25" lines=" laplacian lines wireframe wireframe-gl "

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Checked calls draw the same, and none of ours is wrong.
told=$(GL3_CHECK=1 "$here/../../samples/gallery/render.sh" "$bin" "$work" 256x144 2>&1) ||
  { echo "$told" && exit 1; }
[[ -z $told ]] || { echo "references_test: drawing is not silent: $told" && exit 1; }

if [[ -n ${GL3_UPDATE_REFERENCES:-} ]]; then
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

# Says what is wrong, and leaves the picture beside its difference.
report() {
  local name=$1 what=$2
  mkdir -p "$failures"
  cp "$work/$name.png" "$failures/$name.png"
  [[ ! -f $here/$name.png ]] ||
    idiff -q -abs -scale 4 -o "$failures/$name-difference.png" "$here/$name.png" "$work/$name.png" \
      >/dev/null || true
  echo "references_test: $name: $what; see $failures/$name.png"
}

# How the pictures KEPT and ACTUAL differ by more than a picture called NAME may; nothing when they
# do not.
differ() {
  local name=$1 kept=$2 actual=$3 bounds=$most
  [[ $edges != *" $name "* ]] || bounds=$most_of_edges
  [[ $lines != *" $name "* ]] || bounds=$most_of_lines
  {
    idiff -p -failpercent 100 "$kept" "$actual" || true
    oiiotool "$kept" --resize:filter=box 64x36 "$actual" --resize:filter=box 64x36 --diff || true
  } 2>&1 | awk -v bounds="$bounds" '
    BEGIN { split(bounds, most) }
    /Mean error/ && !compared { mean = $4 }
    /Max error/ { most_apart = $4
                  if (!compared) { worst = $0; sub(/^ *Max error *= */, "", worst) } }
    /failed the perceptual test/ { match($0, /\([0-9.e+-]+%\)/)
                                   seen = substr($0, RSTART + 1, RLENGTH - 3) }
    /^(PASS|FAILURE|WARNING)/ { ++compared }
    END { if (compared != 2) print "the pictures cannot be compared"
          else if (seen + 0 > most[1] || mean + 0 > most[2] || most_apart + 0 > most[3])
            printf "%s %% of the pixels look different (at most %s), mean %s (at most %s), " \
                   "shrunk %s (at most %s), worst %s\n",
                   seen + 0, most[1], mean + 0, most[2], most_apart + 0, most[3], worst }'
}

rm -rf "$failures"
failed=
for picture in "$work"/*.png; do
  name=$(basename "$picture" .png)
  if [[ ! -f $here/$name.png ]]; then
    report "$name" "no such picture is kept; ./dev test --update-references keeps it" && failed=1
    continue
  fi
  verdict=$(differ "$name" "$here/$name.png" "$picture")
  [[ -z $verdict ]] || { report "$name" "$verdict" && failed=1; }
done
# The comparison itself: of lines on white and edges on black no quarter may be lost.
for hole in lines:1,1,1 laplacian:0,0,0; do
  name=${hole%:*}
  oiiotool "$here/$name.png" --fill:color="${hole#*:}" 64x144+192+0 -o "$work/hole.png"
  [[ -n $(differ "$name" "$here/$name.png" "$work/hole.png") ]] ||
    { echo "references_test: $name: a lost quarter goes unnoticed" && failed=1; }
done
for kept in "$here"/*.png; do
  [[ -f $work/$(basename "$kept") ]] || { echo "references_test: $kept is no longer drawn" && failed=1; }
done
[[ -z $failed ]]
