#!/bin/bash
# Runs the example as a person would, and holds what it prints and leaves against what it promises:
# watch.sh PROGRAM [WORD...] (an emulator with its options may stand in front)
set -eu

watch=("$@")
log=$TMPDIR/controller

fail() {
    echo "watch: $1" >&2
    cat "$TMPDIR"/both "$log" 2>/dev/null >&2
    exit 1
}

# Waits until a line that is new in the controller's output matches.
expect() {
    local from
    from=$(wc -l <"$log")
    for _ in $(seq 200); do
        tail -n +$((from + 1)) "$log" | grep -q "$1" && return
        sleep 0.1
    done
    fail "$2"
}

nothing_left() {
    if [ -n "${ZATOSW_SHARED_IPC-}" ]; then return; fi
    # The semaphore of the processes' system partitions is there for the next ones.
    local own
    own=$(printf '0x%08x' "$(stat -c %i "$GEN_MSGQ_PATH/oswsysvsem_0")")
    [ -z "$(ipcs | grep 0x | grep -v "^$own ")" ] || fail "System V objects are left $1: $(ipcs)"
}

# Both processes, for a while.
"${watch[@]}" --seconds 3 --alarm 0 --report </dev/null 2>"$TMPDIR/both" >/dev/null || fail "exit status $?"
grep -q '^WATCH:.*cpu .*memory .*load' "$TMPDIR/both" || fail "no report"
grep -q 'ALARM: processor use above 0.0 %' "$TMPDIR/both" || fail "no alarm"
for task in mainThread control alarm report answer secondTimer eventTimer; do
    grep -q "^WATCH:  $task " "$TMPDIR/both" || fail "task $task is missing"
done
nothing_left "after both have stopped"

# Each in its turn is killed and started again while the other goes on.
start() {
    "${watch[@]}" "$1" --seconds 600 --report </dev/null 2>>"$log" >/dev/null &
}
: >"$log"
start controller
controller=$!
start sampler
sampler=$!
expect 'cpu ' "no readings from a sampler of its own"
kill -KILL $sampler
expect 'no reading' "the controller does not notice that the sampler is gone"
start sampler
sampler=$!
expect 'cpu ' "no readings from a new sampler"
kill -KILL $controller
start controller
controller=$!
expect 'cpu ' "a new controller gets no readings"
"${watch[@]}" ask </dev/null || fail "asking: exit status $?"
expect 'cpu ' "no report"
# A process that looks at the logs of the others, and what it saves, read by another program.
"${watch[@]}" log </dev/null 2>"$TMPDIR/logs" || fail "printing the logs: exit status $?"
for name in watch.std watch.err watch.log; do
    grep -q "^WATCH: ======== end of log print <id = [0-9]*, name = $name> " "$TMPDIR/logs" ||
        fail "log $name is not printed"
done
"${watch[@]}" log --save "$TMPDIR/readings" </dev/null || fail "saving a log: exit status $?"
expect 'cpu ' "the controller stops when a process that looked at its logs ends"
if [ -n "${ZATLOG-}" ]; then
    printed=$(grep -c '^WATCH:.* cpu .* memory .* KiB load ' "$TMPDIR/logs")
    saved=$("$ZATLOG" "$TMPDIR/readings" | grep -c '^[0-9:.]* cpu .* memory .* KiB load ')
    [ "$printed" -gt 0 ] && [ "$saved" -ge "$printed" ] ||
        fail "$printed readings printed, $saved saved"
fi

# The shell starts background commands with SIGINT ignored; SIGTERM ends the program in the same way.
kill -TERM $controller $sampler
wait $controller || fail "exit status $? of the controller after a signal"
wait $sampler || fail "exit status $? of the sampler after a signal"
nothing_left "after kills and restarts"

# A script on standard input, behind commands of the command line; EXIT ends it before its time.
printf 'ALARM 0\nsampler stop\nbogus\nTPL\nSHM watch.memory\nEXIT\n' |
    "${watch[@]}" --seconds 600 --c "echo first,alarm 77" 2>"$TMPDIR/script" >/dev/null ||
    fail "a script: exit status $?"
for line in 'first' 'alarm above 77.0 %' 'alarm above 0.0 %' 'sampler stands' \
    'No such command: bogus; .*' ' <free>   task id .*' 'memory block offset & size:' \
    '>>>>> exit control mode <<<<<'; do
    grep -q "^WATCH:$line\$" "$TMPDIR/script" || fail "the script does not say $line: $(cat "$TMPDIR/script")"
done
nothing_left "after a script"

if "${watch[@]}" --alarm never 2>/dev/null; then fail "a bad option is accepted"; fi
