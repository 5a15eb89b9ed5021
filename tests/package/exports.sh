#!/bin/bash
# Holds the list of exported symbols against what the library exports and its headers declare.
#   exports.sh LIBRARY LIST NM C_COMPILER INCLUDE_DIRECTORY
set -euo pipefail
library=$1
list=$2
nm=$3
compiler=$4
include=$5
export LC_ALL=C

here=$(dirname "$0")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

failed=
complain_about() {  # TEXT FILE: every line of the file is a fault
    if [ -s "$2" ]; then
        failed=1
        sed "s/^/$1: /" "$2"
    fi
}

sed '/^#/d; s/[[:space:]].*//; /^$/d' "$list" >"$scratch/listed"
sort -u "$scratch/listed" >"$scratch/listed.sorted"
if ! cmp -s "$scratch/listed" "$scratch/listed.sorted"; then
    failed=1
    echo "the list is not sorted, or has a symbol twice:"
    diff "$scratch/listed" "$scratch/listed.sorted" || true
fi

# The version itself appears as an absolute symbol.
"$nm" -D --defined-only "$library" | awk '$2 != "A" { print $3 }' >"$scratch/versioned"
grep -v '@@ZATOSW_1\.0$' "$scratch/versioned" >"$scratch/unversioned" || true
sed 's/@.*//' "$scratch/versioned" | sort -u >"$scratch/exported"
"$here/declared.sh" "$compiler" "$include" >"$scratch/declared"
[ -s "$scratch/exported" ] || echo "(nothing)" >"$scratch/none-exported"
[ -s "$scratch/declared" ] || echo "(nothing)" >"$scratch/none-declared"

comm -23 "$scratch/listed.sorted" "$scratch/exported" >"$scratch/not-exported"
comm -13 "$scratch/listed.sorted" "$scratch/exported" >"$scratch/not-listed"
comm -13 "$scratch/listed.sorted" "$scratch/declared" >"$scratch/declared-only"

complain_about "exported by the library" "$scratch/none-exported"
complain_about "declared in the headers" "$scratch/none-declared"
complain_about "listed, but not exported by the library" "$scratch/not-exported"
complain_about "exported by the library, but not listed" "$scratch/not-listed"
complain_about "declared in a public header, but not listed" "$scratch/declared-only"
complain_about "exported without the version ZATOSW_1.0" "$scratch/unversioned"

[ -z "$failed" ] || exit 1
echo "$(wc -l <"$scratch/exported") exported symbols, as listed"
