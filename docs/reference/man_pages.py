#!/usr/bin/env python3
"""Writes the manual pages of the calls out of the public headers: man_pages.py VERSION DIRECTORY.

One page for a family of calls, and for each call a file of its name that leads to the page. The
overview comes last: where it is, all of them are.
"""

import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True
import headers

# Every public header is on one page, but for those that declare nothing to call.
PAGES = {
    "zatosw_status": ("statuses, and the words that all calls share",
                      ["osw/types.h", "osw/status.h"]),
    "zatosw_init": ("bringing the library up and down", ["osw/init.h"]),
    "zatosw_task": ("tasks: creation, joining, deletion, priorities, names, variables",
                    ["osw/task.h", "osw/task_priority.h", "osw/task_registry.h",
                     "osw/task_var.h"]),
    "zatosw_pool": ("task pools: jobs on tasks that are used again", ["osw/task_pool.h"]),
    "zatosw_sem": ("mutex, event and counting semaphores, and the fixed locks",
                   ["osw/mutex_sem.h", "osw/event_sem.h", "osw/count_sem.h",
                    "osw/fixed_lock.h"]),
    "zatosw_queue": ("message queues of one process", ["osw/msg_queue.h"]),
    "zatosw_timer": ("timers, clocks and sleeping", ["osw/timer.h", "osw/clock.h"]),
    "zatosw_memory": ("memory partitions, and what tasks use of memory and stacks",
                      ["osw/mem_part.h", "osw/mem_info.h"]),
    "zatosw_system": ("libraries, child processes and sockets",
                      ["osw/library.h", "osw/process.h", "osw/network.h"]),
    "zatosw_ipc": ("objects that processes share by name",
                   ["osw/ipc/ipc_init.h", "osw/ipc/mutex_sem.h", "osw/ipc/event_sem.h",
                    "osw/ipc/count_sem.h", "osw/ipc/se_lock.h", "osw/ipc/msg_queue.h",
                    "osw/ipc/timer.h", "osw/ipc/mem_part.h", "osw/ipc/ipc_status.h",
                    "osw/ipc/key.h"]),
    "zatosw_trace": ("the trace: messages by component and level, dumps, maintenance records",
                     ["gen/trace/output.h", "gen/trace/component.h", "gen/trace/mask.h",
                      "gen/trace/hook.h", "gen/trace/settings.h", "gen/trace/trace_log.h",
                      "gen/trace/dump.h", "gen/trace/maintenance_log.h", "gen/trace/listing.h"]),
    "zatosw_region_log": ("logs in memory",
                          ["gen/rgnlog/region_log.h", "gen/rgnlog/region_print.h"]),
    "zatosw_console": ("the console of a process", ["gen/console/console.h",
                                                    "gen/console/file_data.h"]),
    "zatosw_disk": ("the removable disk",
                    ["gen/disk/drive.h", "gen/disk/mount.h", "gen/disk/label.h",
                     "gen/disk/file_attribute.h", "gen/disk/card_attribute.h",
                     "gen/disk/cache.h"]),
    "zatosw_common": ("lists, hash tables, text and local time",
                      ["clb/list.h", "clb/slist.h", "clb/hash.h", "clb/text.h",
                       "clb/local_time.h"]),
    "zatosw_compat": ("calls in the style of a classic real-time kernel",
                      ["osw/compat/compat.h"]),
}
WITHOUT_PAGE = {"zatosw.h", "zatosw_export.h", "clb/clb.h", "gen/gen.h", "osw/osw.h",
                "osw/ipc/ipc.h"}

OVERVIEW = """\
An operating-system layer for the application processes of an embedded controller: tasks,
semaphores, message queues, timers and checked memory partitions, the same objects shared by name
between processes, a trace, logs in memory, and a console for the field.

There is nothing to start: the first call that makes something brings the library up. A handle is a
32-bit word that belongs to the process that made the object. Most calls answer with a status; 0 is
success, 0xFFFFFFFF the general failure, and 110 every time-out. zatStatusText() gives the text of
one. Time-outs are in milliseconds: 0 does not wait, ZAT_FOREVER waits without limit.

Many calls of this library have pages of their own name, which lead to the one of their family.
"""


def escape(text):
    text = text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq").replace("`", "\\`")
    text = text.replace("^", "\\(ha").replace("~", "\\(ti")
    # Names of calls are not hyphenated.
    text = re.sub(r"\b(zat[A-Z]\w+)", r"\\%\1", text)
    return re.sub(r"^\.", r"\\&.", text)


def escape_lines(lines):
    return "\n".join(escape(line) for line in lines)


def sentences(text):
    """Text with each sentence on a line of its own, as manual pages are written."""
    return re.sub(r"(?<=[a-z0-9()\"]{2}[.?!]) +(?=[A-Z\"])", "\n", " ".join(text.split()))


def flow(text):
    return escape_lines(sentences(text).split("\n"))


def prose(lines):
    """A comment's text: paragraphs, lists, examples and tables."""
    out, paragraph, at = [], [], 0

    def finish():
        if paragraph:
            out.append(".PP\n" + flow(" ".join(paragraph)))
            paragraph.clear()

    while at < len(lines):
        line = lines[at]
        if line == "":
            finish()
        elif line.startswith("    ") or line.startswith("|"):
            finish()
            block = []
            while at < len(lines) and (lines[at].startswith(("    ", "|")) or (
                    lines[at] == "" and at + 1 < len(lines) and lines[at + 1].startswith("    "))):
                block.append(lines[at])
                at += 1
            at -= 1
            out.append(table(block) if block[0].startswith("|") else example(block))
        elif line.startswith("- "):
            finish()
            item = [line[2:]]
            while at + 1 < len(lines) and lines[at + 1] and not lines[at + 1].startswith("- "):
                at += 1
                item.append(lines[at].strip())
            out.append(".IP \\(bu 2\n" + flow(" ".join(item)))
        else:
            paragraph.append(line.strip())
        at += 1
    finish()
    return out


def example(lines):
    return ".PP\n.nf\n.RS 4\n" + escape_lines(line[4:] for line in lines) + "\n.RE\n.fi"


def table(lines):
    out = []
    for line in lines:
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if set("".join(cells)) <= set("-"):
            continue
        first, rest = cells[0], " ".join(cells[1:])
        if first == "" and out:
            out[-1] += "\n" + escape(rest)
        else:
            out.append(f".TP\n{escape(first)}\n{escape(rest)}")
    return "\n".join(out[1:])


def entries(pairs):
    return [f".TP\n.I \"{escape(word)}\"\n{flow(text)}" for word, text in pairs]


def returns(pairs):
    out = []
    for word, text in pairs:
        if word:
            out.append(f".TP\n.B \"{escape(word)}\"\n{flow(text) if text else escape('(see above)')}")
        else:
            out.append(f".TP\n.B otherwise\n{flow(text)}")
    if len(out) == 1 and not pairs[0][0]:
        return [".PP\nReturns " + flow(pairs[0][1])]
    return [".PP\nReturns", *out]


def prototype(item):
    code = re.sub(r"ZATOSW_API ", "", item.code)
    code = re.sub(r"ZATOSW_NORETURN ", "", code)
    code = re.sub(r"\s*__attribute__\(\(.*?\)\)\)", "", code, flags=re.S)
    if code.startswith("static inline"):
        code = code[len("static inline "):code.index("{")].strip() + ";"
    begin = code.index("(") + 1
    return re.sub(r"\n\s+", "\n" + " " * min(begin, 16), code)


def described(item):
    comment = item.comment
    out = prose(comment.text)
    if comment.params:
        out += entries(comment.params)
    if comment.returns:
        out += returns(comment.returns)
    out += prose(comment.behind)
    return out


def code_block(code):
    code = code.replace("ZATOSW_API ", "").replace("/**<", "/*")
    return ".PP\n.nf\n" + escape_lines(code.split("\n")) + "\n.fi"


def body_of(header, many):
    out = []
    name = header.path
    if many:
        out.append(f".SS <zatosw/{escape(name)}>")
    out += prose(header.comment.text)
    for item in header.items:
        if name == "osw/status.h" and item.kind == "enum":
            out.append(".SS Statuses")
            out += [f".TP\n.BR {escape(code)} \" ({word})\"\n{escape(text)}"
                    for word, code, text in headers.statuses()]
        elif item.kind == "call":
            out.append(f".SS {item.names[0]}()")
            out.append(code_block(prototype(item)))
            out += described(item)
        elif item.names[0] in ("ZAT_STATUS_TABLE", "ZAT_GEN_CHANNELS", "ZAT_GEN_MASK_OPERATIONS"):
            continue
        else:
            out.append(code_block(item.code))
            out += described(item)
    return out


def head(name, version, about):
    return [f'.TH {name.upper()} 3 "" "zatosw {version}" "Library Functions"',
            f".SH NAME\n{name} \\- {escape(about)}"]


def see_also(name):
    others = [page for page in ["zatosw", *PAGES] if page != name]
    tools = [".BR zatipc (1),", ".BR zatlog (1),"]
    pages = [f".BR {page} (3)," for page in others]
    return [".SH SEE ALSO\n" + "\n".join([*tools, *pages]).rstrip(",")]


def page(name, version):
    about, paths = PAGES[name]
    read = [headers.read(path) for path in paths]
    out = head(name, version, about)
    out.append(".SH SYNOPSIS\n.nf")
    for header in read:
        out.append(f".B #include <zatosw/{header.path}>")
    out.append(".fi")
    calls = [item for header in read for item in header.items if item.kind == "call"]
    if calls:
        out.append(".PP\n.nf")
        out += [escape_lines(prototype(item).split("\n")) for item in calls]
        out.append(".fi")
    out.append(".PP\nLink with \\fI\\-lzatosw\\fP.")
    out.append(".SH DESCRIPTION")
    if len(read) > 1:
        out.append(f"{escape(about[0].upper() + about[1:])}.")
    for header in read:
        out += body_of(header, len(read) > 1)
    return out + see_also(name), [item.names[0] for item in calls]


def overview(version):
    out = head("zatosw", version, "an operating-system layer for embedded controllers")
    out.append(".SH SYNOPSIS\n.nf\n.B #include <zatosw/zatosw.h>\n.fi\n.PP\n"
               "Link with \\fI\\-lzatosw\\fP.")
    out.append(".SH DESCRIPTION")
    out += prose(OVERVIEW.split("\n"))
    out.append(".SH PAGES")
    out += [f".TP\n.BR {name} (3)\n{escape(about)}" for name, (about, _) in PAGES.items()]
    return out + see_also("zatosw")


def write(directory, name, lines):
    text = "\n".join(lines) + "\n"
    # A paragraph directly behind a heading is one anyway.
    text = re.sub(r"(\n\.S[SH] [^\n]*\n)\.PP\n", r"\1", text)
    (directory / f"{name}.3").write_text(text)


def main():
    version, directory = sys.argv[1], Path(sys.argv[2])
    directory.mkdir(parents=True, exist_ok=True)
    missing = set(headers.public()) - WITHOUT_PAGE - {
        path for _, paths in PAGES.values() for path in paths}
    if missing:
        sys.exit(f"man_pages.py: on no page: {', '.join(sorted(missing))}")
    for name in PAGES:
        lines, calls = page(name, version)
        write(directory, name, lines)
        for call in calls:
            if call.startswith("zat"):
                write(directory, call, [f".so man3/{name}.3"])
    write(directory, "zatosw", overview(version))


if __name__ == "__main__":
    main()
