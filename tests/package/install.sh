#!/bin/bash
# Installs the library elsewhere; a C program then finds there all it needs.
#   install.sh CMAKE BUILD_DIRECTORY SOURCE_DIRECTORY C_COMPILER [EMULATOR...]
set -euo pipefail
cmake=$1
build=$2
source=$3
read -ra compiler <<<"$4"
shift 4

here=$(dirname "$0")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

"$cmake" --install "$build" --prefix "$scratch/root" >"$scratch/log" ||
    { cat "$scratch/log"; exit 1; }

library=$(find "$scratch/root" -name libzatosw.so.1.0.0 -type f)
[ -n "$library" ] || { echo "no library was installed"; exit 1; }
directory=$(dirname "$library")
for name in libzatosw.so libzatosw.so.1; do
    [ -e "$directory/$name" ] || { echo "$name was not installed"; exit 1; }
done

if [ -e "$build/tools/zatlog" ]; then
    for name in bin/zatlog share/man/man1/zatlog.1; do
        [ -e "$scratch/root/$name" ] || { echo "$name was not installed"; exit 1; }
    done
fi

public_headers() {
    (cd "$1" && find . -type f ! -name '*_private.h' -name '*.h' | LC_ALL=C sort)
}
installed_files() {
    (cd "$1" && find . ! -type d | LC_ALL=C sort)
}
diff <(public_headers "$source/core_src") <(installed_files "$scratch/root/include/zatosw") ||
    { echo "installed headers (>) are not the public ones (<)"; exit 1; }

"${compiler[@]}" -std=c11 -Wall -Wextra -Wpedantic -Werror -I "$scratch/root/include" \
    "$here/consumer.c" -o "$scratch/consumer" -L "$directory" -lzatosw
LD_LIBRARY_PATH=$directory "$@" "$scratch/consumer"
