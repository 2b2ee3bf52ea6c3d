#!/usr/bin/env bash
# Prints the table of the viewer's texts, for translators: every text once, with the files it is in.
# usage: list_texts.sh SOURCE_FOLDER
set -euo pipefail
cd "$1"
# The time of its making would make each table another one.
find apps/gl3-view -name '*.cpp' | LC_ALL=C sort |
  xgettext --files-from=- --output=- --language=C++ --from-code=UTF-8 --add-location=file \
    --keyword --keyword=Tr --keyword=TrMark --keyword=TrCount:1,2 --package-name=gl3-view |
  sed -e '/^"POT-Creation-Date:/d' -e 's/charset=CHARSET/charset=UTF-8/' \
    -e '1,4s/^# .*/# Texts of gl3-view. A translation is a copy of this file, LANGUAGE.po, filled in./;2,4d'
