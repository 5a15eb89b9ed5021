/**
 * @file
 * What the trace says, and answers to what it asks.
 */
#ifndef ZATOSW_TESTS_GEN_CAPTURED_H
#define ZATOSW_TESTS_GEN_CAPTURED_H

#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "gen/rgnlog/records.h"

constexpr uint32_t component = 0x2002;
inline const std::string prompt = "Enter to continue, or <Q> to quit.\n";
inline std::deque<std::string> answers; /**< of the input hook; then it gives none */
inline Lines hookLines;
inline uint32_t hookChannel; /**< of the last line: component, type and level, a byte each */

/** What the print hook gets during a call. */
template <class Call>
Lines printedBy(Call call) {
    hookLines.clear();
    call();
    return hookLines;
}

/** Has what is traced let through to the hook. */
inline void listen() {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    for (const uint32_t id : {ZAT_GEN_SYSTEM, 0x2000u, component})
        zatGENMonTrcAll(id);
    zatGENSetPrintFunc([](uint32_t id, uint32_t type, uint32_t level, const char* text) {
        hookLines.emplace_back(text);
        hookChannel = (id & 0xFF) << 16 | type << 8 | level;
    });
    zatGENSetTypeFunc([](char* buffer, int size, FILE* stream) -> char* {
        if (answers.empty() || size != 16 || stream != stdin) return nullptr;
        strcpy(buffer, answers.front().c_str());
        answers.pop_front();
        return buffer;
    });
}

/** Makes and starts a region that takes all levels but 1. */
inline void makeLog(int32_t id, int32_t size = 8000, int32_t maxEntry = 0, uint32_t fmt = 0) {
    ASSERT_EQ(zatGENCreateRgnLog(id, "a log", 0xFFFD, size, maxEntry, 1, 0, fmt), ZAT_OK);
    ASSERT_EQ(zatGENStartRgnLog(id), ZAT_OK);
}

#endif
