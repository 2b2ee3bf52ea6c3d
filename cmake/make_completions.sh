#!/usr/bin/env bash
# Completions of a program for bash, zsh and fish, from its own help: each verb's options with what
# they are. What takes a value, and what is no option, is completed to names of files.
# usage: make_completions.sh FOLDER PROGRAM [PROGRAM-VERB]: a verb may be a program of its own
# shellcheck disable=SC2016 # what stands in single quotes is awk's, or the shells' that it writes for
set -euo pipefail
folder=$1 program=$2 verb_program=${3:-}
name=$(basename "$program")

# table VERB COMMAND…: the help's options as lines of VERB, short name, long name, a value's name and
# the first line of the text, with tabs between and - for what is missing. Verbs come with the short
# name "verb".
table() {
  local verb=$1
  shift
  "$@" --help | awk -v verb="$verb" '
    function put(short, long, value, text) {
      gsub(/^ +| +$/, "", text)
      print verb "\t" short "\t" long "\t" value "\t" text
    }
    # What the option before is about, when that stands below it.
    waiting { put(short, long, value, $0); waiting = 0; next }
    /^[A-Za-z].*:$/ { verbs = $0 == "Verbs:" }
    verbs && /^  [a-z]/ { word = $1; sub(/^ *[^ ]+ +/, ""); put("verb", word, "-", $0) }
    /^  -/ {
      short = "-"; value = "-"; count = split($1, names, ",")
      for (i = 1; i < count; ++i) if (names[i] !~ /^--/) short = substr(names[i], 2)
      long = names[count]
      rest = substr($0, index($0, $1) + length($1))
      if (match(rest, /^ [^ ]+/)) {
        value = substr(rest, 2, RLENGTH - 1)
        if (value ~ /^\[/) value = "-"  # the next word is none: it goes behind =
        rest = substr(rest, RLENGTH + 1)
      }
      # Other long names that it has.
      for (i = 1; i < count; ++i) if (names[i] ~ /^--/) put("-", names[i], value, rest)
      if (rest ~ /^ *$/) waiting = 1
      else put(short, long, value, rest)
    }'
}

lines=$(table - "$program")
mapfile -t verbs < <(awk -F'\t' '$2 == "verb" {print $3}' <<<"$lines")
for verb in "${verbs[@]}"; do
  if [[ -n $verb_program && $(basename "$verb_program") == "$name-$verb" ]]; then
    lines+=$'\n'$(table "$verb" "$verb_program")
  else
    lines+=$'\n'$(table "$verb" "$program" "$verb")
  fi
done

# Runs an awk program over the table with what the three shells' files have in common.
from_table() {
  awk -F'\t' -v name="$name" -v function_name="_${name//-/_}" "$1" <<<"$lines"
}

# The words of each verb; without one also the verbs themselves.
from_table '
  { words[$1] = words[$1] " " $3; if ($2 == "verb") hasVerbs = 1 }
  END {
    print "# Completion of " name " for bash."
    print function_name "() {"
    print "  local current=${COMP_WORDS[COMP_CWORD]} verb=- words="
    if (hasVerbs) print "  [[ $COMP_CWORD -lt 2 ]] || verb=${COMP_WORDS[1]}"
    print "  case $verb in"
    for (verb in words) print "    " verb ") words=\"" substr(words[verb], 2) "\" ;;"
    print "  esac"
    print "  COMPREPLY=()"
    print "  if [[ $current == -* " (hasVerbs ? "|| $verb == - " : "") "]]; then"
    print "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")"
    print "  fi"
    print "  [[ ${#COMPREPLY[@]} -gt 0 ]] || compopt -o default 2>/dev/null"
    print "}"
    print "complete -F " function_name " " name
  }' >"$folder/bash"

from_table '
  function quoted(text) { gsub(/\047/, "\047\\\047\047", text); return "\047" text "\047" }
  {
    word = $3; text = $5; gsub(/:/, "\\:", word)
    if ($2 == "verb") verbs = verbs " " quoted(word ":" text)
    else options[$1] = options[$1] " " quoted(word ":" text)
  }
  END {
    print "#compdef " name
    print "local verb=-\nlocal -a known_verbs known_options"
    print "known_verbs=(" verbs ")"
    if (verbs != "") print "(( CURRENT < 3 )) || verb=$words[2]"
    print "case $verb in"
    for (verb in options) print "  " verb ") known_options=(" options[verb] ") ;;"
    print "esac"
    print "if [[ $words[CURRENT] == -* ]]; then _describe -o option known_options"
    print "elif (( CURRENT == 2 && $#known_verbs )); then _describe verb known_verbs"
    print "else _files"
    print "fi"
  }' >"$folder/zsh"

from_table '
  function quoted(text) { gsub(/[\\\047]/, "\\\\&", text); return "\047" text "\047" }
  BEGIN { print "# Completion of " name " for fish." }
  {
    condition = $1 == "-" ? "" : " -n " quoted("__fish_seen_subcommand_from " $1)
    text = " -d " quoted($5)
    if ($2 == "verb") print "complete -c " name " -n __fish_use_subcommand -f -a " $3 text
    else print "complete -c " name condition ($2 == "-" ? "" : " -s " $2) " -l " substr($3, 3) \
      ($4 == "-" ? "" : " -r") text
  }' >"$folder/fish"
