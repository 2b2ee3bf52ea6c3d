#!/usr/bin/env bash
# Rules of the house that no compiler checks: who may include whom, file names, file lengths, and
# what the binaries link. Argument: the folder of the built binaries. Prints every breach.
set -euo pipefail
cd "$(dirname "$0")/../.."
bin=${1:?usage: house_rules.sh BIN_FOLDER}
module=(driver buffer displaylist texture shader settings)
breaches=0

# breach RULE: prints the lines that arrive on standard input under the rule they break.
breach() {
  local lines
  lines=$(cat)
  [[ -n $lines ]] || return 0
  printf '%s:\n%s\n' "$1" "$lines" >&2
  breaches=$((breaches + 1))
}

# includes FOLDERS… -- FORBIDDEN…: include lines in FOLDERS that reach into FORBIDDEN folders.
includes() {
  local -a from=()
  while [[ $1 != -- ]]; do from+=("$1") && shift; done
  shift
  local pattern
  pattern=$(IFS='|' && echo "$*")
  grep -srnE "^[[:space:]]*#[[:space:]]*include[[:space:]]*[\"<]($pattern)/" \
    --include='*.h' --include='*.cpp' "${from[@]}" || true
}

breach "the module includes host/ and platform/ alone" \
  < <(includes "${module[@]}" -- hostkit apps tests samples bench)
breach "the host kit never includes the module" < <(includes hostkit -- "${module[@]}" apps tests)
breach "programs reach the module through the loader" < <(includes apps -- "${module[@]}" tests)
breach "host/ stands on platform/ alone" < <(includes host -- "${module[@]}" hostkit apps tests)
breach "platform/ stands on libraries alone" \
  < <(includes platform -- "${module[@]}" host hostkit apps tests)

breach "at most 500 lines a file" < <(find . -path ./build -prune -o -path ./.git -prune -o \
  \( -name '*.h' -o -name '*.cpp' -o -name '*.sh' -o -name CMakeLists.txt -o -name dev \) \
  -type f -exec awk 'END {if (FNR > 500) print FILENAME ": " FNR}' {} \;)
breach "file names outside host/ and the module are lower_snake_case" \
  < <(find platform hostkit apps tests bench samples \( -name '*.h' -o -name '*.cpp' \) \
    -name '*[^a-z0-9_.]*' 2>/dev/null)

for binary in "$bin"/OpenGL3.so "$bin"/gl3 "$bin"/../lib/libgl3{platform,fonts,hostkit,scene,effects,work}.so; do
  breach "neither the module nor gl3 links Qt ($binary)" \
    < <([[ -f $binary ]] || echo "there is no such file; build it, or name the folder of the binaries"
      readelf -d "$binary" 2>/dev/null | grep -E 'NEEDED.*Qt' || true)
done

[[ $breaches -eq 0 ]] || exit 1
