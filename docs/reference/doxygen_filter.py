#!/usr/bin/env python3
"""Hands a public header, or a document, to Doxygen: doxygen_filter.py FILE.

In a header, lists that macros make are spelled out, "@return STATUS  text" becomes a row of a table, and
"a1..a3" the arguments that it stands for.
"""

import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True
import headers

RETURN = re.compile(rf"@return ({headers.STATUS_WORD})(?=\s|$)")


def document(path):
    text = path.read_text()
    if path.name == "guide.md":
        text = re.sub(r"^## (.*)$", lambda match: f"## {match[1]} {{#{name_of(match[1])}}}", text,
                      flags=re.M)
    return re.sub(r"\]\(guide\.md#", "](#", text)


def name_of(heading):
    return re.sub(r"[^a-z0-9 -]", "", heading.lower()).replace(" ", "-")


def header(path):
    text = headers.spelled_out(str(path.relative_to(headers.SOURCES)))
    text = RETURN.sub(lambda match: "@retval " + match[1].replace(", ", ","), text)
    text = re.sub(r"@param a1\.\.a(\d+)", lambda match: "@param " + ",".join(
        f"a{number}" for number in range(1, int(match[1]) + 1)), text)
    text = text.replace("@param a, b ", "@param a,b ")
    text = re.sub(r"ZATOSW_STATIC_ASSERT\((?:[^;]|\n)*?\);\n", "", text)
    # To Doxygen, <name> is a tag of HTML.
    text = re.sub(r"(?<!#include )<(zatosw/[\w/]+\.h)>", r"&lt;\1&gt;", text)
    return text


def main():
    path = Path(sys.argv[1]).resolve()
    sys.stdout.write(document(path) if path.suffix == ".md" else header(path))


if __name__ == "__main__":
    main()
