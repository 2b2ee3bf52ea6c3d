#!/usr/bin/env bash
# Installs a build below a prefix and takes it away again. What was made is listed in the tree itself,
# lib/gl3/installed.txt: files, and folders (with a slash behind) that were not there before.
# usage: installed_tree.sh install BUILD_FOLDER PREFIX
#        installed_tree.sh uninstall PREFIX
set -euo pipefail
fail() { echo "${0##*/}: $*" >&2; exit 1; }
verb=$1
build=
[[ $verb != install ]] || { build=$2; shift; }
prefix=$(realpath -m "$2")
list=$prefix/lib/gl3/installed.txt

# The nearest folder above that is there must be one to write in.
check_writable() {
  local folder=$prefix
  until [[ -e $folder ]]; do folder=$(dirname "$folder"); done
  [[ -d $folder && -w $folder ]] ||
    fail "$prefix: $folder cannot be written; name another folder, or run this as its owner"
}

# Removes the listed files, then the listed folders that are empty, deepest first.
remove() {
  local name
  while IFS= read -r name; do
    [[ $name != /* && /$name/ != */../* ]] || fail "$list: '$name' is no name below the prefix"
    [[ $name == */ ]] || rm -f -- "$prefix/$name"
  done <"$1"
  { grep '/$' "$1" || true; } | sort -r | while IFS= read -r name; do
    rmdir -- "$(realpath -m "$prefix/$name")" 2>/dev/null || true # somebody else's may be in it
  done
}

install_tree() {
  local work name
  work=$(mktemp -d)
  # shellcheck disable=SC2064 # the folder as it is now
  trap "rm -rf '$work'" EXIT
  check_writable
  cmake --install "$build" --prefix "$work/tree" >/dev/null
  mkdir -p "$work/tree/lib/gl3"
  {
    (cd "$work/tree" && find . -mindepth 1 ! -type d) | sed 's|^\./||'
    echo lib/gl3/installed.txt
    echo bin/GPUShader.log # which the module writes beside gl3 where that is no folder of the system
    # Folders that an earlier installation made stay listed.
    { [[ ! -f $list ]] || grep '/$' "$list" || true; } | sort -u
    (cd "$work/tree" && find . -type d) | sed 's|^\./||; s|$|/|' | sort |
      while IFS= read -r name; do [[ -d $prefix/$name ]] || echo "$name"; done
  } | awk '!seen[$0]++' >"$work/new"
  # What an earlier one had and this one has not goes.
  [[ ! -f $list ]] || { grep -vxF -f "$work/new" "$list" || true; } >"$work/gone"
  mkdir -p "$(dirname "$list")"
  cp "$work/new" "$list"
  cmake --install "$build" --prefix "$prefix" >/dev/null
  [[ ! -s $work/gone ]] || remove "$work/gone"
}

if [[ $verb == install ]]; then
  install_tree
else
  [[ -f $list ]] || fail "$prefix: nothing was installed there; name the folder that ./dev install had"
  check_writable
  copy=$(mktemp)
  trap 'rm -f "$copy"' EXIT
  cp "$list" "$copy"
  remove "$copy"
fi
