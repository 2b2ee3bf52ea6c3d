#!/usr/bin/env bash
# Makes HTML of the interface: host/, platform/ and what is installed of the host kit, with the guide
# as its first page. Fails with a line for each public thing that says nothing of itself.
# usage: make_docs.sh FOLDER
set -euo pipefail
folder=$(realpath -m "${1:?usage: make_docs.sh FOLDER}")
cd "$(dirname "$(readlink -f "$0")")/.."

rm -rf "$folder"
mkdir -p "$folder"
{
  cat docs/doxygen/Doxyfile
  printf 'PROJECT_NUMBER = %s\n' "$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)"
  printf 'OUTPUT_DIRECTORY = "%s"\n' "$folder"
  printf 'INPUT = docs/HOSTING.md docs/EFFECTS.md %s\n' \
    "$(echo host/*.h platform/*.h && grep '^hostkit/' cmake/public_headers.txt)" |
    tr '\n' ' '
} | doxygen -

# Doxygen does not ask for words about enumerators.
awk '/<enumvalue / { words = 0 }
     /<enumvalue /, /<\/enumvalue>/ {
       if (/<name>/) name = $0
       if (/<para>/) words = 1
     }
     /<\/enumvalue>/ && !words { gsub(/ *<\/?name>/, "", name); missing[name] }
     END { for (name in missing) { print name " (enumerator) is not documented."; failed = 1 }
           exit failed }' "$folder"/xml/*.xml >&2
rm -rf "$folder/xml"
