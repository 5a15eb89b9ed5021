#!/bin/bash
# Prints log files that are made here, sound ones and damaged ones, of both byte orders:
# zatlog.sh PROGRAM (an emulator with its options may stand in front)
set -euo pipefail
shopt -s lastpipe  # what a function at the end of a pipe sets is there afterwards
zatlog=("$@")
export LC_ALL=C.UTF-8 TZ=XYZ-2
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

fail() {
    echo "zatlog: $1" >&2
    tail -n 20 "$dir/out" "$dir/err" >&2
    exit 1
}

numbers() {  # BYTES NUMBER...: numbers of so many bytes, in the byte order of $order
    local size=$1 number digits i
    shift
    for number; do
        printf -v digits '%0*x' $((2 * size)) $((number & 0xffffffff))
        for ((i = 0; i < size; i++)); do
            printf '%b' "\\x${digits:$((order == 1 ? 2 * i : 2 * (size - 1 - i))):2}"
        done
    done
}

begin() {  # FILE NEWEST: a log written at 12:22:20.5, with the size of its newest record
    file=$1 before=$2 ring=4096
    { if ((order)); then printf BB; else printf LL; fi
      numbers 2 1; numbers 4 $ring 12 1714645340 500000000; } >"$file"
}

entry() {  # SECONDS NANOSECONDS: a record at 12:22 and those seconds; its payload is the input
    cat >"$dir/payload"
    local length size
    length=$(wc -c <"$dir/payload")
    size=$(((length + 27) / 8 * 8))
    { numbers 4 "$before" $size $((1714645320 + $1)) "$2" "$length"
      cat "$dir/payload"; head -c $((size - 20 - length)) /dev/zero; } >>"$file"
    before=$size
}

binary() {  # KIND COMPONENT FILE LINE NUMBER...
    numbers 4 "$1" "$2"
    printf '%s' "$3"
    head -c $((32 - ${#3})) /dev/zero
    numbers 4 "$4" 77 0xf7a51b40 "${@:5}"
}

run() {  # STATUS OPTION...
    local wanted=$1 status=0
    shift
    "${zatlog[@]}" "$@" >"$dir/out" 2>"$dir/err" </dev/null || status=$?
    [ $status -eq "$wanted" ] || fail "$*: exit status $status, not $wanted"
}

prints() {  # what run() has printed is the input
    diff - "$dir/out" >&2 || fail "$1"
}

shows() {  # LINES OPTION...: of the text log, these lines and no more are printed
    run 0 "${@:2}" "$dir/text"
    printf '%s' "${1:+$1$'\n'}" | prints "${*:2}"
}

make_text() {  # records of 32, 40 and 48 bytes, at 20, 52 and 92 in the file
    begin "$dir/text" 48
    printf 'number 1\n' | entry 1 1000
    printf 'Two: no newline' | entry 2 999999999
    printf 'three\t\033[31m\303\244\001\200 \0 gone\n' | entry 3 500000000
}
one='12:22:01.000001 number 1'
two='12:22:02.999999 Two: no newline'
three=$'12:22:03.500000 three\t\033[31m\303\244\001\200 '
all=$one$'\n'$two$'\n'$three

for order in 0 1; do
    make_text
    shows "$all" --format=auto
    shows "$(printf '2024-05-02 %s\n' "${three/12:/10:}" "${two/12:/10:}" "${one/12:/10:}")" \
        --newest-first --utc --date
    shows '' --format=binary --grep=Two  # another kind's first word is no part of its dump
    run 0 --header -u "$dir/text"
    grep -q "order: *$( ((order)) && echo big || echo little)-endian" "$dir/out" || fail "order"
    grep -q 'written: *2024-05-02 10:22:20.500000' "$dir/out" || fail "time of writing"
    grep -q 'records: *3$' "$dir/out" || fail "number of records"

    begin "$dir/binary" 112
    binary 0 0x2002 task.cpp 42 1 -1 16 0 0x7fffffff 0x80000000 | entry 4 0
    binary 1 0x30 abcdefghijklmnopqrstuvwxyz/12345 -1 0x20020106 7 | entry 5 0
    { binary 2 0 a.c 1 19; printf '0123456789ABCDEF~\177\377'; } | entry 6 0
    binary 3 0x1234 '' 2 1 2 | entry 7 0
    { numbers 4 2; printf 'text of a strange kind, or a head that was cut'; } | entry 8 0
    { binary 0 0 longer.cpp 3 1 2 3 4 5 6; printf 'than an event'; } | entry 9 0
    run 0 --since=12:22:09 "$dir/binary"
    prints "no binary record's shape" <<<'12:22:09.000000 '
    run 0 --until=12:22:07 "$dir/binary"
    cp "$dir/out" "$dir/shapes"
    run 0 --format=binary "$dir/binary"
    head -n 6 "$dir/out" | diff "$dir/shapes" - >&2 || fail "the shape does not tell the format"
    sed -i 8,\$d "$dir/out"
    task='(77:4154792768)'
    args='1(0x1),-1(0xffffffff),16(0x10),0(0x0),2147483647(0x7fffffff),-2147483648(0x80000000)'
    prints "binary records" <<END
12:22:04.000000 OSW(0x2002):$task:task.cpp:42:args=$args
12:22:05.000000 IPC(0x30):$task:<Error>(0x20020106:0x00000007):abcdefghijklmnopqrstuvwxyz/12345:-1
12:22:06.000000 SYSTEM(0x0):$task:a.c:1:dump(size=19)
12:22:06.000000 30 31 32 33 34 35 36 37 38 39 41 42 43 44 45 46 | 0123456789ABCDEF
12:22:06.000000 7E 7F FF                                        | ~..
12:22:07.000000 OTHERS(0x1234):$task:<Warning>(0x00000001:0x00000002)::2
12:22:08.000000 $( ((order)) && echo '00 00 00 02' || echo '02 00 00 00') 74 65 78 74 20 6F 66 20 61 20 73 74 | ....text of a st
END
    run 0 --format=text "$dir/binary"
    [ "$(wc -l <"$dir/out")" -eq 6 ] || fail "binary records as text"
done

# What comes before a cut is printed, wherever it is.
size=$(wc -c <"$dir/text")
for ((length = 0; length < size; length++)); do
    head -c $length "$dir/text" >"$dir/cut"
    run $((length != 20)) "$dir/cut"
    head -n $(((length >= 52) + (length >= 92))) <<<"$all" | prints "cut: $length"
    [ $length -eq 20 ] || grep -q "^zatlog: $dir/cut: byte [0-9]*: " "$dir/err" || fail "cut: $length"
done

damage() {  # OFFSET BYTES TEXT LINES: with these bytes there, a message has the text, after lines
    cp "$dir/text" "$dir/damaged"
    printf '%b' "$2" | dd of="$dir/damaged" bs=1 seek="$1" conv=notrunc status=none
    run 1 "$dir/damaged"
    [[ $(cat "$dir/err") =~ ^[^$'\n']*$3[^$'\n']*$ ]] || fail "no message, or more than: $3"
    [ "$(wc -l <"$dir/out")" -eq "$4" ] || fail "$3: not the records before and after it"
}
order=0
make_text
damage 0 BL 'byte 0: .*neither BB nor LL' 0
damage 2 '\x2' 'byte 2: format version 2' 0
damage 4 '\x70\0' 'byte 4: ring size 112, .* 120$' 3
damage 8 '\x10' 'byte 8: offset of the clock 16' 3
damage 56 '\x2a' 'byte 52: record size 42, .*multiple of 8' 1
damage 56 '\x10' 'byte 52: record size 16, .*at least 24' 1
damage 56 '\x88' 'byte 52: cut: record size 136, .* 88$' 1
damage 68 '\x15' 'byte 52: payload length 21, .* 20$' 3
damage 52 '\x30' 'byte 52: size of the record before 48, .* 32$' 3
damage 20 '\x28' 'byte 20: size of the newest record 40, .* 48$' 3
damage 140 'end' 'byte 140: cut: ' 3
for small in 8=02:00 16=12:22; do
    begin "$dir/small" ${small%=*}
    { numbers 4 "$before" "$before"
      if [ "$before" -eq 16 ]; then numbers 4 1714645320 0; fi; } >>"$dir/small"
    run 0 "$dir/small"
    prints "a ring of $before bytes" <<<"${small#*=}:00.000000 "
done

shows "$two" --since=12:22:02.999999 --until=12:22:02.999999
shows "$two" --since='2024-05-02 12:22:01.5' --until=@1714645323
shows "${two/12:/10:}" --utc --since=10:22:02 --until='2024-05-02 10:22:03.4'
shows "$all" --since=2024-05-02 --until=2024-05-02
shows '' --since=2024-05-03
shows "$two" --grep='two: NO' --ignore-case
shows '' --grep='two: NO'

# Several files, one of them standard input, one unreadable.
status=0
"${zatlog[@]}" -U 12:22:07 "$dir/missing" - "$dir/binary" <"$dir/text" >"$dir/out" 2>"$dir/err" ||
    status=$?
[ $status -eq 1 ] || fail "a missing file: exit status $status"
cat - "$dir/shapes" <<<"$all" | prints "several files"
grep -q "missing: No such file" "$dir/err" || fail "no message about a missing file"
if "${zatlog[@]}" "$dir/text" 2>"$dir/err" >/dev/full; then fail "a full disk is fine"; fi
grep -q 'standard output: No space' "$dir/err" || fail "no message about a full disk"
for wrong in --since=2024-02-30 --until=25:00:00 --since=12:00 --format=x --wrong --grep; do
    run 2 "$dir/text" "$wrong"
done
run 2

# A log does not drive the terminal.
if script -qec true /dev/null >/dev/null 2>&1 </dev/null; then
    # An emulated program has no character set but ASCII.
    script -qec "${zatlog[*]} $dir/text" /dev/null </dev/null | tr -d '\r' >"$dir/out"
    [[ $(tail -n 1 "$dir/out") == *$'three\t?[31m'@($'\303\244'|'??')'?? ' ]] || fail "terminal"
fi
