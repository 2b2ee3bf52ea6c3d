#!/usr/bin/env bash
# Rules of the house that no compiler checks: what lies where, who may include whom, names, lengths of
# files, and what the binaries link. Argument: the folder of the built binaries. Prints every
# breach.
set -euo pipefail
cd "$(dirname "$0")/../.."
bin=${1:?usage: house_rules.sh BIN_FOLDER}
breaches=0

# Which room may include which, besides itself. Rooms stand on those above them alone, so there are
# no circles. A file with a line of its own is a roof, which knows what its room does not.
rooms='
platform
host                  platform
driver                host platform
texture               driver host platform
buffer                driver texture host platform
displaylist           driver texture buffer host platform
shader                driver texture buffer host platform
settings              driver buffer host platform
driver/GL3Driver.cpp  driver texture buffer displaylist shader settings host platform
driver/OpenGL3.cpp    driver settings host platform
hostkit/confine
hostkit/services      host platform
hostkit/checking      hostkit/services host platform
hostkit/pictures      hostkit/services host platform
hostkit/scene         hostkit/services host platform
hostkit/import        hostkit/scene hostkit/pictures hostkit/services host platform
hostkit/isolated      hostkit/scene hostkit/services host platform
hostkit/feed          hostkit/scene hostkit/services host platform
hostkit/frame         hostkit/feed hostkit/scene hostkit/pictures hostkit/services host platform
hostkit/effects       hostkit/pictures hostkit/services host platform
apps/heap
apps/base             hostkit/services
apps/options          apps/base hostkit/services hostkit/feed hostkit/effects hostkit/pictures hostkit/scene
apps/work/common      apps/base apps/options hostkit/confine hostkit/pictures hostkit/services host platform
apps/work/settings    apps/base apps/options apps/work/common hostkit/services
samples
apps/work/compare     apps/base apps/options apps/work/common hostkit/pictures hostkit/services host samples
apps/work/info        apps/base apps/options apps/work/common apps/work/compare hostkit/effects hostkit/confine hostkit/isolated hostkit/pictures hostkit/scene hostkit/services host platform
apps/work/filter      apps/base apps/options apps/work/common hostkit/effects hostkit/pictures hostkit/services host platform
apps/gl3-import       hostkit/confine hostkit/import hostkit/isolated hostkit/pictures hostkit/scene hostkit/services host platform
apps/work/render      apps/base apps/options apps/work/common hostkit/effects hostkit/frame hostkit/feed hostkit/isolated hostkit/scene hostkit/pictures hostkit/services host platform
apps/work/farm        apps/base apps/options apps/work/common apps/work/filter apps/work/info apps/work/render hostkit/effects hostkit/pictures hostkit/services host platform
apps/work             apps/base apps/options apps/work/common apps/work/settings apps/work/compare apps/work/info apps/work/filter apps/work/render apps/work/farm
apps/gl3              apps/base apps/options apps/work
apps/gl3-view         apps/base apps/options apps/work/common apps/work/info apps/work/render hostkit/effects hostkit/frame hostkit/feed hostkit/isolated hostkit/scene hostkit/pictures hostkit/services host platform
samples/host          hostkit/scene hostkit/pictures hostkit/services host platform
'

# What may lie at the top of the repository.
top='.ci .clang-format .clang-tidy .editorconfig .gitignore CHANGELOG.md CMakeLists.txt CMakePresets.json
CONTRIBUTING.md LICENSE README.md apps bench buffer cmake dev displaylist docs driver host hostkit
packages.txt platform samples settings shader share tests texture'

# breach RULE: prints the lines that arrive on standard input under the rule they break.
breach() {
  local lines
  lines=$(cat)
  [[ -n $lines ]] || return 0
  printf '%s:\n%s\n' "$1" "$lines" >&2
  breaches=$((breaches + 1))
}

# Files of the repository, those that wait for their first commit included, with an end of NUL.
files() { git ls-files -z --cached --others --exclude-standard -- "$@"; }

# Include lines that the table does not allow, and lines of the table that lead upwards.
forbidden_includes() {
  files '*.h' '*.cpp' |
    xargs -0 grep -sHnoE '^[[:space:]]*#[[:space:]]*include[[:space:]]*["<][^">]+' |
    sed -E 's/:[[:space:]]*#[[:space:]]*include[[:space:]]*["<]/ /' |
    awk -v table="$rooms" '
      # The longest line of the table that the path lies in; a file that may do all has none.
      function room(path) {
        for (; path != ""; sub(/\/?[^\/]*$/, "", path)) if (path in known) return path
        return ""
      }
      BEGIN {
        ours["bench"]; ours["tests"]; ours["apps"]; ours["hostkit"]
        count = split(table, lines, "\n")
        for (i = 1; i <= count; ++i) {
          words = split(lines[i], word, " ")
          if (!words) continue
          known[word[1]]
          for (j = 2; j <= words; ++j) {
            if (!(word[j] in known)) print "the table: " word[1] " stands below " word[j]
            allowed[word[1], word[j]]
          }
        }
      }
      {
        split($1, place, ":")
        from = room(place[1])
        to = room($2)
        if (from == "" || from == to || (from, to) in allowed) next
        split($2, part, "/")
        # Of what is in no room, the system has all but our own folders.
        if (to != "" || part[1] in ours) print $1 ": " from " may not include " $2
      }'
}

# Lines of `ldd` about a binary that say what it must not load.
loads() {
  [[ -f $1 ]] || { echo "there is no $1; build it, or name the folder of the binaries" && return; }
  ldd "$1" 2>/dev/null | grep -E "$2" || true
}

breach "at the top lies what is listed in tests/support/house_rules.sh alone" \
  < <(files | tr '\0' '\n' | cut -d/ -f1 | sort -u | grep -vxF -f <(tr ' ' '\n' <<<"$top") || true)
breach "binary files live in docs/ and tests/references/ alone" \
  < <(files ':!docs' ':!tests/references' | xargs -0 grep -sLI '' |
    while IFS= read -r file; do [[ ! -s $file ]] || echo "$file"; done)
breach "rooms include what their line in tests/support/house_rules.sh allows" < <(forbidden_includes)

breach "a source lies in a room of the table, or in tests/ or bench/" \
  < <(files '*.h' '*.cpp' | tr '\0' '\n' | grep -vE '^(tests|bench)/' |
    grep -vE "^($(awk '!/\.cpp/ && NF {print $1}' <<<"$rooms" | paste -sd'|'))/([a-z0-9]+/)?[^/]+$" || true)
breach "sources are called .cpp and headers .h" \
  < <(files '*.hpp' '*.hh' '*.hxx' '*.cc' '*.cxx' '*.c' '*.inl' | tr '\0' '\n')
# Code in the guide for hosts that no sample has, blanks aside.
foreign_code() {
  local samples block='' line
  samples=$(cat samples/host/* | tr -s ' \n' ' ')
  while IFS= read -r line; do
    case $line in
      '```'?*) block=' ' ;;
      '```')
        [[ $samples == *"$block"* ]] || echo "docs/HOSTING.md:$block"
        block=''
        ;;
      *) [[ -z $block ]] || block=$(tr -s ' ' <<<"$block$line ") ;;
    esac
  done <docs/HOSTING.md
}
breach "code in docs/HOSTING.md is that of samples/host" < <(foreign_code)
breach "at most 500 lines a file" < <(find . -path ./build -prune -o -path ./.git -prune -o \
  \( -name '*.h' -o -name '*.cpp' -o -name '*.sh' -o -name CMakeLists.txt -o -name dev \) \
  -type f -exec awk 'END {if (FNR > 500) print FILENAME ": " FNR}' {} \;)
breach "a source file opens with what it is" \
  < <(files '*.h' '*.cpp' | xargs -0 awk 'FNR == 1 && !/^\/\// {print FILENAME}')
breach "file names outside host/ and the module are lower_snake_case" \
  < <(find platform hostkit apps tests bench samples \( -name '*.h' -o -name '*.cpp' \) \
    -name '*[^a-z0-9_.]*' 2>/dev/null)

# Functions that a file has for itself, of a name that another file of the target has, too: they are
# compiled together, and a call would reach the one that fits its arguments better.
shared_names() {
  local unity
  local -a sources
  while IFS= read -r unity; do
    mapfile -t sources < <(sed -n 's/^#include "\(.*\)"$/\1/p' "$unity"/*.cxx | sort -u |
      xargs ls -d 2>/dev/null)
    [[ ${#sources[@]} -gt 0 ]] || continue
    awk '
      FNR == 1 { isLocal = 0; outer = "" }
      /^namespace [a-z0-9_:]+ {/ { outer = $2 }
      /^namespace {/ { isLocal = 1 }
      /^}  \/\/ namespace$/ { isLocal = 0 }
      (isLocal || /^static /) && /^[A-Za-z_][^=]*\(/ {
        name = $0
        sub(/\(.*/, "", name)
        sub(/.*[ *&]/, "", name)
        # The test library calls PrintTo by the type, static_assert is none.
        if (name ~ /::|^$|^(TEST|GL3_|INSTANTIATE|PrintTo$|static_assert$)/) next
        name = outer "::" name
        if (name in of && of[name] != FILENAME) print name " in " of[name] " and in " FILENAME
        of[name] = FILENAME
      }' "${sources[@]}"
  done < <(find "$bin/.." -type d -path '*.dir/Unity')
}
breach "names of functions that files have for themselves differ throughout a target" < <(shared_names)

lib=$bin/../lib/gl3
# Lines that say what of readelf's list of headers is missing in a binary of ours, or wrong.
hardening() {
  local binary headers path
  for binary in "$bin"/* "$lib"/*; do
    [[ -f $binary && ! -L $binary && $(head -c 4 "$binary") == $'\x7fELF' ]] || continue
    headers=$(readelf -W -d -l "$binary")
    while IFS= read -r path; do
      [[ $path =~ ^\$ORIGIN(/\.\./lib/gl3)?$ ]] || echo "$binary: it searches '$path'"
    done < <(sed -nE 's/.*(RPATH|RUNPATH).*\[(.*)\]$/\2/p' <<<"$headers" |
      awk 'BEGIN {RS = "\n"} {count = split($0, entry, ":"); for (i = 1; i <= count; ++i) print entry[i]
        if (!count) print ""}')
    for mark in GNU_RELRO BIND_NOW; do
      grep -q "$mark" <<<"$headers" || echo "$binary: no $mark"
    done
  done
  # Functions that such code calls; not every library has a use for both.
  for binary in "$lib"/OpenGL3.so "$lib"/gl3-import "$lib"/libgl3{import,pictures,scene,base,work}.so; do
    nm -D --undefined-only "$binary" | grep -c >/dev/null ' __stack_chk_fail' ||
      echo "$binary: no -fstack-protector-strong"
  done
  for binary in "$lib"/OpenGL3.so "$lib"/libgl3{platform,base,work}.so; do
    nm -D --undefined-only "$binary" | grep -E >/dev/null ' __(mem|snprintf|fprintf)[a-z]*_chk' ||
      echo "$binary: no _FORTIFY_SOURCE"
  done
}
breach "binaries look for libraries at fixed places of their own, and are built to resist" < <(hardening)
for binary in "$bin"/gl3 "$lib"/OpenGL3.so "$lib"/gl3-import "$lib"/libgl3{platform,fonts,services,checking,confine,pictures,scene,import,isolated,feed,frame,effects,base,options,work}.so; do
  breach "neither the module nor gl3 links Qt ($binary)" < <(loads "$binary" libQt)
done
for binary in "$bin"/gl3 "$lib"/OpenGL3.so "$lib"/libgl3{services,checking,confine,pictures,scene,isolated,feed,frame,effects,work}.so; do
  breach "whoever imports no models links no importer ($binary)" < <(loads "$binary" libassimp)
done

[[ $breaches -eq 0 ]] || exit 1
