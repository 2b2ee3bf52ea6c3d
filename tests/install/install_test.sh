#!/usr/bin/env bash
# An install tree on its own: moved away from where it was installed, with nothing in the
# environment, it must render, build other hosts, complete command lines and make thumbnails, and leave
# nothing behind; Debian packages of it likewise, in a root of their own.
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

# What the plan must show: a line of whole pixels, paper where it ends, the pane's half white over that,
# and text.
check_plan() {
  {
    values plan.png 1x50+90+30 Avg
    values plan.png 1x50+90+30 StdDev
    values plan.png 1x1+90+80 Avg
    values plan.png 28x12+121+97 Avg
    values plan.png 60x10+9+5 StdDev
  } | awk 'NR == 1 { pen = ($1 - 30 / 255) ^ 2 < 0.0001 }
           NR == 2 { even = $1 + $2 + $3 == 0 }
           NR == 3 { end = ($1 - 230 / 255) ^ 2 + ($3 - 190 / 255) ^ 2 < 0.0001 }
           NR == 4 { pane = ($3 - 222 / 255) ^ 2 < 0.0003 }
           NR == 5 { text = $1 > 0.1 }
           END { exit !pen || !even || !end || !pane || !text }' ||
    fail "the plan is drawn in other pixels"
}

# Whatever a document beside the README leads to must be there.
check_links() {
  local document link
  while IFS= read -r document; do
    while IFS= read -r link; do
      [[ $link == *:* || -e $(dirname "$document")/${link%%#*} ]] ||
        fail "$document leads to $link, which is not installed"
    done < <(awk '/^```/ {code = !code} !code' "$document" | grep -oP '\]\(\K[^)#]+' || true)
  done < <(find "$1" -name '*.md')
}

# Hosts against the installed tree, in every way that they are told of.
# shellcheck disable=SC2016 # ${…} is CMake's
build_hosts() {
  local tree=$work/tree
  {
    cmake -S "$tree/share/doc/gl3/samples/host" -B "$work/host" -DCMAKE_PREFIX_PATH="$tree"
    cmake --build "$work/host"
  } >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "the example hosts cannot be built"; }
  "${alone[@]}" GL3_CHECK=1 "$work/host/example_host" ring.png 2>told
  check_picture ring.png
  "${alone[@]}" GL3_CHECK=1 "$work/host/example_tour" . 2>>told
  "${alone[@]}" GL3_CHECK=1 "$work/host/example_flat" plan.png 2>>told
  [[ ! -s told ]] || fail "the samples are told: $(<told)"
  check_tour
  check_plan

  printf '%s\n' '#include <cstdio>' '#include "hostkit/services/module_loader.h"' \
    'int main() { std::puts(hostkit::FindModule(nullptr).c_str()); }' >find.cpp
  local -a flags
  read -ra flags < <(PKG_CONFIG_PATH=$tree/lib/pkgconfig pkg-config --cflags --libs gl3-services)
  g++ -std=c++20 find.cpp "${flags[@]}" -o find
  [[ $("${alone[@]}" ./find) == "$tree/lib/gl3/OpenGL3.so" ]] ||
    fail "a host elsewhere does not find the module beside the host kit"

  # One that calls none of the services itself.
  printf '%s\n' '#include <dlfcn.h>' \
    'int main(int, char** module) { return dlopen(module[1], RTLD_NOW) ? 0 : 1; }' >own.cpp
  g++ -std=c++20 own.cpp -Wl,--as-needed "${flags[@]}" -o own
  "${alone[@]}" ./own "$tree/lib/gl3/OpenGL3.so" || fail "the linker leaves out the services"

  mkdir wants
  printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(Wants LANGUAGES CXX)' \
    'foreach(component platform scene nothing)' '  find_package(OpenGL3Host COMPONENTS ${component})' \
    '  message("${component} ${OpenGL3Host_FOUND}: ${OpenGL3Host_NOT_FOUND_MESSAGE}")' \
    '  unset(OpenGL3Host_NOT_FOUND_MESSAGE)' 'endforeach()' >wants/CMakeLists.txt
  cmake -S wants -B wants/build -DCMAKE_PREFIX_PATH="$tree" -DCMAKE_DISABLE_FIND_PACKAGE_Imath=ON \
    >wants/log 2>&1 || { cat wants/log >&2; fail "a host that wants too much stops CMake"; }
  local line
  for line in '^platform 1: $' '^scene 0: component scene needs Imath.*libimath-dev' \
    '^nothing 0: there is no component nothing; there are platform'; do
    grep -q "$line" wants/log || { cat wants/log >&2; fail "no line '$line' about components"; }
  done
}

# completed SHELL PROGRAM [VERB]: the words that a shell offers for options there, one a line. Of zsh,
# what it would show is printed.
# shellcheck disable=SC2016 # the text is the shells' own
completed() {
  local share=$work/tree/share program=$2 verb=${3:-}
  case $1 in
    bash) bash -c 'source "$1"; COMP_WORDS=("$2" ${3:+"$3"} --) COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
      "_${2//-/_}"; printf "%s\n" "${COMPREPLY[@]}"' \
      bash "$share/bash-completion/completions/$program" "$program" "$verb" ;;
    zsh) zsh -f -c '_describe() { local name=$@[-1]; print -l -- "${(@P)name%%:*}" }
      words=($2 ${3:+$3} --) CURRENT=$#words; source $1' \
      zsh "$share/zsh/site-functions/_$program" "$program" "$verb" ;;
    fish) env HOME="$work/home" fish --no-config -c "source \$argv[1]; complete -C \"\$argv[2] --\"" \
      "$share/fish/vendor_completions.d/$program.fish" "$program${verb:+ $verb}" | cut -f1 ;;
  esac
}

# Every option that a program's help has, in every shell that is here.
check_completions() {
  local program=$1 verb shell help option offered
  for verb in '' $("$work/tree/bin/$program" --help | awk '/^Verbs:/ {on = 1; next} /^[A-Z]/ {on = 0}
    on && /^  [a-z]/ {print $1}'); do
    help=("$program" ${verb:+"$verb"})
    [[ ! -x $work/tree/bin/$program-$verb ]] || help=("$program-$verb")
    for shell in bash zsh fish; do
      command -v "$shell" >/dev/null || continue
      offered=$(completed "$shell" "$program" "$verb")
      while read -r option; do
        grep -qxe "$option" <<<"$offered" || fail "$shell does not complete $program $verb $option"
      done < <("$work/tree/bin/${help[0]}" "${help[@]:1}" --help |
        grep -oP '^  (-[a-z],)?\K--[a-z][a-z0-9-]*(?=[ ,]|$)')
    done
  done
}

# What a file manager runs for a model, with the names that it puts in place of the letters: some want
# a file without a suffix.
check_thumbnailer() {
  local command
  command=$(sed -n 's/^Exec=//p' "$work/tree/share/thumbnailers/gl3.thumbnailer")
  command=${command//%i/"'$work/showroom.glb'"}
  command=${command//%o/thumb}
  "${alone[@]}" PATH="$work/tree/bin:/usr/bin:/bin" sh -c "${command//%s/96}"
  mv thumb thumb.png
  oiiotool --info thumb.png | grep -q '  96 x   96, 4 channel' || fail "a thumbnail of another size"
  check_picture thumb.png
}

# Packages in a root that has nothing else but the system's libraries, read-only, and goes without a
# trace when they are removed.
check_packages() {
  local root=$work/root place libraries
  if ! command -v dpkg-shlibdeps >/dev/null; then
    echo "install_test: no packages are made: there is no dpkg-shlibdeps"
    return
  fi
  "$source/cmake/make_packages.sh" "$build" "$work/packages"
  if [[ $(id -u) -ne 0 ]] || ! unshare -m true 2>/dev/null; then
    echo "install_test: packages are not installed: that takes root and a mount namespace"
    return
  fi
  mkdir -p "$root"/{var/lib/dpkg/{info,updates},tmp,proc,dev,etc,usr/lib64}
  ln -s usr/lib "$root/lib"
  ln -s usr/lib64 "$root/lib64"
  touch "$root/var/lib/dpkg/status"
  cp "$work/showroom.glb" "$root/tmp"
  find "$root" ! -path '*/var/lib/dpkg*' | sort >"$work/before"
  local -a dpkg=(env "PATH=$PATH:/usr/sbin:/sbin" dpkg "--root=$root" --log=/dev/null --force-depends)
  mkdir "$work/later" # what programs must do without
  mv "$work"/packages/libgl3-host-dev_*.deb "$work/later"
  "${dpkg[@]}" -i "$work"/packages/*.deb >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "dpkg fails"; }
  libraries=$(gcc -print-multiarch)
  # shellcheck disable=SC2016 # for the shell in the namespace
  "${alone[@]}" unshare -m bash -euc 'root=$1
    bind() { mkdir -p "$root$1"; mount --bind "$1" "$root$1"; mount -o remount,bind,ro "$root$1"; }
    for place in "/usr/lib/$2" /usr/lib64 /usr/share/glvnd /usr/share/fonts /etc/fonts; do
      [[ ! -d $place ]] || bind "$place"
    done
    mount --bind /dev "$root/dev"
    mount --bind /proc "$root/proc"
    inside() { env -i HOME=/tmp/home PATH=/usr/bin GL3_CHECK=1 /usr/sbin/chroot "$root" "$@"; }
    inside gl3 render /tmp/showroom.glb -o /tmp/room.png -s 160x90 --camera hero
    inside gl3 filter /tmp/room.png -o /tmp/soft.png --effect blur
    [[ ! -e $root/usr/bin/gl3-view ]] || inside gl3 view --version >/dev/null' \
    bash "$root" "$libraries" 2>"$work/said" ||
    { cat "$work/said" >&2; fail "what is installed from packages does not run"; }
  ! grep 'nothing is checked' "$work/said" || fail "the checks of hosts are in no package of theirs"
  "${dpkg[@]}" -i "$work"/later/*.deb >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "dpkg fails"; }
  for place in gl3 libgl3-host1 libgl3-host-dev gl3-view; do
    [[ $place == gl3-view && ! -e $build/bin/gl3-view ]] ||
      grep -q "^Package: $place\$" "$root/var/lib/dpkg/status" ||
      fail "there is no package $place"
  done
  check_picture "$root/tmp/room.png"
  check_picture "$root/tmp/soft.png"
  check_links "$root/usr/share/doc"
  rm -rf "$root"/tmp/{home,room.png,soft.png} "$root/etc/fonts"
  rmdir "$root/usr/lib/$libraries" "$root"/usr/share/{glvnd,fonts}
  "${dpkg[@]}" --purge gl3-view libgl3-host-dev gl3 libgl3-host1 >"$work/log" 2>&1 ||
    { cat "$work/log" >&2; fail "dpkg cannot remove the packages"; }
  find "$root" ! -path '*/var/lib/dpkg*' | sort | comm -13 "$work/before" - >"$work/left"
  [[ ! -s $work/left ]] || fail "packages leave behind: $(cat "$work/left")"
}

# Somebody else's file stays, and what an earlier release had goes.
mkdir -p "$work/first/bin"
touch "$work/first/bin/other"
"$source/cmake/installed_tree.sh" install "$build" "$work/first"
cp -a "$work/first" "$work/tree"
tee -a "$work/first/lib/gl3/installed.txt" <<<lib/gl3/old.so >"$work/first/lib/gl3/old.so"
"$source/cmake/installed_tree.sh" install "$build" "$work/first"
[[ ! -e $work/first/lib/gl3/old.so ]] || fail "an earlier installation's file stays"
"$source/cmake/installed_tree.sh" uninstall "$work/first"
[[ $(cd "$work/first" && find . | sort | xargs) == '. ./bin ./bin/other' ]] ||
  fail "left behind: $(find "$work/first")"

mkdir "$work/home" && cd "$work/home"
"$build/bin/make_samples" "$work" >/dev/null
"${alone[@]}" "$work/tree/bin/gl3" render "$work/showroom.glb" -o room.png -s 160x90 --camera hero
check_picture room.png

while read -r header; do
  [[ -f $work/tree/include/gl3/$header ]] || fail "$header is included, but not installed"
done < <(grep -rhoP '^#include "\K[^"]+' "$work/tree/include/gl3" | sort -u)
check_links "$work/tree/share/doc"
check_completions gl3
check_thumbnailer
# The sanitizers' run-time library has to come first in a program; theirs is not these hosts', and no
# package is made of them.
if ! grep -q 'CMAKE_CXX_FLAGS:.*-fsanitize' "$build/CMakeCache.txt"; then
  build_hosts
  check_packages
fi
