/* Lines of dumps; see dump_line_private.h. */

#include "gen/dump_line_private.h"

#include <string.h>

void genFormatDumpLine(GenDumpLine& line, const uint8_t* data, uint32_t count, GenDumpGroup group) {
    static constexpr char digits[] = "0123456789ABCDEF";
    const auto groupBytes = static_cast<uint32_t>(group);
    const uint32_t width = 2 * genDumpLineBytes + genDumpLineBytes / groupBytes - 1;
    memset(line.hex, ' ', width);
    line.hex[width] = '\0';
    for (uint32_t i = 0; i < count; ++i) {
        char* at = line.hex + 2 * i + i / groupBytes;
        at[0] = digits[data[i] >> 4];
        at[1] = digits[data[i] & 0xF];
        line.characters[i] = data[i] >= 32 && data[i] <= 126 ? static_cast<char>(data[i]) : '.';
    }
    line.characters[count] = '\0';
}
