/* Long listings pause and ask whether to go on. */
#ifndef ZATOSW_GEN_PAGING_PRIVATE_H
#define ZATOSW_GEN_PAGING_PRIVATE_H

#include <stdint.h>

constexpr char genPagePrompt[] = "Enter to continue, or <Q> to quit.\n";

/* Rows of a table between two headers. */
constexpr uint32_t genPageRows = 15;

/* Reads the answer through the input hook: whether to go on, which no answer means as well. Call it
 * without holding a lock: the answer may take for ever. */
bool genReadPageAnswer();

/* Asks on a channel of zatGENTrcPrintf(), type 0x102, and reads the answer. */
bool genAskForPage(uint32_t component, uint32_t level);

#endif
