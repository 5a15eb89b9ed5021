/**
 * @file
 * DOS attributes of files on the removable disk, by the command "mattrib" of mtools.
 *
 * Both calls look for the disk first, then for its drive letter, then for the file, which must be
 * below the directory where the disk is mounted: the path begins with the directory, as text, and
 * what follows is the path on the drive. As for tasks, see drive.h.
 *
 * The path's characters reach the command as they are; those that mean something to the shell are
 * quoted, by a backslash each, or the whole by double quotes. A command line has room for a few
 * characters of quoting, and a path that needs more of them in both ways is refused. To the command
 * itself "[" begins a pattern, also in the name of a file.
 */
#ifndef ZATOSW_GEN_DISK_FILE_ATTRIBUTE_H
#define ZATOSW_GEN_DISK_FILE_ATTRIBUTE_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

#define ZAT_DISK_FILE_READ_ONLY 1u /**< attribute flag */
#define ZAT_DISK_FILE_HIDDEN 2u    /**< attribute flag */
#define ZAT_DISK_FILE_ARCHIVE 4u   /**< attribute flag */
#define ZAT_DISK_FILE_DIRECTORY 8u /**< attribute flag; cannot be set */

/**
 * Reads the attributes of a file or directory.
 *
 * @param device     device of the disk
 * @param directory  where it is mounted
 * @param path       the file
 * @param flags      receives its attributes, ZAT_DISK_FILE_... added up, in one byte; 0 on failure
 *
 * @return ZAT_OK                      read
 * @return ZAT_DISK_PATH_OUTSIDE       path does not begin with directory
 * @return ZAT_DISK_NO_FILE            the file cannot be opened for reading
 * @return ZAT_DISK_ATTR_QUERY_FAILED  the command cannot be run; it printed nothing, of which a
 *                                     message on standard output tells (775); or path needs more
 *                                     than 7 characters of quoting
 * @return ZAT_DISK_BAD_ARGUMENT       an argument is null: flags is untouched then. Or
 *                                     there is no memory
 * @return a status of zatGENFindDisk() or zatGENGetDiskDrvLetter()
 */
ZATOSW_API ZatStatus zatGENGetDiskFSAttribute(const char* device, const char* directory,
                                              const char* path, uint8_t* flags);

/**
 * Sets or clears each of three attributes of a file.
 *
 * @param device     device of the disk
 * @param directory  where it is mounted
 * @param path       the file
 * @param flags      ZAT_DISK_FILE_READ_ONLY, ZAT_DISK_FILE_HIDDEN and ZAT_DISK_FILE_ARCHIVE added
 *                   up; the attributes that are not among them are cleared, other bits ignored
 *
 * @return ZAT_OK                 set
 * @return ZAT_DISK_PATH_OUTSIDE  path does not begin with directory
 * @return ZAT_DISK_NO_FILE       the file cannot be opened for reading
 * @return ZAT_DISK_ATTR_FAILED   the command failed, or path needs more than 5 characters of
 *                                quoting: no command was run then
 * @return ZAT_DISK_BAD_ARGUMENT  device, directory or path is null, or there is no memory
 * @return a status of zatGENFindDisk() or zatGENGetDiskDrvLetter()
 */
ZATOSW_API ZatStatus zatGENSetDiskFSAttribute(const char* device, const char* directory,
                                              const char* path, uint8_t flags);

ZATOSW_END_DECLS

#endif
