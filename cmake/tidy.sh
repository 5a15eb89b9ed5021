#!/bin/bash
# Runs clang-tidy over every source that a build tree compiles: tidy.sh BUILD_DIRECTORY JOBS
set -euo pipefail
build=$1
jobs=$2

# The compile commands are those of another compiler: it knows warnings and an option that clang
# does not, and its name told it the target.
commands=$(mktemp -d)
trap 'rm -rf "$commands"' EXIT
sed 's/ -fno-gnu-unique / /' "$build/compile_commands.json" >"$commands/compile_commands.json"
# The counts of warnings in other people's headers say nothing.
# shellcheck disable=SC2016
sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' "$build/compile_commands.json" |
    grep -E '/(core_src|tests|examples|fuzz|tools)/[^:]*\.cpp$' | grep -v '/googletest/' | tr '\n' '\0' |
    xargs -0 -n 1 -P "$jobs" bash -c '
        output=$(clang-tidy -p "$0" --quiet --extra-arg=--target=i686-linux-gnu \
            --extra-arg=-Wno-unknown-warning-option "$1" 2>&1)
        status=$?
        grep -vE "^[0-9]+ warnings? (and [0-9]+ errors? )?generated\.$" <<<"$output" | grep -v "^$"
        exit $status' "$commands"
echo "clang-tidy finds nothing"
