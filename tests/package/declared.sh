#!/bin/bash
# Prints the symbols that the public headers mark as exported, sorted.
#   declared.sh C_COMPILER INCLUDE_DIRECTORY   (compilers are commands with their options)
# The compiler's preprocessor has the last word on what a header declares, not its layout.
set -euo pipefail
read -ra compiler <<<"$1"
include=$2

# A name that no header contains stands in for the attribute, and guards against the mark being
# defined away: without it, nothing is printed and the comparison with the list fails.
(cd "$include/zatosw" && find . -name '*.h' ! -name '*_private.h' -printf '#include <zatosw/%P>\n' | LC_ALL=C sort) |
    "${compiler[@]}" -std=c11 -E -P -I "$include" -x c - |
    sed 's/__attribute__((visibility("default")))/@exported@/g; s/__attribute__ *(([^()]*\(([^()]*)\)*[^()]*))//g' |
    tr '\n{}' ' ;;' | tr ';' '\n' |
    sed -n '
        # A function is named before its parameters, a variable at the end or before its bounds.
        s/.*@exported@ *\([^(=[]*[ *]\)\{0,1\}\([A-Za-z_][A-Za-z_0-9]*\) *\([(=[].*\)\{0,1\}$/\2/p' |
    LC_ALL=C sort -u
