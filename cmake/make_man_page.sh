#!/usr/bin/env bash
# A manual page from a program's own help, so that neither can say what the other does not.
# usage: make_man_page.sh PROGRAM VERB|- PAGE
set -euo pipefail
program=$1 verb=$2 page=$3
name=$(basename "$program")
title=$name command=$program
if [[ $verb != - ]]; then
  title=$name-$verb command="$program $verb"
fi
# The first sentence of the help is what the page is about.
about=$($command --help | awk 'NF {print; exit}')
about=${about%%. *}
about=${about#"$name "}
version=$("$program" --version)
help2man --no-info --no-discard-stderr --name="${about%.}" --version-string="$version" \
  --manual="$name" --source="$version" "$command" |
  sed -e "s/^\.TH .* \"1\"/.TH ${title^^} \"1\"/" -e "s/^$name \\\\-/$title \\\\-/" |
  awk '# Examples keep their lines.
    filled && /^\.(S[HS]|PP)/ { print ".fi"; filled = 0 }
    { print }
    /^\.SH EXAMPLES/ { examples = 1; next }
    examples && /^\.IP/ { print ".nf"; filled = 1 }
    /^\.S[HS]/ { examples = 0 }
    END { if (filled) print ".fi" }' >"$page.part"
mv "$page.part" "$page"
