#!/bin/bash
# Starts a test: isolate.sh [EMULATOR [OPTION...]] -- PROGRAM [ARGUMENT...]
#
# The test gets a directory and, where the system permits, an IPC namespace of its own, so that
# tests may run side by side and nothing of a killed one is left behind; where no namespace is
# permitted, the objects of its key files are removed. Set for it are:
#   TMPDIR, TEST_TMPDIR  its directory, removed afterwards
#   GEN_MSGQ_PATH        where the library keeps its key files, in that directory
#   ZATOSW_TEST_RUNNER   the words before PROGRAM, by which a test can start itself again
#   ZATOSW_EMULATED      1 if PROGRAM is emulated
#   ZATOSW_SHARED_IPC    1 if no IPC namespace was permitted
# ZATOSW_WRAPPER, a command such as a memory checker, is put before PROGRAM.
# The exit status is the program's; 128 + n if signal n killed it.

emulator=()
while [ "$1" != -- ]; do
    emulator+=("$1")
    shift
done
shift

# Listing the cases runs none of them.
for argument; do
    if [ "$argument" = --gtest_list_tests ]; then
        exec "${emulator[@]}" "$@"
    fi
done

# A file's inode number is the key of the objects of its name: a later test's file may have it again.
clean_up() {
    if [ -n "${ZATOSW_SHARED_IPC-}" ]; then
        find "$directory" -type f -printf '%i\n' | while read -r inode; do
            key=$((inode & 0xFFFFFFFF))
            for kind in -S -M -Q; do
                ipcrm "$kind" "$key" 2>/dev/null
            done
        done
    fi
    rm -rf "$directory"
}

directory=$(mktemp -d "${TMPDIR:-/tmp}/zatosw.XXXXXXXX") || exit 125
trap clean_up EXIT
trap 'exit 143' TERM
trap 'exit 130' INT
trap 'exit 129' HUP

# The wrapper is a command line, meant to be split into words.
# shellcheck disable=SC2206
runner=(${ZATOSW_WRAPPER:-} "${emulator[@]}")
export TMPDIR=$directory TEST_TMPDIR=$directory GEN_MSGQ_PATH=$directory/keys/
export ZATOSW_TEST_RUNNER="${runner[*]}"
export ZATOSW_EMULATED=$((${#emulator[@]} > 0))

if unshare --ipc true 2>/dev/null; then
    isolation=(unshare --ipc --)
elif unshare --map-current-user --ipc true 2>/dev/null; then
    isolation=(unshare --map-current-user --ipc --)
else
    isolation=()
    export ZATOSW_SHARED_IPC=1
    echo "isolate.sh: no IPC namespace permitted; System V objects are shared with this machine" >&2
fi

# Some tests kill their children; an emulator would leave a core file of each in the build tree.
ulimit -c 0

"${isolation[@]}" "${runner[@]}" "$@"
