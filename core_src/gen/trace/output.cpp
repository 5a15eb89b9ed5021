/*
 * Trace output: from type, level and masks to the sinks that a message goes to, and on to these.
 *
 * Most messages go nowhere, so finding that out comes first and costs little: the masks of SYSTEM
 * are a pointer away, and the component is looked up only for a message that they let through.
 */

#include "gen/trace/output.h"

#include <stdio.h>

#include "gen/trace/component_private.h"
#include "gen/trace/hook_private.h"
#include "gen/trace/output_private.h"
#include "gen/trace/prefix_private.h"
#include "gen/trace/trace_logs_private.h"
#include "osw/errno_private.h"
#include "osw/task.h"

static constexpr uint32_t textSize = 1280;
static constexpr uint32_t lastForwardedLevel = 14;

/* Where a message goes, in the order in which it gets there. */
enum Sink : uint32_t {
    StandardError = 1,
    DirectLog = 2,
    PrintHook = 4,
    UserFunctions = 8,
    StandardLog = 16,
    OwnLog = 32,
    ErrorLog = 64,
    PerformanceLog = 128,
};

/* What is done about a message that the masks need not let through. */
enum Step : uint32_t {
    Forward = 1,
    ReportErrors = 2,
    Performance = 4,
    Direct = 8,
};

struct Channel {
    uint16_t zatGENTrcComp::*mask;
    uint16_t zatGENTrcComp::*monitor;
    uint8_t sinks;        /* by the mask */
    uint8_t monitorSinks; /* by the monitor's mask */
    uint8_t steps;
};

static constexpr uint32_t lowTypes = 8;
static constexpr uint32_t definedType = ZAT_GEN_MONITOR | (lowTypes - 1);

/* By type: the plain ones, then the monitored ones. */
#define MASKS(mask) &zatGENTrcComp::mask, &zatGENTrcComp::mon##mask
#define NOWHERE \
    { MASKS(prnmask), 0, 0, 0 }
static constexpr Channel channels[2 * lowTypes] = {
    NOWHERE,
    /* Plain prints of level 0 are no errors; monitored ones are. */
    {MASKS(prnmask), StandardError, 0, Forward | Performance},
    {MASKS(trcmask), StandardError, 0, Forward | ReportErrors | Performance},
    {MASKS(logmask), StandardLog | OwnLog, 0, 0},
    NOWHERE,
    NOWHERE,
    NOWHERE,
    {MASKS(logmask), 0, 0, Direct},
    NOWHERE,
    {MASKS(prnmask), StandardError, PrintHook, Forward | ReportErrors | Performance},
    {MASKS(trcmask), StandardError, PrintHook, Forward | ReportErrors | Performance},
    {MASKS(logmask), StandardLog | OwnLog, UserFunctions, 0},
    NOWHERE,
    NOWHERE,
    NOWHERE,
    {MASKS(logmask), 0, 0, Direct},
};
#undef NOWHERE
#undef MASKS

/* For what happens to every message, and is all that happens to most: no call is made for it. */
#define GEN_INLINE __attribute__((always_inline)) static inline

/* Of a type without ZAT_GEN_FATAL. */
GEN_INLINE const Channel& channelOf(uint32_t type) {
    if ((type & ~definedType) != 0) return channels[0];
    return channels[(type & ZAT_GEN_MONITOR) / (ZAT_GEN_MONITOR / lowTypes) + type % lowTypes];
}

GEN_INLINE bool isShut(const zatGENTrcComp& record, const Channel& channel, uint32_t bit) {
    return ((record.*channel.mask | record.*channel.monitor) & bit) == 0;
}

/* The sinks that the masks of a record let a level through to. */
static uint32_t gate(const zatGENTrcComp& record, const Channel& channel, uint32_t bit) {
    return ((record.*channel.mask & bit) != 0 ? channel.sinks : 0u) |
           ((record.*channel.monitor & bit) != 0 ? channel.monitorSinks : 0u);
}

GEN_INLINE uint32_t gates(const Channel& channel, uint32_t component, uint32_t bit) {
    const zatGENTrcComp& system = *genRegistry.system;
    if (isShut(system, channel, bit)) return 0;
    const zatGENTrcComp& own = genComponent(component);
    if (isShut(own, channel, bit)) return 0;
    return gate(system, channel, bit) & gate(own, channel, bit);
}

/* Of the logs that a message is offered to, those whose own masks take it. */
__attribute__((noinline)) static uint32_t takenBy(uint32_t sinks, uint32_t component,
                                                  uint32_t bareLevel) {
    if ((sinks & StandardLog) != 0 && !genLogTakes(GEN_STANDARD_LOG, bareLevel))
        sinks &= ~StandardLog;
    if ((sinks & (OwnLog | DirectLog)) != 0 && !genLogTakes(component, bareLevel))
        sinks &= ~(OwnLog | DirectLog);
    if ((sinks & PerformanceLog) != 0 && !genLogTakes(GEN_PERFORMANCE_LOG, bareLevel))
        sinks &= ~PerformanceLog;
    return sinks;
}

/* The logs that a message is offered to whatever the masks. */
GEN_INLINE uint32_t stepSinks(const Channel& channel, uint32_t level) {
    const uint32_t bareLevel = level & genHighestLevel;
    uint32_t sinks = 0;
    if ((channel.steps & Forward) != 0 && zatGENFwdToRgn != 0 && bareLevel <= lastForwardedLevel)
        sinks |= StandardLog | OwnLog;
    if ((channel.steps & ReportErrors) != 0 && bareLevel == 0) sinks |= ErrorLog;
    if ((channel.steps & Performance) != 0 && (level & ZAT_GEN_PERFORMANCE) != 0)
        sinks |= PerformanceLog;
    if ((channel.steps & Direct) != 0) sinks |= DirectLog;
    return sinks;
}

GEN_INLINE uint32_t selectSinks(uint32_t component, uint32_t type, uint32_t level) {
    const Channel& channel = channelOf(type & ~ZAT_GEN_FATAL);
    const uint32_t bareLevel = level & genHighestLevel;
    const uint32_t sinks = gates(channel, component, 1u << bareLevel) | stepSinks(channel, level);
    return sinks == 0 ? 0 : takenBy(sinks, component, bareLevel);
}

struct Message {
    uint32_t component;
    uint32_t type; /* its low byte */
    uint32_t level;
    const char* text;
};

static void writeLog(uint32_t log, const Message& message) {
    char prefix[genPrefixSize];
    genLogPrefix(prefix, message.component, message.level);
    genWriteLog(log, prefix, message.text);
}

static void printToHook(const Message& message) {
    if (const ZatGenPrintFunc hook = genPrintHook; hook != nullptr)
        hook(message.component, message.type, message.level, message.text);
}

static void emit(uint32_t sinks, const Message& message) {
    if ((sinks & StandardError) != 0)
        zatGENTrcPrintMessage(message.component, message.type, message.level, message.text);
    if ((sinks & DirectLog) != 0)
        zatGENTrcRgnLogMessage(message.component, message.type, message.level, message.text);
    if ((sinks & PrintHook) != 0) printToHook(message);
    if ((sinks & UserFunctions) != 0)
        genCallUsers<ZatGenPrintFunc>(GenUserKind::LogPrint, message.component, message.type,
                                      message.level, message.text);
    if ((sinks & StandardLog) != 0) writeLog(GEN_STANDARD_LOG, message);
    if ((sinks & OwnLog) != 0) writeLog(message.component, message);
    if ((sinks & ErrorLog) != 0) writeLog(GEN_ERROR_LOG, message);
    if ((sinks & PerformanceLog) != 0) writeLog(GEN_PERFORMANCE_LOG, message);
}

/* Formats what fits, and returns its length. */
__attribute__((format(printf, 2, 0))) static uint32_t formatText(char (&text)[textSize],
                                                                 const char* format,
                                                                 va_list arguments) {
    const int length = vsnprintf(text, sizeof text, format, arguments);
    if (length < 0) text[0] = '\0';
    return length < 0                                 ? 0
           : static_cast<uint32_t>(length) < textSize ? static_cast<uint32_t>(length)
                                                      : textSize - 1;
}

/* A full text loses its last character to the newline. */
static void endLine(char (&text)[textSize], uint32_t length) {
    if (length > 0 && text[length - 1] == '\n') return;
    if (length == textSize - 1) --length;
    text[length] = '\n';
    text[length + 1] = '\0';
}

__attribute__((format(printf, 5, 0), noinline)) static void say(uint32_t sinks, uint32_t component,
                                                                uint32_t type, uint32_t level,
                                                                const char* format,
                                                                va_list arguments) {
    const OswKeepErrno keepErrno;
    char text[textSize];
    endLine(text, formatText(text, format, arguments));
    emit(sinks, {component, type & 0xFF, level, text});
    if ((type & ZAT_GEN_FATAL) != 0) zatOSWExitTask(0xFFFFFFFF);
}

void genTrcVPrintf(uint32_t component, uint32_t type, uint32_t level, const char* format,
                   va_list arguments) {
    const uint32_t sinks = selectSinks(component, type, level);
    if (sinks == 0 && (type & ZAT_GEN_FATAL) == 0) return;
    say(sinks, component, type, level, format, arguments);
}

void zatGENTrcPrintf(uint32_t component, uint32_t type, uint32_t level, const char* format, ...) {
    const uint32_t sinks = selectSinks(component, type, level);
    if (sinks == 0 && (type & ZAT_GEN_FATAL) == 0) return;
    va_list arguments;
    va_start(arguments, format);
    say(sinks, component, type, level, format, arguments);
    va_end(arguments);
}

int32_t zatGENTrcStdPrintf(uint32_t component, uint32_t type, uint32_t level, const char* format,
                           ...) {
    const OswKeepErrno keepErrno;
    char text[textSize];
    va_list arguments;
    va_start(arguments, format);
    formatText(text, format, arguments);
    va_end(arguments);
    return zatGENTrcPrintMessage(component, type, level, text);
}

int32_t zatGENTrcPrintMessage(uint32_t component, uint32_t type, uint32_t level, const char* text) {
    const OswKeepErrno keepErrno;
    char prefix[genPrefixSize];
    genStandardPrefix(prefix, component, type, level);
    /* In one call: lines of different tasks do not mix. */
    return fprintf(stderr, "%s:%s", prefix, text);
}

void zatGENTrcRgnLogMessage(uint32_t component, uint32_t, uint32_t, const char* text) {
    const OswKeepErrno keepErrno;
    genWriteLog(component, text);
}

void genTrcHookPrintf(uint32_t component, uint32_t type, uint32_t level, const char* format, ...) {
    if (genPrintHook == nullptr) return;
    const OswKeepErrno keepErrno;
    char text[textSize];
    va_list arguments;
    va_start(arguments, format);
    formatText(text, format, arguments);
    va_end(arguments);
    printToHook({component, type & 0xFF, level, text});
}

/* The words that were not given are whatever lies behind those that were: the hook knows. */
__attribute__((no_sanitize("address", "undefined"))) void zatGENTrcNotifyMessage(uint32_t a,
                                                                                 uint32_t, uint32_t,
                                                                                 uint32_t d, ...) {
    static constexpr uint32_t type = 3;
    static constexpr uint32_t further = 4;
    const ZatGenNotifyFunc hook = zatGENCtlNotifyFunc;
    if (hook == nullptr) return;
    const OswKeepErrno keepErrno;
    uint32_t words[further];
    va_list arguments;
    va_start(arguments, d);
    for (uint32_t& word : words)
        word = va_arg(arguments, uint32_t);
    va_end(arguments);
    hook(a, type, 0, d, words[0], words[1], words[2], words[3]);
}

void zatGENTransferData(uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4, uint32_t a5,
                        uint32_t a6, uint32_t a7) {
    const OswKeepErrno keepErrno;
    if (const ZatGenDumpLogFunc hook = genDumpLogHook; hook != nullptr)
        hook(a1, a2, a3, a4, a5, a6, a7);
}
