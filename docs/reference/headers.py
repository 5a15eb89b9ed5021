"""The public headers as records: what the manual pages and the HTML reference are made of.

The headers keep one form: a comment that begins with two asterisks stands in front of what it is
about, and one that begins with "/**<" behind it. Lists that the headers make of macros are spelled
out here, since nobody can look a call up that only a macro declares.
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2] / "core_src"


def public():
    """The public headers, as paths below core_src/."""
    return sorted(str(path.relative_to(SOURCES)) for path in SOURCES.rglob("*.h")
                  if not path.name.endswith("_private.h"))


def _continued(text):
    return re.sub(r"\\\n\s*", " ", text)


def statuses():
    """Every status: (name, code, text)."""
    text = _continued((SOURCES / "osw/status.h").read_text())
    return re.findall(r'X\((ZAT_\w+), (0?x?[0-9A-Fa-f]+)u,\s+"([^"]*)"\)', text)


def _status_enum(text):
    begin = text.index("#define ZAT_STATUS_CONSTANT")
    last = "#undef ZAT_STATUS_CONSTANT\n"
    end = text.index(last) + len(last)
    lines = [f"    {name} = {code}u, /**< {words} */" for name, code, words in statuses()]
    enum = "/** The statuses; each has the text that stands beside it. */\nenum ZatStatusCode {\n"
    text = text[:begin] + enum + "\n".join(lines) + "\n};\n" + text[end:]
    return re.sub(r"#define ZAT_STATUS_CASE(?:.*\\\n)*.*\n|#undef ZAT_STATUS_CASE\n", "", text)


_CHANNELS = {"Prn": "print channel", "Trc": "trace channel", "Log": "log channel",
             "MonPrn": "monitor of the print channel", "MonTrc": "monitor of the trace channel",
             "MonLog": "monitor of the log channel"}
_OPERATIONS = {
    "Set": "Lets a level of a component pass the {}: ZAT_OK, or ZAT_GEN_BAD_MASK_BIT.",
    "Clr": "Holds a level of a component back from the {}: ZAT_OK, or ZAT_GEN_BAD_MASK_BIT.",
    "Zero": "Holds all levels of a component back from the {}. ZAT_OK always.",
    "All": "Lets all levels of a component pass the {}. ZAT_OK always.",
    "Clean": "Holds all levels of every component but SYSTEM back from the {}.",
    "Full": "Lets all levels of every component but SYSTEM pass the {}.",
    "ClearAll": "Holds a level of every component but SYSTEM back from the {}: ZAT_OK, or "
                "ZAT_GEN_BAD_MASK_BIT.",
    "SetAll": "Lets a level of every component but SYSTEM pass the {}: ZAT_OK, or "
              "ZAT_GEN_BAD_MASK_BIT.",
}


def _mask_calls(text):
    begin = text.index("#define ZAT_GEN_DECLARE_CALL(")
    last = "#undef ZAT_GEN_DECLARE_CALL\n"
    end = text.index(last) + len(last)
    plain = _continued(text)
    channels = re.findall(r"X\((\w+), \w+mask\)", plain)
    operations = re.findall(r"X\(channel, mask, (\w+), (\w+), (\([^)]*\)), \([^)]*\)\)", plain)
    calls = [f"/** {_OPERATIONS[operation].format(_CHANNELS[channel])} */\n"
             f"ZATOSW_API {result} zatGEN{channel}{operation}{parameters};\n"
             for channel in channels for operation, result, parameters in operations]
    if len(calls) != 48:
        raise SystemExit("gen/trace/mask.h: the lists of calls are not understood")
    return text[:begin] + "".join(calls) + text[end:]


def spelled_out(header):
    """The text of a header without lists that macros make."""
    text = (SOURCES / header).read_text()
    if header == "osw/status.h":
        text = _status_enum(text)
    if header == "gen/trace/mask.h":
        text = _mask_calls(text)
    return text


@dataclass
class Comment:
    """What a comment says: its text as it stands, arguments and results as (word, text)."""
    text: list = field(default_factory=list)
    behind: list = field(default_factory=list)
    params: list = field(default_factory=list)
    returns: list = field(default_factory=list)


@dataclass
class Item:
    """Something that a header declares, and its comment."""
    kind: str  # call, record, type, macro, enum, variable
    names: list
    code: str
    comment: Comment


@dataclass
class Header:
    path: str
    comment: Comment
    items: list


STATUS_WORD = r"(?:0|-?1|ZAT_\w+(?:, ZAT_\w+)*)"


def read_comment(raw):
    lines = [re.sub(r"^\s*\* ?", "", line).rstrip() for line in raw.split("\n")]
    comment = Comment()
    entry = None
    for line in lines:
        if line.startswith("@file"):
            continue
        if match := re.match(r"@param (a, b|\S+)\s+(.*)", line):
            entry = [match[1], match[2]]
            comment.params.append(entry)
        elif match := re.match(rf"@return ({STATUS_WORD})(?:\s+(.*))?$", line):
            entry = [match[1], match[2] or ""]
            comment.returns.append(entry)
        elif match := re.match(r"@return (.*)", line):
            entry = ["", match[1]]
            comment.returns.append(entry)
        elif line == "":
            entry = None
            (comment.behind if comment.params or comment.returns else comment.text).append("")
        elif entry is not None:
            entry[1] = f"{entry[1]} {line.strip()}".strip()
        else:
            (comment.behind if comment.params or comment.returns else comment.text).append(line)
    for part in (comment.text, comment.behind):
        while part and part[0] == "":
            part.pop(0)
        while part and part[-1] == "":
            part.pop()
    return comment


def _declaration_end(text, start):
    """Where the declaration at start ends: behind its semicolon, or an inline body."""
    depth = 0
    position = start
    while position < len(text):
        if text.startswith("/*", position):
            position = text.index("*/", position) + 2
            continue
        if text[position] == "{":
            depth += 1
        elif text[position] == "}":
            depth -= 1
            if depth == 0 and text.startswith("static inline", start):
                return position + 1
        elif text[position] == ";" and depth == 0:
            return position + 1
        position += 1
    raise SystemExit("a declaration has no end")


def _macros_end(text, position):
    """Where a run of macros ends that no empty line interrupts."""
    while text.startswith("#define", position):
        line = "\\"
        while line.endswith("\\") or line.rfind("/*") > line.rfind("*/"):
            end = text.index("\n", position) + 1
            line = (line if "/*" in line else "") + text[position:end - 1]
            position = end
    return position


def _kind(code):
    if code.startswith("#define"):
        return "macro", re.findall(r"#define (\w+)", code)
    if match := re.match(r"typedef struct \w+ (\w+);", code):
        return "declared", [match[1]]
    if match := re.match(r"(?:typedef )?(struct|enum) (\w+) \{", code):
        return ("record" if match[1] == "struct" else "enum"), [match[2]]
    if code.startswith("typedef"):
        match = re.search(r"\(\*(\w+)\)", code) or re.search(r"(\w+);", code)
        return "type", [match[1]]
    if code.startswith("extern"):
        return "variable", [re.search(r"(\w+)(?:\[\w+\])?;", code)[1]]
    return "call", [re.search(r"(\w+)\(", code)[1]]


def read(header):
    """Reads a header."""
    text = spelled_out(header)
    text = re.sub(r"ZATOSW_STATIC_ASSERT\((?:[^;]|\n)*?\);\n", "", text)
    file_comment = re.match(r"/\*\*(.*?)\*/", text, re.S)
    items = []
    position = file_comment.end()
    pattern = re.compile(
        r"^/\*\*(?!<)(?P<comment>.*?)\*/\s*\n|^(?P<bare>ZATOSW_API|typedef|extern|struct \w+ \{|"
        r"static inline|#define \w+ )", re.S | re.M)
    while match := pattern.search(text, position):
        comment = Comment()
        start = match.start()
        if match["comment"] is not None:
            comment = read_comment(match["comment"])
            start = match.end()
        if text.startswith("#", start):
            end = _macros_end(text, start)
        else:
            end = _declaration_end(text, start)
        trailing = re.match(r"[ \t]*/\*\*<.*?\*/", text[end:], re.S)
        code = text[start:end + (trailing.end() if trailing else 0)].strip()
        kind, names = _kind(code)
        if code and kind != "declared" and not (kind == "macro" and "ZATOSW_" in code):
            items.append(Item(kind, names, code, comment))
        position = max(end, match.start() + 1)
    return Header(header, read_comment(file_comment[1]), items)
