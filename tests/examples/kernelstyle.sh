#!/bin/bash
# Holds what the example prints against what it promises:
# kernelstyle.sh PROGRAM [WORD...] (an emulator with its options may stand in front)
set -eu

for readings in 1 10 500; do
    printed=$("$@" $readings)
    expected="mainThread: no reading for 15 ticks; tProducer goes on
$readings readings, sum $((readings * (readings + 1) / 2))"
    [ "$printed" = "$expected" ] || { echo "kernelstyle $readings printed: $printed"; exit 1; }
done
if "$@" none 2>/dev/null; then exit 1; fi
