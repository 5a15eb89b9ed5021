#!/bin/bash
# Runs the tests of a build tree where there is no CTest: on the board itself.
#   on_board.sh BUILD_DIRECTORY [PATTERN]    PATTERN of the cases' names, as --gtest_filter takes it
# Each case gets a process of its own, as CTest gives it one, and two minutes.
set -u
build=$(realpath "$1")
pattern=${2:-*}
isolate=$(dirname "$0")/isolate.sh
export LD_LIBRARY_PATH=$build
output=$(mktemp)
trap 'rm -f "$output"' EXIT

passed=0
failed=0
for program in "$build"/tests/*_test; do
    # A suite stands at the beginning of a line, its cases behind it and indented.
    cases=$("$program" --gtest_list_tests "--gtest_filter=$pattern") ||
        { echo "FAILED: $program does not start"; failed=$((failed + 1)); continue; }
    while read -r name; do
        if timeout 120 "$isolate" -- "$program" "--gtest_filter=$name" >"$output" 2>&1 </dev/null; then
            passed=$((passed + 1))
        else
            failed=$((failed + 1))
            cat "$output"
            echo "FAILED: ${program##*/} $name"
        fi
    done < <(awk '/^[^ ].*\.( |$)/ { suite = $1; next } /^  / { print suite $1 }' <<<"$cases")
done
echo "$passed passed, $failed failed"
[ "$passed" -gt 0 ] && [ "$failed" -eq 0 ]
