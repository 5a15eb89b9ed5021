#!/bin/bash
# The library's binary interface: its symbols, and the types of the public headers that they use.
#   abi.sh record BUILD_DIRECTORY FILE    writes it down
#   abi.sh check BUILD_DIRECTORY FILE     tells in what it differs from what was written down
# (Words that begin with zatosw_ are set in target-settings.)
# shellcheck disable=SC1091,SC2154
set -euo pipefail
build=$2
record=$3
. "$build/target-settings"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Types that the installed headers do not tell are nobody's business.
"$zatosw_cmake" --install "$build" --component Development --prefix "$scratch" >/dev/null
abidw --headers-dir "$scratch/include" --drop-private-types --exported-interfaces-only \
    --no-parameter-names --no-corpus-path --no-comp-dir-path --no-show-locs --type-id-style hash \
    --out-file "$scratch/found" "$build/libzatosw.so.1"
sed -i "s|path='$zatosw_source/|path='|" "$scratch/found"
grep -q "<function-decl name='zat" "$scratch/found" ||
    { echo "abi: $build/libzatosw.so.1 has no debugging information"; exit 1; }

case $1 in
record)
    mkdir -p "$(dirname "$record")"
    cp "$scratch/found" "$record"
    ;;
check)
    abidiff "$record" "$scratch/found" || {
        echo "abi: the interface is not what $record says. If it only became larger, or was never"
        echo "abi: released, 'make abi' writes it down anew; else it needs another soname (CONTRIBUTING.md)."
        exit 1
    }
    echo "The interface is what $record says"
    ;;
esac
