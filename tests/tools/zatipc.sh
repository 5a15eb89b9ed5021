#!/bin/bash
# Looks at living, dead and damaged tables, and clears them away:
# zatipc.sh ZATIPC OBJECTS CMAKE [EMULATOR...]
set -euo pipefail
tool=$1 helper=$2 cmake=$3
shift 3
runner=("$@")
keys=$GEN_MSGQ_PATH
dir=$TMPDIR
table=zatoswipcglobalshm
export LC_ALL=C.UTF-8

fail() {
    echo "zatipc: $1" >&2
    cat "$dir/out" "$dir/err" >&2
    exit 1
}

run() {  # STATUS WORD...: neither a crash nor a loop
    local wanted=$1 status=0
    shift
    timeout 30 "${runner[@]}" "$tool" --wait=50 "$@" >"$dir/out" 2>"$dir/err" </dev/null || status=$?
    [ $status -eq "$wanted" ] || fail "$*: exit status $status, not $wanted"
}

says() {  # PATTERN...: each in a line of the output
    for pattern; do
        grep -qE -- "$pattern" "$dir/out" "$dir/err" || fail "nowhere: $pattern"
    done
}

objects() { timeout 60 "${runner[@]}" "$helper" "$@"; }

start() {  # WORD...: a process that lives until stop; its number is in $living
    mkfifo "$dir/input" "$dir/ready"
    "${runner[@]}" "$helper" "$@" <"$dir/input" >"$dir/ready" &
    living=$!
    exec 8>"$dir/input"
    read -r -t 60 <"$dir/ready" || fail "no $*"
    rm "$dir/input" "$dir/ready"
}

stop() {
    exec 8>&-
    wait $living || fail "it ends with $?"
}

nothing_left() {  # but the semaphore that the processes' partitions share
    [ -n "${ZATOSW_SHARED_IPC-}" ] || [ "$(ipcs | grep -c 0x)" -le 1 ] || fail "left: $(ipcs)"
}

run 0
says '^no table in '
run 0 clean
says 'nothing to remove'
[ ! -e "$keys" ] || fail "a key directory was made"

# Living: every kind, on two pages, looked at as often as one likes.
start objects 50
run 0 list --directory="${keys%/}"
says "^used by $living " ': objects 57, pages 2; processes counted 1, attached 1; bytes in partitions 4096, ' \
    "^m +mutex +1 +$living +[0-9]+ +alive +0 +2 times taken$" '^c +count +1 +- +- +- +1 +0$' \
    '^e +event +1 .* 0 +posted$' '^q +queue .* 0\+0 +3 of 3 x 8 bytes$' \
    "^t +timer +1 +$living +- +alive +- +started, 3600000 ms$" \
    "^s +lock +1 +$living +[0-9]+ +alive +0\+0 +exclusive$" '^p .* 120 of 4096 bytes$' '^x49 '
cp "$dir/out" "$dir/before"
run 0 show p
says '^blocks: +1$' '^free blocks: +1$' '^largest free: +3944$' '^chain: +sound$'
until run 0 show c && grep -q '^blocked: *1$' "$dir/out"; do :; done  # counted, it soon blocks
says '^waiters: +1$'
run 1 show nothing
run 0 --json
cat >"$dir/json.cmake" <<'END'
file(READ ${CMAKE_ARGV3} json)
string(JSON count LENGTH "${json}" objects)
string(JSON kind GET "${json}" objects 3 type)
string(JSON messages GET "${json}" objects 3 messagesInKernel)
string(JSON state GET "${json}" objects 0 ownerState)
message("${count} ${kind} ${messages} ${state}")
END
[ "$("$cmake" -P "$dir/json.cmake" "$dir/out" 2>&1)" = '57 queue 3 alive' ] || fail "JSON"
run 0 check
says '^nothing is wrong$'
run 0 watch -n 2 -i 1
[ "$(grep -c ^NAME "$dir/out")" -eq 2 ] || fail "not two looks"

# Nobody's, beside the living; what has another shape is somebody else's.
objects orphan ghost_esem 1 >/dev/null
other=$(objects orphan other_sel 4)
lone=$'lone\e_msg'
touch "$keys/$lone" "$keys/application"
run 1 check
says 'nobody: key file ghost_esem, semaphore' 'nobody: key file other_sel$' 'file lone\?_msg$'
[ "$(wc -l <"$dir/out")" -eq 3 ] || fail "too many findings"
run 1 clean
[ -e "$keys/$lone" ] || fail "removed without a yes"
run 0 clean --yes
[ "$(grep -c ^removed: "$dir/out")" -eq 3 ] || fail "not three are removed"
own=$(objects write $table 4 9)
run 0 check
says '^note: 9 processes are counted, and 1 have the table'
objects write $table 4 "$own" >/dev/null
own=$(objects write $table 0 0)
touch "$keys/$lone"
run 2 clean --yes
says 'nothing is removed: the table is in use and damaged'
objects write $table 0 "$own" >/dev/null
mv "$keys/$table" "$keys/lost"  # as when old files are tidied away
run 1 check
says 'processes use a table whose key file is gone'
run 2 clean --yes
mv "$keys/lost" "$keys/$table"
run 0 clean --yes
# Not left to whoever gets the inode of its key file next.
ipcrm -s "$other" || fail "others' are gone"
[ -e "$keys/application" ] || fail "an unknown file is gone"
run 0
diff "$dir/before" "$dir/out" >&2 || fail "the living are not as before"
stop
nothing_left

# A lock semaphore that somebody keeps.
start objects 50
first=$living
exec 9>&8
for lock in zatoswipcmsem $table; do
    start hold "$lock"
    run 1 list
    says "$lock is held, last taken by process $living \(alive\)" '^m .* alive .* taken$' '^p .* 120 of'
    run 1 check
    says "^lock semaphore $lock is held"
    if [ "$lock" = $table ]; then  # somebody may be making what looks like nobody's
        touch "$keys/$lone"
        run 2 clean --yes
        says 'not all is removed: lock semaphore'
        [ -e "$keys/$lone" ] || fail "removed without the lock"
        rm "$keys/$lone"
    fi
    stop
    run 0 check
done
objects spoil zatoswipcmsem 1
run 1 list
says 'zatoswipcmsem was given back more often than taken'
objects spoil zatoswipcmsem -1

# Dead, as a whole.
kill -KILL "$first"
wait "$first" 2>/dev/null || true
exec 9>&-
run 0
says '^m .* dead .* taken$' '^t .* dead' '^s .* dead'
run 1 check
says '^m \(mutex\): process [0-9]* is dead and holds it' '^t \(timer\): .* serves it' \
    '^s \(lock\): .* holds it' '^no living process' 'file q_msg, semaphore [0-9]+, queue [0-9]+'

mv "$keys/e_esem" "$keys/moved"
run 1 check
says '^e \(event\): its key file e_esem is gone$'
mv "$keys/moved" "$keys/e_esem"

# Damage, word by word, and mended again. An entry has 84 bytes, from 20 on.
damage() {  # STATUS FILE OFFSET PATTERN WORD...: check says so; list ends with the status
    local before
    before=$(objects write "$2" "$3" "${@:5}")
    run 1 check
    says "$4"
    run "$1" --json
    # shellcheck disable=SC2086
    objects write "$2" "$3" $before >/dev/null
}
name=$(objects write $table 20 0)
objects write $table 20 "$name" >/dev/null
own=$(objects segment $table)
part=$(objects segment p_shm)
damage 1 $table 16 "page 1 of the table: segment $own was a page before" "$own"
damage 1 $table 16 'page 1 of the table: segment -7 ' -7
damage 1 $table 16 "page 1 of the table: segment $part has [0-9]+ bytes|has no key file" "$part"
damage 1 $table 0 'the table counts 1 pages and has 2' 1
damage 0 $table 8 'the table counts 4095 bytes in partitions' 4095
# shellcheck disable=SC2046
damage 1 $table 20 ' A{32} \(mutex\): the name has no end' $(printf '0x41414141 %.0s' {1..8})
damage 1 $table 140 'c \(type 4711\): there is no such type' 4711
damage 1 $table 104 'm \(mutex\): the object is there twice' "$name" 0 0 0 0 0 0 0 1 0
damage 0 $table 416 't \(timer\): there is no request 6' 6
damage 0 $table 500 '^note: s \(lock\): .* was the last to share it$' 0 1
damage 0 $table 252 "e \\(event\\): its semaphore 4711 is gone, or another's" 4711
damage 0 $table 336 'it counts 4711 messages and has room for 3' 4711
damage 0 $table 564 "p \\(partition\\): its segment $own is gone, or another's" "$own"
damage 0 $table 568 'p \(partition\): its 2000000000 bytes cannot be looked at' 2000000000
damage 0 p_shm 20 'p \(partition\): its chain of blocks is broken' 0x7ffffff1
damage 0 p_shm 20 'p \(partition\): its chain of blocks is broken' 1
damage 0 p_shm 8 'p \(partition\): it counts 5 blocks' 5

# Whatever is in the page, and with the global semaphore taken by a dead process.
objects spoil $table -1
run 1 list
says "lock semaphore $table is held, last taken by process [0-9]+ \\(dead\\)" '^m .* dead .* taken$'
for seed in {1..8}; do
    objects scramble "$seed"
    for command in list check; do run 1 $command; done
done
run 0 clean --yes
run 0 check
nothing_left
[ -e "$keys/${table}1" ] || fail "the file of a page is gone"
touch "$keys/$lone"
run 0 clean --yes
[ ! -e "$keys/$table" ] || fail "the table's file is left"
start objects 0
run 0 check
stop
nothing_left

for wrong in nonsense show 'list more' --wait=x --interval=3600001 '--json clean'; do
    # shellcheck disable=SC2086
    run 2 $wrong
done
if "${runner[@]}" "$tool" --help >/dev/full 2>"$dir/err"; then fail "a full disk is fine"; fi
