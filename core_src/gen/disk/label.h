/**
 * @file
 * The removable disk's volume label, by the command "mlabel" of mtools.
 *
 * Both calls look for the disk first, and for its drive letter. As for tasks, see drive.h.
 */
#ifndef ZATOSW_GEN_DISK_LABEL_H
#define ZATOSW_GEN_DISK_LABEL_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_DISK_LABEL_SIZE 11u                               /**< characters of a label */
#define ZAT_DISK_LABEL_BUFFER_SIZE (ZAT_DISK_LABEL_SIZE + 1u) /**< bytes that receive one */

/**
 * Reads the label's first word.
 *
 * @param device  device of the disk
 * @param label   receives the word, cut to ZAT_DISK_LABEL_SIZE characters, and zeros up to
 *                ZAT_DISK_LABEL_BUFFER_SIZE bytes; empty on failure
 *
 * @return ZAT_OK                       read
 * @return ZAT_DISK_NO_LABEL            the volume has none
 * @return ZAT_DISK_LABEL_QUERY_FAILED  the command cannot be run, or its answer is not understood:
 *                                      a message on standard output tells of one that is no label
 *                                      at all (471)
 * @return ZAT_DISK_BAD_ARGUMENT        an argument is null: label is untouched then
 * @return a status of zatGENFindDisk() or zatGENGetDiskDrvLetter()
 */
ZATOSW_API ZatStatus zatGENGetDiskLabel(const char* device, char* label);

/**
 * Sets the label.
 *
 * Its characters reach the command as they are; those that mean something to the shell are quoted,
 * by a backslash each, or the whole by double quotes. The command line has room for 17 characters,
 * the label's and those of quoting; a label that needs more in both ways is refused.
 *
 * @param device  device of the disk
 * @param label   the new label, up to ZAT_DISK_LABEL_SIZE characters; an empty one takes the label
 *                away, and so does mlabel with characters that it does not accept
 *
 * @return ZAT_OK                   set
 * @return ZAT_DISK_LABEL_TOO_LONG  more characters than that: no command was run
 * @return ZAT_DISK_LABEL_FAILED    the command failed, or label cannot be quoted in that room: no
 *                                  command was run then
 * @return ZAT_DISK_BAD_ARGUMENT    an argument is null
 * @return a status of zatGENFindDisk() or zatGENGetDiskDrvLetter()
 */
ZATOSW_API ZatStatus zatGENSetDiskLabel(const char* device, const char* label);

ZATOSW_END_DECLS

#endif
