#!/bin/bash
# No two sources define a type of the same name at file scope: the linker would take the destructor
# of one for that of the other. types.sh SOURCE_DIRECTORY
set -eu

twice=$(grep -rhE '^(struct|class|union|enum class|enum) [A-Za-z_0-9]+( final)?( *[:{]|$)' \
    --include='*.cpp' --include='*.h' "$1" |
    sed -E 's/^(enum class|struct|class|union|enum) ([A-Za-z_0-9]+).*/\2/' | LC_ALL=C sort | uniq -d)
[ -z "$twice" ] && exit 0
echo "defined more than once: $twice" >&2
exit 1
