#!/bin/bash
# Compiles every public header alone, and twice in a row, in each language that includes it.
#   headers.sh C_COMPILER CXX_COMPILER INCLUDE_DIRECTORY
set -euo pipefail
read -ra c_compiler <<<"$1"
read -ra cxx_compiler <<<"$2"
include=$3

warnings="-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wundef -Werror"
failed=
compile() {  # HEADER COMPILER OPTION...
    local header=$1
    shift
    # shellcheck disable=SC2086
    printf '#include <zatosw/%s>\n#include <zatosw/%s>\ntypedef int NotEmpty;\n' "$header" "$header" |
        "$@" $warnings -I "$include" -fsyntax-only - ||
        { echo "FAILED: zatosw/$header: $*"; failed=1; }
}

count=0
while read -r header; do
    count=$((count + 1))
    compile "$header" "${c_compiler[@]}" -x c -std=c11
    compile "$header" "${cxx_compiler[@]}" -x c++ -std=c++17
    compile "$header" "${cxx_compiler[@]}" -x c++ -std=c++20
done < <(cd "$include/zatosw" && find . -name '*.h' ! -name '*_private.h' -printf '%P\n' | LC_ALL=C sort)

[ "$count" -gt 0 ] || { echo "no public header in $include/zatosw"; exit 1; }
[ -z "$failed" ] || exit 1
echo "$count headers compile alone"
