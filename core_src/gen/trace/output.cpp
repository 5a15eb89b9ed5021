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
    {MASKS(prnmask), GEN_TO_STANDARD_ERROR, 0, Forward | Performance},
    {MASKS(trcmask), GEN_TO_STANDARD_ERROR, 0, Forward | ReportErrors | Performance},
    {MASKS(logmask), GEN_TO_STANDARD_LOG | GEN_TO_OWN_LOG, 0, 0},
    NOWHERE,
    NOWHERE,
    NOWHERE,
    {MASKS(logmask), 0, 0, Direct},
    NOWHERE,
    {MASKS(prnmask), GEN_TO_STANDARD_ERROR, GEN_TO_PRINT_HOOK,
     Forward | ReportErrors | Performance},
    {MASKS(trcmask), GEN_TO_STANDARD_ERROR, GEN_TO_PRINT_HOOK,
     Forward | ReportErrors | Performance},
    {MASKS(logmask), GEN_TO_STANDARD_LOG | GEN_TO_OWN_LOG, GEN_TO_USER_FUNCTIONS, 0},
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

/* The region that is a component's own may be that of another sink, which is written once. */
static uint32_t sinkOfLog(uint32_t log) {
    switch (log) {
    case GEN_STANDARD_LOG:
        return GEN_TO_STANDARD_LOG;
    case GEN_ERROR_LOG:
        return GEN_TO_ERROR_LOG;
    case GEN_PERFORMANCE_LOG:
        return GEN_TO_PERFORMANCE_LOG;
    default:
        return 0;
    }
}

/* Of the logs that a message is offered to, those whose own masks take it. */
__attribute__((noinline)) static uint32_t takenBy(uint32_t sinks, uint32_t component,
                                                  uint32_t bareLevel) {
    if ((sinks & GEN_TO_STANDARD_LOG) != 0 && !genLogTakes(GEN_STANDARD_LOG, bareLevel))
        sinks &= ~GEN_TO_STANDARD_LOG;
    if ((sinks & (GEN_TO_OWN_LOG | GEN_TO_DIRECT_LOG)) != 0 && !genLogTakes(component, bareLevel))
        sinks &= ~(GEN_TO_OWN_LOG | GEN_TO_DIRECT_LOG);
    if ((sinks & GEN_TO_PERFORMANCE_LOG) != 0 && !genLogTakes(GEN_PERFORMANCE_LOG, bareLevel))
        sinks &= ~GEN_TO_PERFORMANCE_LOG;
    return (sinks & sinkOfLog(component)) != 0 ? sinks & ~GEN_TO_OWN_LOG : sinks;
}

GEN_INLINE bool isForwarded(uint32_t bareLevel) {
    return zatGENFwdToRgn != 0 && bareLevel <= lastForwardedLevel;
}

/* The logs that a message is offered to whatever the masks. */
GEN_INLINE uint32_t stepSinks(const Channel& channel, uint32_t level) {
    const uint32_t bareLevel = level & genHighestLevel;
    uint32_t sinks = 0;
    if ((channel.steps & Forward) != 0 && isForwarded(bareLevel))
        sinks |= GEN_TO_STANDARD_LOG | GEN_TO_OWN_LOG;
    if ((channel.steps & ReportErrors) != 0 && bareLevel == 0) sinks |= GEN_TO_ERROR_LOG;
    if ((channel.steps & Performance) != 0 && (level & ZAT_GEN_PERFORMANCE) != 0)
        sinks |= GEN_TO_PERFORMANCE_LOG;
    if ((channel.steps & Direct) != 0) sinks |= GEN_TO_DIRECT_LOG;
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
    if ((sinks & GEN_TO_STANDARD_ERROR) != 0)
        zatGENTrcPrintMessage(message.component, message.type, message.level, message.text);
    if ((sinks & GEN_TO_DIRECT_LOG) != 0)
        zatGENTrcRgnLogMessage(message.component, message.type, message.level, message.text);
    if ((sinks & GEN_TO_PRINT_HOOK) != 0) printToHook(message);
    if ((sinks & GEN_TO_USER_FUNCTIONS) != 0)
        genCallUsers<ZatGenPrintFunc>(GenUserKind::LogPrint, message.component, message.type,
                                      message.level, message.text);
    if ((sinks & GEN_TO_STANDARD_LOG) != 0) writeLog(GEN_STANDARD_LOG, message);
    if ((sinks & GEN_TO_OWN_LOG) != 0) writeLog(message.component, message);
    if ((sinks & GEN_TO_ERROR_LOG) != 0) writeLog(GEN_ERROR_LOG, message);
    if ((sinks & GEN_TO_PERFORMANCE_LOG) != 0) writeLog(GEN_PERFORMANCE_LOG, message);
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

uint32_t genTrcGates(uint32_t component, uint32_t type, uint32_t level) {
    return gates(channelOf(type & ~ZAT_GEN_FATAL), component, 1u << (level & genHighestLevel));
}

bool genTrcForwards(uint32_t level) {
    return isForwarded(level & genHighestLevel);
}

void genTrcPrintTo(uint32_t sinks, uint32_t component, uint32_t type, uint32_t level,
                   const char* format, ...) {
    const OswKeepErrno keepErrno;
    char text[textSize];
    va_list arguments;
    va_start(arguments, format);
    formatText(text, format, arguments);
    va_end(arguments);
    emit(sinks & (GEN_TO_STANDARD_ERROR | GEN_TO_PRINT_HOOK),
         {component, type & 0xFF, level, text});
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
