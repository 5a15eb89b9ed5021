#!/bin/bash -eu
# Holds what the example prints against what it promises: kernelstyle.sh [EMULATOR...] PROGRAM
for readings in 1 10 500; do
    printed=$("$@" $readings)
    diff - <(echo "$printed") <<END
mainThread: no reading for 15 ticks; tProducer goes on
$readings readings, sum $((readings * (readings + 1) / 2))
END
done
if "$@" none 2>/dev/null; then exit 1; fi
