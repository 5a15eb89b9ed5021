#!/bin/bash
# Every status is one that some test expects, by its name or its number, or stands in the list of
# those that no test can provoke: statuses.sh STATUS_HEADER TESTS_DIRECTORY
set -eu

header=$1
tests=$2
unprovoked=$(dirname "$0")/statuses_unprovoked.txt

failed=0
while read -r name number; do
    if grep -qrEiw --include='*.cpp' --include='*.h' -e "$name" -e "(0x)?${number#0x}u?" "$tests"; then
        known=expected
    else
        known=
    fi
    listed=$(grep -cw "^$name" "$unprovoked" || true)
    if [ -z "$known" ] && [ "$listed" = 0 ]; then
        echo "no test expects $name ($number)" >&2
        failed=1
    elif [ -n "$known" ] && [ "$listed" != 0 ]; then
        echo "$name is expected by a test, and listed as one that none can provoke" >&2
        failed=1
    fi
done < <(sed -nE 's/.*X\((ZAT_[A-Z_0-9]+), *(0x[0-9A-Fa-f]+|[0-9]+)u.*/\1 \2/p' "$header")
exit $failed
