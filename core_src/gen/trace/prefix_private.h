/* What stands before the text of a message: the component's name, decorated. */
#ifndef ZATOSW_GEN_TRACE_PREFIX_PRIVATE_H
#define ZATOSW_GEN_TRACE_PREFIX_PRIVATE_H

#include <stdint.h>

constexpr uint32_t genPrefixSize = 96;

/* The prefix of a line on standard error; the colon behind it is not part of it. */
void genStandardPrefix(char (&prefix)[genPrefixSize], uint32_t component, uint32_t type,
                       uint32_t level);

/* The prefix of a record in a region log, with its colon. */
void genLogPrefix(char (&prefix)[genPrefixSize], uint32_t component, uint32_t level);

#endif
