#!/usr/bin/env bash
# Renders every picture of pictures.txt with gl3, from our own samples.
# usage: render.sh BIN_FOLDER OUT_FOLDER WxH
set -euo pipefail
bin=$1 out=$2 size=$3
table=$(dirname "$(readlink -f "$0")")/pictures.txt
export GL3_REGISTRY=/dev/null # the defaults, whatever settings the user has

mkdir -p "$out/models"
"$bin/make_samples" "$out/models" >/dev/null
while IFS='|' read -r name model arguments; do
  name=${name// /}
  [[ -n $name && $name != \#* ]] || continue
  read -ra options <<<"$arguments"
  "$bin/gl3" render "$out/models/${model// /}" -o "$out/$name.png" -s "$size" -q "${options[@]}"
done <"$table"
