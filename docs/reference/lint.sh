#!/bin/bash
# Judges manual pages of section 3: lint.sh DIRECTORY. Exit status 77 where mandoc is not installed.
set -u
command -v mandoc >/dev/null || exit 77
cd "$1" || exit 1
# The pages have the date of nothing: the headers have none. What only leads to a page is looked up.
warnings=$(mandoc -T lint -W warning zatosw*.3 | grep -v ': missing date, ')
[ -z "$warnings" ] || { echo "$warnings"; exit 1; }
while read -r page; do
    [ -e "$page" ] || { echo "$page is led to and not there"; exit 1; }
done < <(sed -n 's:^\.so man3/::p' ./*.3 | sort -u)
