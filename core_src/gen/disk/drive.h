/**
 * @file
 * The removable disk: which kind it is, and the drive letter under which the mtools commands know
 * it.
 *
 * The calls of this folder keep nothing between calls and may be made from any task, several at a
 * time. They wait for the files, system calls and commands that they use; a task that is deleted
 * meanwhile goes on until the call returns, since a disk is not to be left half formatted.
 */
#ifndef ZATOSW_GEN_DISK_DRIVE_H
#define ZATOSW_GEN_DISK_DRIVE_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_DISK_UNKNOWN 0u /**< kind of a disk: none that is known */
#define ZAT_DISK_CF 1u      /**< kind of a disk: the kernel says "=cf" */
#define ZAT_DISK_MD 2u      /**< kind of a disk: the kernel says "=md" */

/** What zatGENGetDiskDrvLetter() gives where it finds no letter. */
#define ZAT_DISK_NO_LETTER '\n'

/**
 * Finds out which kind of disk is present, from the first line of "/proc/ide/cf".
 *
 * @param device  name of the disk's device; must not be null, and is not looked at
 * @param kind    receives ZAT_DISK_CF or ZAT_DISK_MD, and ZAT_DISK_UNKNOWN on failure
 *
 * @return ZAT_OK                 kind tells
 * @return ZAT_DISK_NO_PROC_FILE  "/proc/ide/cf" cannot be opened: there is no disk
 * @return ZAT_DISK_BAD_ARGUMENT  the file's first line cannot be read or names no known kind; or
 *                                an argument is null: kind is untouched then
 */
ZATOSW_API ZatStatus zatGENFindDisk(const char* device, uint32_t* kind);

/**
 * Looks a device's DOS drive letter up in "/etc/mtools.conf": in the first line that contains
 * "drive" and the device in the form file="...", and does not begin with "#". What follows the
 * 255th character of a line counts as a line of its own, that of a comment as comment.
 *
 * @param device  name of the device, as it stands in the file
 * @param letter  receives the letter, ZAT_DISK_NO_LETTER on failure
 *
 * @return ZAT_OK                   letter holds it
 * @return ZAT_DISK_NO_MTOOLS_CONF  the file cannot be opened
 * @return ZAT_DISK_NO_DRIVE        no such line, or no letter in it; a message on standard output
 *                                  says which of the two (268, 290)
 * @return ZAT_DISK_BAD_ARGUMENT    an argument is null, or there is no memory
 */
ZATOSW_API ZatStatus zatGENGetDiskDrvLetter(const char* device, char* letter);

/** Does nothing. ZAT_OK always. */
ZATOSW_API ZatStatus zatGENGetDiskInfo(void);

/** Does nothing. ZAT_OK always. */
ZATOSW_API ZatStatus zatGENCheckDisk(void);

ZATOSW_END_DECLS

#endif
