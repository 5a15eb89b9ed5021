#!/bin/bash
# Draws docs/*.svg out of docs/*.dot; with --check, tells whether that was done after the last change.
# A picture names the text that it was made of, since fonts, and thereby places, differ from machine to
# machine.
set -eu
cd "$(dirname "$0")/.."
for text in *.dot; do
    picture=${text%.dot}.svg
    mark="<!-- made of $text, checksum $(cksum <"$text") -->"
    if [ "${1-}" != --check ]; then
        (dot -Tsvg "$text"; echo "$mark") >"$picture"
    elif ! grep -qxF "$mark" "$picture"; then
        echo "docs/$picture is not that of docs/$text: run docs/reference/pictures.sh"
        exit 1
    fi
done
