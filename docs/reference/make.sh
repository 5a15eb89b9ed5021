#!/bin/bash
# Writes the HTML reference and the manual pages, and checks them: make.sh DIRECTORY
set -eu
cd "$(dirname "$0")/../.."
directory=$1
ZATOSW_VERSION=$(sed -n 's/^project(zatosw VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export ZATOSW_VERSION

docs/reference/pictures.sh --check

rm -rf "$directory"
mkdir -p "$directory"
docs/reference/man_pages.py "$ZATOSW_VERSION" "$directory/man3"
docs/reference/lint.sh "$directory/man3"

(cat docs/reference/Doxyfile; echo "OUTPUT_DIRECTORY = $directory") | doxygen -
echo "$directory/html/index.html and $(find "$directory/man3" -name 'zatosw*.3' | wc -l) manual pages are written"
