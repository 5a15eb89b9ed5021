/* Prefixes and their formats; see prefix_private.h. */

#include "gen/trace/prefix_private.h"

#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>

#include "gen/trace/component_private.h"
#include "gen/trace/output.h"

static uint32_t printFormat;
static uint32_t traceFormat;
static uint32_t logFormat;

/* Text put together in a buffer, and cut where it does not fit. */
struct PrefixText {
    char* text;
    uint32_t size;
    uint32_t length;
};

__attribute__((format(printf, 2, 3))) static void add(PrefixText& prefix, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const uint32_t room = prefix.size - prefix.length;
    const int length = vsnprintf(prefix.text + prefix.length, room, format, arguments);
    va_end(arguments);
    if (length > 0) prefix.length += std::min(static_cast<uint32_t>(length), room - 1);
}

static void decorate(PrefixText& prefix, uint32_t component, uint32_t level, uint32_t format) {
    if ((format & ZAT_GEN_FORMAT_COMPONENT) != 0) add(prefix, "(%d)", static_cast<int>(component));
    if ((format & ZAT_GEN_FORMAT_LEVEL) != 0) add(prefix, "-%d", static_cast<int>(level));
    if ((format & (ZAT_GEN_FORMAT_KERNEL_ID | ZAT_GEN_FORMAT_THREAD)) == 0) return;
    add(prefix, ":(");
    if ((format & ZAT_GEN_FORMAT_KERNEL_ID) != 0) add(prefix, "%d", static_cast<int>(gettid()));
    if ((format & ZAT_GEN_FORMAT_THREAD) != 0) add(prefix, ":%lu", pthread_self());
    add(prefix, ")");
}

static uint32_t standardFormat(uint32_t type) {
    switch (type & 0xFF) {
    case ZAT_GEN_PRINT:
        return printFormat;
    case ZAT_GEN_TRACE:
        return traceFormat;
    default:
        return 0;
    }
}

void genStandardPrefix(char (&prefix)[genPrefixSize], uint32_t component, uint32_t type,
                       uint32_t level) {
    PrefixText text = {prefix, genPrefixSize, 0};
    add(text, "%s", genComponent(component).name);
    /* The highest one is that of the console and of listings, which are never decorated. */
    if ((level & genHighestLevel) != genHighestLevel)
        decorate(text, component, level & genHighestLevel, standardFormat(type));
}

/* However long the name is, there is room for the colon. */
void genLogPrefix(char (&prefix)[genPrefixSize], uint32_t component, uint32_t level) {
    PrefixText text = {prefix, genPrefixSize - 1, 0};
    add(text, "%s", genComponent(component).name);
    decorate(text, component, level & genHighestLevel, logFormat);
    text.size = genPrefixSize;
    add(text, ":");
}

ZatStatus zatGENTrcSetPrnFormat(uint32_t format) {
    printFormat = format;
    return ZAT_OK;
}

uint32_t zatGENTrcGetPrnFormat(void) {
    return printFormat;
}

ZatStatus zatGENTrcSetTrcFormat(uint32_t format) {
    traceFormat = format;
    return ZAT_OK;
}

uint32_t zatGENTrcGetTrcFormat(void) {
    return traceFormat;
}

ZatStatus zatGENTrcSetLogFormat(uint32_t format) {
    logFormat = format;
    return ZAT_OK;
}

uint32_t zatGENTrcGetLogFormat(void) {
    return logFormat;
}
