#!/bin/bash
# Says which lines and branches of the library have run, by file; fails where that is too little.
#   coverage.sh BUILD-TREE
# Branches are those that the sources have: not those that the compiler adds for a call that might
# end the task, nor for code that cannot be reached.
set -eu

tree=$1
counts=$tree/coverage.json
report=(gcovr --root . --add-tracefile "$counts" --sort-percentage)

gcovr --root . --object-directory "$tree" --gcov-executable i686-linux-gnu-gcov \
    --filter core_src/ --exclude-throw-branches --exclude-unreachable-branches \
    --json "$counts" "$tree"
"${report[@]}"
"${report[@]}" --branches
"${report[@]}" --fail-under-line 95 --fail-under-branch 85 >/dev/null
