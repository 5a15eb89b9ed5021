/* OSW_TASK_STACK_ENV; see stack_limits_private.h. */

#include "osw/stack_limits_private.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "clb/text.h"

static constexpr OswStackLimits defaults = {16384, 131072, 65536};
static constexpr uint32_t smallestMinimum = 16384;
static constexpr uint32_t pieceSize = 48;

OswStackLimits oswStackLimits = defaults;

static void readPiece(uint32_t& value, const char* piece, size_t length) {
    char text[pieceSize];
    if (length >= sizeof text) return;
    memcpy(text, piece, length);
    text[length] = '\0';
    unsigned long number = 0;
    if (sscanf(zatCLBStripStr(text), "%lu", &number) == 1) value = static_cast<uint32_t>(number);
}

void oswReadStackLimits() {
    oswStackLimits = defaults;
    const char* piece = getenv("OSW_TASK_STACK_ENV");
    uint32_t* const values[] = {&oswStackLimits.minimum, &oswStackLimits.maximum,
                                &oswStackLimits.extra};
    for (uint32_t* value : values) {
        if (piece == nullptr) break;
        const size_t length = strcspn(piece, ",");
        readPiece(*value, piece, length);
        piece = piece[length] == ',' ? piece + length + 1 : nullptr;
    }
    oswStackLimits.minimum = std::max(oswStackLimits.minimum, smallestMinimum);
    oswStackLimits.maximum = std::max(oswStackLimits.maximum, oswStackLimits.minimum);
}
