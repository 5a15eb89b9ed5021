#!/bin/bash
# Runs each fuzzer for a while, from the inputs that are kept: run.sh DIRECTORY SECONDS
# An input that makes one fail is left in the directory it was started in.
set -eu

fuzzers=$1
seconds=$2
sources=$(dirname "$(realpath "$0")")
[[ $fuzzers = /* ]] || fuzzers=$PWD/$fuzzers

for corpus in "$sources"/corpus/*; do
    name=$(basename "$corpus")
    found=$fuzzers/found_$name
    mkdir -p "$found/new" "$found/work"
    dictionary=()
    if [ -e "$sources/$name.dict" ]; then dictionary=("-dict=$sources/$name.dict"); fi
    echo "== $name, $seconds s"
    # Sizes that nobody has memory for are refused, as by the C library.
    (cd "$found/work" &&
        ASAN_OPTIONS=allocator_may_return_null=1 \
            "$sources/../tests/support/isolate.sh" -- "$fuzzers/fuzz_$name" \
            -max_len=2000 -timeout=20 -print_final_stats=0 -verbosity=0 \
            -max_total_time="$seconds" -artifact_prefix="$found/" ${dictionary[@]+"${dictionary[@]}"} \
            "$found/new" "$corpus")
done
