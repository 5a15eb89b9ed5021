#!/bin/bash
# Looks at what the dynamic linker is told about the library, and at the names of its file.
#   library.sh DIRECTORY READELF
set -euo pipefail
directory=$1
readelf=$2

failed=
fault() {
    echo "$1"
    failed=1
}

for link in libzatosw.so:libzatosw.so.1 libzatosw.so.1:libzatosw.so.1.0.0; do
    found=$(readlink "$directory/${link%%:*}") || found="no link"
    [ "$found" = "${link##*:}" ] || fault "${link%%:*} should lead to ${link##*:}, but is: $found"
done
[ -f "$directory/libzatosw.so.1.0.0" ] || fault "libzatosw.so.1.0.0 is missing"

dynamic=$("$readelf" --wide --dynamic "$directory/libzatosw.so.1")
soname=$(sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p' <<<"$dynamic")
[ "$soname" = libzatosw.so.1 ] || fault "the soname is '$soname', not libzatosw.so.1"

# A program may replace any call; a library bound to itself would go on using its own.
! grep -qw SYMBOLIC <<<"$dynamic" || fault "the library is linked with -Bsymbolic"
protected=$("$readelf" --wide --dyn-syms "$directory/libzatosw.so.1" | awk '$6 == "PROTECTED"')
[ -z "$protected" ] || fault "protected symbols: $protected"

! grep -qw TEXTREL <<<"$dynamic" || fault "the library's code is relocated, so no process shares it"
stack=$("$readelf" --wide --segments "$directory/libzatosw.so.1" | awk '$1 == "GNU_STACK" { print $7 }')
[ "$stack" = RW ] || fault "flags of the stack are '$stack': the library makes stacks executable"

while read -r needed; do
    case $needed in
    libc.so.* | libm.so.* | libpthread.so.* | libdl.so.* | librt.so.* | ld-linux.so.* | ld.so.*) ;;
    libstdc++.so.* | libgcc_s.so.*) ;;
    *) fault "the library needs $needed, which not every system of a target has" ;;
    esac
done < <(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic")

[ -z "$failed" ] || exit 1
echo "names and dynamic section as they must be"
