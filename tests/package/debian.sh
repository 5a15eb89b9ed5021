#!/bin/bash
# Looks at the Debian packages of a build tree, unpacks them, and builds programs against that.
#   debian.sh BUILD_DIRECTORY
# (Words that begin with zatosw_ are set in target-settings.)
# shellcheck disable=SC1091,SC2154
set -euo pipefail
export LC_ALL=C
build=$1
here=$(dirname "$0")
. "$build/target-settings"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
root=$scratch/root

failed=
fault() {
    echo "$1"
    failed=1
}

for package in "libzatosw1 $zatosw_debian_architecture" "libzatosw-dev $zatosw_debian_architecture" \
    "zatosw-tools $zatosw_debian_architecture" "zatosw-doc all"; do
    name=${package% *}
    file=$build/${name}_${zatosw_version}_${package#* }.deb
    [ "$(dpkg-deb -f "$file" Architecture)" = "${package#* }" ] || fault "$file: another architecture"
    dpkg-deb -x "$file" "$root"
    dpkg-deb -e "$file" "$scratch/$name"
done

library=$root/usr/$zatosw_libdir/libzatosw.so.1
for page in man1/zatipc.1.gz man1/zatlog.1.gz man3/zatosw.3.gz man3/zatOSWWaitEventSem.3.gz; do
    [ -e "$root/usr/share/man/$page" ] || fault "$page is not there, or not compressed"
done
empty=$(find "$root" -type d -empty)
[ -z "$empty" ] || fault "empty directories: $empty"
! "$zatosw_readelf" -S "$library" | grep -q '\.debug_' || fault "the library is not stripped"
! grep -rlF "$zatosw_source" "$root" || fault "these name the directory where they were built"
grep -q '^activate-noawait ldconfig$' "$scratch/libzatosw1/triggers" || fault "ldconfig is not run"
grep -q '^libzatosw 1 libzatosw1 ' "$scratch/libzatosw1/shlibs" || fault "shlibs names another library"
grep -q '^Depends:.*libzatosw1 (= '"$zatosw_version"')' "$scratch/libzatosw-dev/control" ||
    fault "headers and library may be of different versions"

"$zatosw_readelf" --wide --dyn-syms "$library" |
    awk '$7 != "UND" && $8 ~ /@@/ { sub("@@", "@", $8); print $8 }' | sort |
    diff - <(sed -n '/^ ZATOSW_1/d; s/^ \([^ ]*\) [0-9.]*$/\1/p' "$scratch/libzatosw1/symbols" | sort) ||
    fault "the symbols file lists others (>) than the library has (<)"

# The newest interfaces that the files need, and what brought them: the packages depend on those.
needed=$("$zatosw_readelf" --wide --version-info "$library" "$root"/usr/bin/* |
    sed -n 's/.*Name: \([A-Z]*_[0-9.]*\) .*/\1/p' | sort -u)
for newest in GLIBC_2.34 GLIBCXX_3.4.29 CXXABI_1.3.13 GCC_7.0.0; do
    found=$({ grep "^${newest%_*}_" <<<"$needed"; echo "$newest"; } | sort -V | tail -n 1)
    [ "$found" = "$newest" ] || fault "the packages need $found, and depend on $newest only"
done

[ -z "$failed" ] || exit 1
"$here/consumer.sh" "$build" "$root/usr" "$zatosw_libdir"
