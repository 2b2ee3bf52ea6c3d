#!/usr/bin/env bash
# Manual pages from a program's own help and that of its verbs, so that neither can say what the other
# does not. A verb that has a program of its own (gl3 view, gl3-view) has that program's page.
# usage: make_man_pages.sh FOLDER PROGRAM [PROGRAM-VERB]
set -euo pipefail
folder=$1 program=$2 verb_program=$(basename "${3:-}")
name=$(basename "$program")
version=$("$program" --version)

# make_page TITLE COMMAND: the page of what `COMMAND --help` tells.
make_page() {
  local title=$1 command=$2 about
  # The first sentence of the help is what the page is about.
  about=$($command --help | awk 'NF {print; exit}')
  about=${about%%. *}
  about=${about#"$name "}
  help2man --no-info --no-discard-stderr --name="${about%.}" --version-string="$version" \
    --manual="$name" --source="$version" "$command" |
    sed -e "s/^\.TH .* \"1\"/.TH ${title^^} \"1\"/" -e "s/^$name \\\\-/$title \\\\-/" |
    awk '# Examples keep their lines.
      filled && /^\.(S[HS]|PP)/ { print ".fi"; filled = 0 }
      { print }
      /^\.SH EXAMPLES/ { examples = 1; next }
      examples && /^\.IP/ { print ".nf"; filled = 1 }
      /^\.S[HS]/ { examples = 0 }
      END { if (filled) print ".fi" }' >"$folder/$title.1"
}

rm -f "$folder"/*.1
make_page "$name" "$program"
while read -r verb; do
  [[ $verb_program == "$name-$verb" ]] || make_page "$name-$verb" "$program $verb" </dev/null
done < <("$program" --help | awk '/^[A-Za-z].*:$/ {verbs = $0 == "Verbs:"} verbs && /^  [a-z]/ {print $1}')
