#!/bin/bash
# Runs the programs that the guide shows, and holds what they print against what their first comment
# promises: snippets.sh SOURCES PROGRAMS [EMULATOR...]
set -u
sources=$1
programs=$2
shift 2
cd "$TMPDIR" || exit 1

# The lines of a paragraph of a source's first comment.
paragraph() {
    sed -n -e '\:^ \*/:q' -e "/^ \* $2:/,/^ \*\$/s/^ \*     //p" "$1"
}

failed=0
count=0
for source in "$sources"/*.c; do
    name=$(basename "$source" .c)
    paragraph "$source" Reads >"$name.in"
    timeout 60 "$@" "$programs/$name" <"$name.in" >"$name.out" 2>&1
    status=$?
    # Times of day differ; the emulator speaks of signals that the program has asked for.
    sed -i -e 's/[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\.[0-9]\{6\}/hh:mm:ss.uuuuuu/' -e '/^qemu: /d' "$name.out"
    if [ $status -ne 0 ] || ! diff <(paragraph "$source" Prints) "$name.out"; then
        echo "snippets: $name: exit status $status, promised (<) and printed (>) above"
        failed=1
    fi
    count=$((count + 1))
done
[ $count -gt 0 ] || failed=1
exit $failed
