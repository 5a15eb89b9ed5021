/* A line of a hexadecimal dump: 16 bytes as digits, and as the characters that they are. */
#ifndef ZATOSW_GEN_DUMP_LINE_PRIVATE_H
#define ZATOSW_GEN_DUMP_LINE_PRIVATE_H

#include <stdint.h>

constexpr uint32_t genDumpLineBytes = 16;

/* Bytes without a blank between them. */
enum class GenDumpGroup : uint32_t { OfOne = 1, OfTwo = 2 };

struct GenDumpLine {
    char hex[3 * genDumpLineBytes];        /* filled up with blanks */
    char characters[genDumpLineBytes + 1]; /* with a point for what cannot be printed */
};

/* Puts the line together of up to 16 bytes. */
void genFormatDumpLine(GenDumpLine& line, const uint8_t* data, uint32_t count, GenDumpGroup group);

/* Calls emit(line, its first byte) for each line of a dump, until that is false. */
template <class Emit>
void genForDumpLines(const uint8_t* data, uint32_t size, GenDumpGroup group, Emit emit) {
    for (uint32_t at = 0; at < size;) {
        const uint32_t count = size - at < genDumpLineBytes ? size - at : genDumpLineBytes;
        GenDumpLine line;
        genFormatDumpLine(line, data + at, count, group);
        if (!emit(line, data + at)) return;
        at += count;
    }
}

#endif
