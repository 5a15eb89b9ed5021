#!/bin/bash
# Installs the library elsewhere, whole and by components; programs then find there all they need.
#   install.sh BUILD_DIRECTORY
# (Words that begin with zatosw_ are set in target-settings.)
# shellcheck disable=SC1091,SC2154
set -euo pipefail
build=$1
here=$(dirname "$0")
. "$build/target-settings"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

install_into() {  # DIRECTORY OPTION...
    "$zatosw_cmake" --install "$build" --prefix "$scratch/$1" "${@:2}" >"$scratch/log" ||
        { cat "$scratch/log"; exit 1; }
}
install_into root

library=$(find "$scratch/root" -name libzatosw.so.1.0.0 -type f)
[ -n "$library" ] || { echo "no library was installed"; exit 1; }
directory=$(dirname "$library")
for name in libzatosw.so libzatosw.so.1; do
    [ -e "$directory/$name" ] || { echo "$name was not installed"; exit 1; }
done

names() { "$zatosw_nm" --defined-only "$@" | awk 'NF == 3 { sub(/@.*/, "", $3); print $3 }' | sort; }
names -D "$library" | grep -v '^ZATOSW_1' >"$scratch/shared"
names -g "$directory/libzatosw.a" >"$scratch/static"
diff "$scratch/shared" "$scratch/static" ||
    { echo "the static library has other names (>) than the shared one (<)"; exit 1; }

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
diff <(public_headers "$zatosw_source/core_src") <(installed_files "$scratch/root/include/zatosw") ||
    { echo "installed headers (>) are not the public ones (<)"; exit 1; }

# Together the components are the whole; what runs on a board is the library alone.
for component in Runtime Development Tools Documentation; do
    install_into "$component" --component "$component"
    installed_files "$scratch/$component"
done | LC_ALL=C sort | diff <(installed_files "$scratch/root") - ||
    { echo "the components (>) are not what is installed (<)"; exit 1; }
installed_files "$scratch/Runtime" | grep -v "/libzatosw\.so\.1\(\.0\.0\)\{0,1\}$" &&
    { echo "more than the library is in the component Runtime"; exit 1; }

"$here/consumer.sh" "$build" "$scratch/root" "$zatosw_libdir"
