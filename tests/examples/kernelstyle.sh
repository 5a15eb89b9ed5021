#!/bin/bash
# Holds what the example prints against what it promises:
# kernelstyle.sh PROGRAM [WORD...] (an emulator with its options may stand in front)
set -eu

check() {  # SUM READINGS
    local expected
    expected="mainThread: no reading for 15 ticks; tProducer goes on
$2 readings, sum $1"
    printed=$("${program[@]}" "$2")
    [ "$printed" = "$expected" ] && return
    echo "kernelstyle $2 printed: $printed" >&2
    exit 1
}

program=("$@")
check 1 1
check 55 10
check 125250 500 # a full queue makes the producer wait
if "${program[@]}" none 2>/dev/null; then exit 1; fi
