#!/bin/bash
# What the library prints of a log, zatlog prints of the log's file:
# library_files.sh ZATLOG WRITER (an emulator with its options may stand in front of WRITER)
set -euo pipefail
zatlog=$1
shift
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

# Of each log the records, newest first and then oldest first, without the component's name.
"$@" "$dir" 2>&1 >/dev/null |
    awk -v dir="$dir" '
        / ======== start of log print / { part = ++seen % 2 ? "newest" : "oldest"
                                          sub(/>.*/, ""); sub(/.*= /, ""); name = $0
                                          printf "" >(dir "/" name "." part); next }
        / ======== end of log print /   { close(dir "/" name "." part); next }
        { sub(/^GEN:/, ""); print >(dir "/" name "." part) }'

for log in empty part full cut events dumps; do
    "$zatlog" "$dir/$log" | diff "$dir/$log.oldest" - || exit 1
    "$zatlog" --newest-first "$dir/$log" | diff "$dir/$log.newest" - || exit 1
done
[ ! -s "$dir/empty.oldest" ] && [ -s "$dir/dumps.oldest" ] || exit 1
