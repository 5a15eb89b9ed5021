// Standard output, which may be a terminal, or full.
#ifndef ZATLOG_OUTPUT_H
#define ZATLOG_OUTPUT_H

#include <string_view>

// Writes a text as it is, but to a terminal with '?' for what could drive it; false when the output
// has failed.
bool writeText(std::string_view text);

// Brings out what was written. Returns 0 or the error number of the first failure.
int flushOutput();

#endif
