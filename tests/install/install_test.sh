#!/usr/bin/env bash
# An install tree on its own: moved away from where it was installed, with nothing in the
# environment, it must render, build another host, and complete command lines.
# usage: install_test.sh BUILD_FOLDER SOURCE_FOLDER
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
alone=(env -i "HOME=$work/home" "PATH=/usr/bin:/bin")
# What the sanitizers are to overlook in drivers: see gl3_test_environment.
for name in ASAN_OPTIONS LSAN_OPTIONS; do
  [[ -z ${!name:-} ]] || alone+=("$name=${!name}")
done
fail() { echo "install_test: $*" >&2; exit 1; }

# The picture must have more than one colour.
check_picture() {
  oiiotool --stats "$1" | awk '/Stats StdDev:/ {found = $3 + $4 + $5 > 1} END {exit !found}' ||
    fail "$1 shows nothing"
}

# values FILE PLACE WHAT: the mean ("Avg") or the deviation ("StdDev") of each channel, 0 to 1.
values() { oiiotool "$1" --cut "$2" --printstats | awk -v what="Stats $3:" '$0 ~ what {print $3, $4, $5}'; }

# What the tour's pictures must show: text, the overlay's orange nine tenths over the background, glass
# that is greener than that, frames that differ, and a blur, which takes differences and leaves means.
check_tour() {
  local picture
  for picture in frame_0 frame_3 large soft; do check_picture "$picture.png"; done
  oiiotool --info large.png soft.png | grep -c '640 x  360' | grep -qx 2 || fail "wrong sizes"
  ! cmp -s frame_0.png frame_1.png || fail "nothing moves"
  for picture in frame_0 frame_3 large; do
    {
      values "$picture.png" 8x8+20+36 Avg
      values "$picture.png" 40x10+10+8 StdDev
    } | awk 'NR == 1 { orange = ($1 - 0.91) ^ 2 + ($2 - 0.33) ^ 2 + ($3 - 0.01) ^ 2 < 0.001 }
             NR == 2 { text = $1 > 0.1 } END { exit !orange || !text }' ||
      fail "$picture.png lacks its overlay or its text"
  done
  {
    values frame_0.png 8x8+226+126 Avg
    values large.png 640x360+0+0 Avg
    values soft.png 640x360+0+0 Avg
    values large.png 640x360+0+0 StdDev
    values soft.png 640x360+0+0 StdDev
  } | awk 'NR == 1 { glass = $2 > 0.2 && $2 > 1.5 * $1 }
           NR == 2 || NR == 3 { mean = $2 - mean }
           NR == 4 || NR == 5 { contrast = $2 - contrast }
           END { exit !glass || mean ^ 2 > 0.00001 || contrast > -0.01 }' ||
    fail "the glass is not green, or the blur is none"
}

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/tree"
mkdir "$work/home" && cd "$work/home"

"$build/bin/make_samples" "$work" >/dev/null
"${alone[@]}" "$work/tree/bin/gl3" render "$work/showroom.glb" -o room.png -s 160x90 --camera hero
check_picture room.png

while read -r header; do
  [[ -f $work/tree/include/gl3/$header ]] || fail "$header is included, but not installed"
done < <(grep -rhoP '^#include "\K[^"]+' "$work/tree/include/gl3" | sort -u)

# The sanitizers' run-time library has to come first in a program; theirs is not this host's.
if ! grep -q 'CMAKE_CXX_FLAGS:.*-fsanitize' "$build/CMakeCache.txt"; then
  {
    cmake -S "$source/samples/host" -B "$work/host" -DCMAKE_PREFIX_PATH="$work/tree"
    cmake --build "$work/host"
  } >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "the example hosts cannot be built"; }
  "${alone[@]}" GL3_CHECK=1 "$work/host/example_host" ring.png 2>told
  check_picture ring.png
  "${alone[@]}" GL3_CHECK=1 "$work/host/example_tour" . 2>>told
  [[ ! -s told ]] || fail "the samples are told: $(<told)"
  check_tour
fi

# shellcheck source=/dev/null
source "$work/tree/share/bash-completion/completions/gl3"
COMP_WORDS=("$work/tree/bin/gl3" render --paral) COMP_CWORD=2
_gl3
[[ ${COMPREPLY[*]} == --parallel ]] || fail "--paral is completed to '${COMPREPLY[*]}'"
COMP_WORDS=("$work/tree/bin/gl3" rend) COMP_CWORD=1
_gl3
[[ ${COMPREPLY[*]} == render ]] || fail "rend is completed to '${COMPREPLY[*]}'"
