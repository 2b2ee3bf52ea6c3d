#!/usr/bin/env bash
# Debian packages of a build: gl3 (the command line, documents), libgl3-host1 (the module and the host
# kit's libraries), libgl3-host-dev (what hosts are built with) and gl3-view, when it was built. What
# they depend on is what their files load. They are held against lintian where there is one.
# usage: make_packages.sh BUILD_FOLDER FOLDER
# Environment: DEBFULLNAME, DEBEMAIL: who answers for the packages.
set -euo pipefail
build=$1
mkdir -p "$2"
folder=$(realpath "$2") source=$(dirname "$(dirname "$(readlink -f "$0")")")
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
version=$(cached CMAKE_PROJECT_VERSION)
libraries=usr/$(cached CMAKE_INSTALL_LIBDIR)/gl3
host=$(basename "$(readlink "$build"/"$(cached CMAKE_INSTALL_LIBDIR)"/gl3/libgl3platform.so)")
host=libgl3-host${host##*.so.}
architecture=$(dpkg --print-architecture)
maintainer="${DEBFULLNAME:-the OpenGL3 authors} <${DEBEMAIL:-authors@opengl3.example.org}>"
released=$(sed -n "s/^## $version, //p" "$source/CHANGELOG.md")
SOURCE_DATE_EPOCH=$(date -u -d "$released" +%s)
export SOURCE_DATE_EPOCH
umask 022
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

# stage_component COMPONENT PACKAGE: puts a part of the build into a package's tree.
stage_component() {
  local share=$stage/$2/usr/share
  DESTDIR=$stage/$2 cmake --install "$build" --prefix /usr --component "$1" --strip >/dev/null
  # Debian's zsh has a folder of its own for what comes in packages.
  [[ ! -d $share/zsh ]] || mv "$share/zsh/site-functions" "$share/zsh/vendor-completions"
}

# The module and libraries of hosts stand for themselves; those of the programs alone have the
# program's version.
split_runtime() {
  mkdir -p "$stage/$host/$libraries"
  find "$stage/gl3/$libraries" -mindepth 1 ! -name "*.so.$version" \
    -exec mv -t "$stage/$host/$libraries" {} +
}

# needs PACKAGE OTHERS…: puts what its files load, and the others, into the variable `needed`.
needs() {
  local package=$1 found=''
  shift
  mkdir -p "$stage/$package/DEBIAN" # by which dpkg-shlibdeps knows where a package begins
  local -a files=()
  mapfile -t files < <(find "$stage/$package" -type f \( -perm -100 -o -name '*.so*' \) \
    -exec sh -c 'head -c 4 "$1" | grep -q ELF' sh {} \; -print)
  if [[ ${#files[@]} -gt 0 ]]; then
    found=$(cd "$stage" && dpkg-shlibdeps -O --ignore-missing-info "${search[@]}" "${files[@]}" \
      2>"$stage/log") || { cat "$stage/log" >&2; exit 1; }
  fi
  needed=$({ sed -n 's/^shlibs:Depends=//p' <<<"$found" && printf '%s\n' "$@"; } |
    awk 'NF {printf "%s%s", separator, $0; separator = ", "}')
}

write_copyright() {
  echo 'Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/'
  printf '\nFiles: *\nCopyright: %s\nLicense: BSD-3-Clause\n' \
    "$(sed -n 's/^Copyright ([cC]) *//p' "$source/LICENSE")"
  sed '1,/^Copyright/d' "$source/LICENSE" | sed '/./,$!d; s/^$/./; s/^/ /'
}

write_changelog() {
  printf '%s (%s) unstable; urgency=medium\n\n  * See CHANGELOG.md.\n\n -- %s  %s\n' \
    gl3 "$version" "$maintainer" "$(date -u -R -d "$released")"
}

# package NAME SECTION "RECOMMENDS" "SUMMARY": makes the package of its tree, with what is needed; the
# long description comes from standard input.
package() {
  local name=$1 section=$2 recommends=$3 summary=$4 tree=$stage/$1
  local documents=$tree/usr/share/doc/$name
  mkdir -p "$documents"
  write_copyright >"$documents/copyright"
  write_changelog | gzip -9n >"$documents/changelog.gz"
  [[ ! -d $tree/usr/share/man ]] || find "$tree/usr/share/man" -type f -exec gzip -9n {} +
  {
    printf 'Package: %s\n' "$name"
    [[ $name == gl3 ]] || echo 'Source: gl3'
    printf 'Version: %s\nArchitecture: %s\nMaintainer: %s\n' "$version" "$architecture" "$maintainer"
    printf 'Section: %s\nPriority: optional\nInstalled-Size: %s\nDepends: %s\n' \
      "$section" "$(du -sk --apparent-size "$tree/usr" | cut -f1)" "$needed"
    [[ -z $recommends ]] || printf 'Recommends: %s\n' "$recommends"
    printf 'Description: %s\n' "$summary"
    sed 's/^/ /'
  } >"$tree/DEBIAN/control"
  (cd "$tree" && find usr -type f -print0 | sort -z | xargs -0 md5sum) >"$tree/DEBIAN/md5sums"
  dpkg-deb --root-owner-group -Zxz --build "$tree" "$folder" >/dev/null
}

stage_component runtime gl3
stage_component development libgl3-host-dev
split_runtime
mkdir "$stage/debian" # where dpkg-shlibdeps looks for a package's source
printf 'Source: gl3\n\nPackage: gl3\nArchitecture: any\n' >"$stage/debian/control"
search=("-l$stage/gl3/$libraries" "-l$stage/$host/$libraries" "-l$stage/gl3-view/$libraries")

rm -f "$folder"/{gl3,gl3-view,libgl3-host*}_*.deb
needs gl3 "$host (= $version)"
package gl3 graphics '' \
  'render 3D models to pictures from the command line' <<'TEXT'
gl3 draws models in glTF, OBJ, PLY, STL, COLLADA, FBX and some forty more
formats to PNG, OpenEXR, JPEG, WebP, TIFF, PPM and movies through OpenGL,
without a window, an X server or a GPU. It puts pictures through effects, and
tells what OpenGL there is.
.
This package has its documents as well, and thumbnails for file managers.
TEXT
needs "$host"
package "$host" libs 'libgl1-mesa-dri, fonts-dejavu-core' \
  'OpenGL rendering back end as a module, and libraries of its hosts' <<'TEXT'
OpenGL3.so draws for any program that implements a small set of classes. The
libraries are a working set of those, with picture files, models, scenes,
frames and effects.
TEXT
mapfile -t foreign < <(sed -n 's/^set(_gl3_.*_debian \(.*\))$/\1/p' \
  "$build/OpenGL3HostConfig.cmake" | sort -u)
needs libgl3-host-dev "$host (= $version)" "gl3 (= $version)" "${foreign[@]}"
package libgl3-host-dev libdevel '' \
  'headers for programs that draw through OpenGL3' <<'TEXT'
What hosts of the module OpenGL3.so are built with: headers, and files for
CMake and pkg-config. The guide and samples are in the documents of gl3,
docs/HOSTING.md and samples/host.
TEXT
if [[ -n $(cached GL3_VIEWER_BUILT) ]]; then
  stage_component viewer gl3-view
  needs gl3-view "gl3 (= $version)" "$host (= $version)"
  package gl3-view graphics '' \
    'look at 3D models' <<'TEXT'
A window that shows models in glTF, OBJ, PLY, STL, COLLADA, FBX and more
formats, as gl3 render draws them. It orbits, pans and zooms, selects
vertices, and saves pictures.
TEXT
fi

if command -v lintian >/dev/null; then
  lintian --allow-root --fail-on error --tag-display-limit 0 "$folder"/*_"$version"_*.deb >&2
fi
