#!/bin/bash
# Builds programs against an installed tree, in C and in C++, by CMake and by pkg-config, with the
# shared and with the static library, and runs them.
#   consumer.sh BUILD_DIRECTORY PREFIX LIBRARY_DIRECTORY    (the latter below PREFIX)
# (Words that begin with zatosw_ are set in target-settings.)
# shellcheck disable=SC1091,SC2154
set -euo pipefail
build=$(realpath "$1")
prefix=$2
libraries=$prefix/$3
source=$(realpath "$(dirname "$0")")/consumer
. "$build/target-settings"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
unset LD_LIBRARY_PATH

fail() {
    echo "$1"
    exit 1
}

needs_library() { LC_ALL=C "$zatosw_readelf" --dynamic "$1" 2>&1 | grep -q 'NEEDED.*libzatosw\.so\.1'; }

run() {  # shared|static PROGRAM
    [ "$1" = static ] || needs_library "$2" || fail "$2 does not load the library"
    [ "$1" = shared ] || ! needs_library "$2" || fail "$2 is not linked statically"
    [ "$("$build/run-on-target" "$2")" = success ] || fail "$2 fails"
}

for language in C CXX; do
    tree=$scratch/$language
    { "$zatosw_cmake" -S "$source" -B "$tree" -G Ninja -DLANGUAGE=$language "${zatosw_toolchain[@]}" \
        -DCMAKE_BUILD_TYPE=Release "-DCMAKE_PREFIX_PATH=$prefix" &&
        "$zatosw_cmake" --build "$tree"; } >"$scratch/log" 2>&1 ||
        { cat "$scratch/log"; fail "CMake: $language"; }
    run shared "$tree/with_zatosw"
    run static "$tree/with_zatosw_static"
done

export PKG_CONFIG_LIBDIR=$libraries/pkgconfig
version=$(pkg-config --modversion zatosw)
[ "$version" = "$zatosw_version" ] || fail "pkg-config finds version $version"

build_with() {  # OUTPUT COMPILER OPTION...; what pkg-config says is words
    local output=$1
    shift
    # shellcheck disable=SC2046
    "$@" -Wall -Wextra -Wpedantic -Werror -o "$scratch/$output" $(pkg-config --cflags $static zatosw) \
        $(pkg-config --libs $static zatosw)
}

export LD_LIBRARY_PATH=$libraries
static=
build_with c_shared "${zatosw_c_compiler[@]}" -std=c11 "$source/consumer.c"
build_with cxx_shared "${zatosw_cxx_compiler[@]}" -std=c++17 "$source/consumer.cpp"
run shared "$scratch/c_shared"
run shared "$scratch/cxx_shared"

# As in a development tree that has the static library only.
unset LD_LIBRARY_PATH
mkdir "$scratch/static"
cp -R "$prefix/include" "$scratch/static/"
mkdir -p "$scratch/static/$3"
cp -R "$libraries/libzatosw.a" "$libraries/pkgconfig" "$scratch/static/$3/"
export PKG_CONFIG_LIBDIR=$scratch/static/$3/pkgconfig
static=--static
build_with c_static "${zatosw_c_compiler[@]}" -std=c11 "$source/consumer.c"
build_with cxx_static "${zatosw_cxx_compiler[@]}" -std=c++17 "$source/consumer.cpp"
run static "$scratch/c_static"
run static "$scratch/cxx_static"
echo "programs build and run with what is in $libraries"
