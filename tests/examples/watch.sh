#!/bin/bash
# Runs the example as a person would, and holds what it prints and leaves against what it promises:
# watch.sh PROGRAM [WORD...] (an emulator with its options may stand in front)
set -eu

fail() {
    echo "watch: $1" >&2
    printf '%s\n' "$output" >&2
    exit 1
}

output=$("$@" --seconds 3 --alarm 0 </dev/null) || fail "exit status $?"
[ "$(grep -c 'cpu .*memory .*load' <<<"$output")" -ge 1 ] || fail "no report"
grep -q 'ALARM: processor use above 0.0 %' <<<"$output" || fail "no alarm"
for task in mainThread control alarm report sampler secondTimer eventTimer; do
    grep -q "^  $task " <<<"$output" || fail "task $task is missing"
done

# The shell starts background commands with SIGINT ignored; SIGTERM ends the program in the same way.
"$@" --seconds 600 </dev/null >"$TMPDIR/output" &
program=$!
until grep -q eventTimer "$TMPDIR/output"; do
    kill -0 $program || { output=; fail "ended by itself"; }
    sleep 0.1
done
kill -TERM $program
wait $program || fail "exit status $? after a signal"

if "$@" --alarm never 2>/dev/null; then fail "a bad option is accepted"; fi
