#!/bin/bash
# Installs the Debian packages that the given groups need; silent where nothing is missing.
#   setup.sh GROUP...      groups: base abi lint sanitize valgrind fuzz coverage bench doc
set -eu

# Build, run and test; g++ is for the tools, which run on this machine itself, and Python writes the
# manual pages. The 32-bit x86 programs run on its own lib32 libraries. Tests of the disk calls run the
# mtools commands.
# (gcc-multilib would bring a compiler for them, too, but excludes the cross compilers.)
base="cmake ninja-build make util-linux googletest qemu-user g++ mtools pkg-config python3
      g++-i686-linux-gnu libc6-i386 lib32gcc-s1 lib32stdc++6 g++-powerpc-linux-gnu"

abi="abigail-tools"

lint="clang-tidy clang-format"

sanitize="lib32asan8 lib32ubsan1"

# The checkers replace functions of the C library and find them by its debugging symbols. Those
# exist for the system's own 32-bit C library only, not for libc6-i386; libc6-dbg:i386 brings that
# library, which then comes first.
valgrind="valgrind libc6-dbg:i386"

fuzz="clang libclang-rt-14-dev"

coverage="gcovr"

bench="libbenchmark-dev:i386"

# graphviz draws the pictures; mandoc judges the manual pages.
doc="doxygen graphviz mandoc"

wanted=
for group; do
    case $group in
    base) wanted+=" $base" ;;
    abi) wanted+=" $abi" ;;
    lint) wanted+=" $lint" ;;
    sanitize) wanted+=" $sanitize" ;;
    valgrind) wanted+=" $valgrind" ;;
    fuzz) wanted+=" $fuzz" ;;
    coverage) wanted+=" $coverage" ;;
    bench) wanted+=" $bench" ;;
    doc) wanted+=" $doc" ;;
    *) echo "setup.sh: unknown group: $group" >&2; exit 2 ;;
    esac
done

missing_packages() {
    local package
    for package in $wanted; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            echo "$package"
    done
}

missing=$(missing_packages)
[ -n "$missing" ] || exit 0
missing=${missing//$'\n'/ }

give_up() {
    echo "setup: $1" >&2
    echo "setup: these Debian packages are missing: $missing" >&2
    exit 1
}

command -v apt-get >/dev/null || give_up "this machine has no apt-get"
as_root=
if [ "$(id -u)" -ne 0 ]; then
    as_root=sudo
    command -v sudo >/dev/null || give_up "installing needs root, and there is no sudo"
fi

echo "setup: installing $missing"
export DEBIAN_FRONTEND=noninteractive
if [[ $missing == *:i386* ]] && ! dpkg --print-foreign-architectures | grep -qx i386; then
    $as_root dpkg --add-architecture i386
fi
# A list that cannot be fetched may be none that is needed here; the installation will tell.
$as_root apt-get update -qq </dev/null || echo "setup: apt-get update failed; trying nevertheless" >&2
# shellcheck disable=SC2086
$as_root apt-get install -qq -y -o Dpkg::Use-Pty=0 --no-remove --no-install-recommends $missing </dev/null ||
    give_up "apt-get install failed"
