/**
 * @file
 * The attribute bytes of the removable disk's card, which the kernel publishes as hexadecimal text
 * in "/proc/ide/cf_attr".
 *
 * Some failures are also told on standard output, by the number that stands with them here. As for
 * tasks, see drive.h.
 */
#ifndef ZATOSW_GEN_DISK_CARD_ATTRIBUTE_H
#define ZATOSW_GEN_DISK_CARD_ATTRIBUTE_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

/**
 * Tells how many attribute bytes the card has.
 *
 * @param selector   not 0; means nothing else
 * @param sizeBytes  receives the number; untouched on failure
 *
 * @return ZAT_OK                 told
 * @return ZAT_DISK_NO_PROC_FILE  "/proc/ide/cf_attr" cannot be opened
 * @return ZAT_DISK_BAD_ARGUMENT  selector is 0 or sizeBytes null (message 1475), or the file's
 * first line does not tell
 */
ZATOSW_API ZatStatus zatGENGetDiskAttribLen(uint32_t selector, uint32_t* sizeBytes);

/**
 * Reads attribute bytes of the card from the first one on.
 *
 * @param selector  not 0; means nothing else
 * @param bytes     receives them; count bytes. Where the card publishes fewer, the rest is
 *                  untouched.
 * @param count     how many are wanted; text for so many is allocated meanwhile
 *
 * @return ZAT_OK                    read, as many as there are
 * @return ZAT_DISK_NO_LENGTH        count is 0, or the card has no attribute bytes (message 1557)
 * @return ZAT_DISK_NO_PROC_FILE     "/proc/ide/cf_attr" cannot be opened
 * @return ZAT_DISK_ATTR_ODD_DIGITS  the text ends in the middle of a byte (message 1702): bytes is
 *                                   untouched
 * @return ZAT_DISK_ATTR_NOT_HEX     the text holds something else than hexadecimal digits (message
 *                                   1649): the bytes before it are in bytes
 * @return ZAT_DISK_BAD_ARGUMENT     selector is 0 or bytes null (message 1549); the file cannot be
 *                                   read or has no attribute text; count is above 1073741823
 */
ZATOSW_API ZatStatus zatGENGetDiskAttribute(uint32_t selector, uint8_t* bytes, uint32_t count);

ZATOSW_END_DECLS

#endif
