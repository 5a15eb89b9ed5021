/**
 * @file
 * The removable disk's file system: mounting, formatting, figures.
 *
 * What is mounted is read from "/etc/mtab". Devices and directories are those of its entries: names
 * are compared as they are, without following links. Of an entry, the first 2047 characters count.
 * As for tasks, see drive.h.
 */
#ifndef ZATOSW_GEN_DISK_MOUNT_H
#define ZATOSW_GEN_DISK_MOUNT_H

#include <stddef.h>

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

/** Figures of a file system, as the system tells them. */
typedef struct GenDiskStatfs {
    uint32_t type;            /**< magic number of its kind */
    uint32_t blockSize;       /**< bytes */
    uint32_t blocks;          /**< all of them */
    uint32_t freeBlocks;      /**< free for the superuser */
    uint32_t availableBlocks; /**< free for everybody */
    uint32_t files;           /**< file nodes, all of them; 0 where there are none, as on FAT */
    uint32_t freeFiles;       /**< of these, the free ones */
    uint32_t id[2];           /**< its id */
    uint32_t nameLength;      /**< longest name of a file */
    uint32_t flags;           /**< mount flags; with spare, what follows the fragment size */
    uint32_t spare[4];        /**< see flags */
} GenDiskStatfs;

ZATOSW_STATIC_ASSERT(sizeof(GenDiskStatfs) == 60 && offsetof(GenDiskStatfs, id) == 28 &&
                         offsetof(GenDiskStatfs, flags) == 40,
                     "applications hold it");

/**
 * Tells whether a device is mounted on a directory.
 *
 * @param device     device
 * @param directory  mount directory
 *
 * @return ZAT_OK                 it is
 * @return ZAT_DISK_NOT_MOUNTED   it is not; it may be mounted on another directory
 * @return ZAT_DISK_BAD_ARGUMENT  an argument is null, or the mount table cannot be opened
 */
ZATOSW_API ZatStatus zatGENVerifyDiskMount(const char* device, const char* directory);

/**
 * Mounts a disk's FAT file system.
 *
 * @param device     device
 * @param directory  mount directory
 *
 * @return ZAT_OK                 it is mounted; also when it was already, on this directory
 * @return ZAT_DISK_MOUNT_FAILED  the system refused, or knows it as mounted while the mount table
 *                                could not be opened
 * @return ZAT_DISK_BAD_ARGUMENT  an argument is null
 */
ZATOSW_API ZatStatus zatGENMountDisk(const char* device, const char* directory);

/**
 * Unmounts a disk.
 *
 * @param device     device
 * @param directory  directory on which it is mounted
 *
 * @return ZAT_OK                   it is not mounted there; also when it was not before
 * @return ZAT_DISK_UNMOUNT_FAILED  the system refused, as while files are open, or does not know
 *                                  it as mounted while the mount table could not be opened
 * @return ZAT_DISK_BAD_ARGUMENT    an argument is null
 */
ZATOSW_API ZatStatus zatGENUmountDisk(const char* device, const char* directory);

/**
 * Formats the disk: finds it, unmounts it, looks its drive letter up, runs "mformat", and mounts it
 * again. The first of these that fails ends the call: it may leave the disk unmounted.
 *
 * @param device     device
 * @param directory  directory on which it is, and will be, mounted
 *
 * @return ZAT_OK                  formatted and mounted
 * @return ZAT_DISK_FORMAT_FAILED  the command failed
 * @return ZAT_DISK_BAD_ARGUMENT   an argument is null
 * @return a status of zatGENFindDisk(), zatGENUmountDisk(), zatGENGetDiskDrvLetter() or
 *         zatGENMountDisk()
 */
ZATOSW_API ZatStatus zatGENFormatDisk(const char* device, const char* directory);

/**
 * Tells which device is mounted on a directory, by the first entry for it.
 *
 * @param directory  mount directory
 * @param device     receives the device's name, and zeros up to the size; no NUL where the name is
 *                   as long as the buffer or longer
 * @param sizeBytes  size of that buffer
 *
 * @return ZAT_OK                 told
 * @return ZAT_DISK_NOT_MOUNTED   none is: the buffer is untouched
 * @return ZAT_DISK_BAD_ARGUMENT  an argument is null, or the mount table cannot be opened
 */
ZATOSW_API ZatStatus zatGENGetDiskDevName(const char* directory, char* device, uint32_t sizeBytes);

/**
 * Tells the figures of a file system.
 *
 * @param path     any file or directory in it
 * @param figures  receives them; untouched on failure
 *
 * @return ZAT_OK                 told
 * @return ZAT_DISK_BAD_ARGUMENT  an argument is null, the system gives no figures of the path, or
 *                                one of them does not fit 32 bits
 */
ZATOSW_API ZatStatus zatGENGetDiskStatfs(const char* path, GenDiskStatfs* figures);

ZATOSW_END_DECLS

#endif
