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
  } >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "the example host cannot be built"; }
  "${alone[@]}" "$work/host/example_host" ring.png
  check_picture ring.png
fi

# shellcheck source=/dev/null
source "$work/tree/share/bash-completion/completions/gl3"
COMP_WORDS=("$work/tree/bin/gl3" render --paral) COMP_CWORD=2
_gl3
[[ ${COMPREPLY[*]} == --parallel ]] || fail "--paral is completed to '${COMPREPLY[*]}'"
COMP_WORDS=("$work/tree/bin/gl3" rend) COMP_CWORD=1
_gl3
[[ ${COMPREPLY[*]} == render ]] || fail "rend is completed to '${COMPREPLY[*]}'"
