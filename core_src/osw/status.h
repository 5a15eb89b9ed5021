/**
 * @file
 * The statuses that calls return: one table gives each code its name and its text.
 *
 * A status is 0 (success), 0xFFFFFFFF (the generic failure of the process-local calls), a small
 * error number of the system passed through unchanged (110, ETIMEDOUT, is every time-out), or a
 * library code 0x20MMCCNN: module 0x20MM (the module's trace component id), class CC, condition
 * NN. The numbering has deliberate gaps; unlisted numbers are never returned.
 */
#ifndef ZATOSW_OSW_STATUS_H
#define ZATOSW_OSW_STATUS_H

#include "types.h"

/** Every status with a meaning of the library's own: X(name, code, text). */
#define ZAT_STATUS_TABLE(X)                                                                      \
    X(ZAT_OK, 0u, "success")                                                                     \
    X(ZAT_TIMED_OUT, 110u, "timed out, interrupted, or busy with time-out 0")                    \
    X(ZAT_FAILED, 0xFFFFFFFFu, "unknown or deleted object, bad argument, or not the owner")      \
    X(ZAT_GEN_LOG_EXISTS, 0x20000001u, "a region log with this id already exists")               \
    X(ZAT_GEN_BAD_MASK_BIT, 0x20000003u, "mask bit number above 15")                             \
    X(ZAT_GEN_NO_LOG, 0x20000004u, "unknown region log id")                                      \
    X(ZAT_CLB_HASH_NO_MEMORY, 0x20010501u,                                                       \
      "hash table out of memory, resized while empty, or its node callback returned null")       \
    X(ZAT_CLB_HASH_KEY_EXISTS, 0x20010502u, "hash key already present")                          \
    X(ZAT_CLB_HASH_NOT_FOUND, 0x20010503u, "hash key or node not found")                         \
    X(ZAT_CLB_HASH_RESIZE_FAILED, 0x20010505u,                                                   \
      "hash resize failed after the old buckets were released")                                  \
    X(ZAT_OSW_NO_TASK, 0x20020016u, "task is not registered")                                    \
    X(ZAT_OSW_PART_EXHAUSTED, 0x20020101u, "no free block large enough in the partition")        \
    X(ZAT_OSW_PART_BLOCK_FREE, 0x20020102u, "shared partition block is not allocated")           \
    X(ZAT_OSW_PART_BAD_SIZE, 0x20020103u,                                                        \
      "size 0, an amount that is no multiple of 8, or a shrink larger than the block")           \
    X(ZAT_OSW_PART_BAD_ALIGNMENT, 0x20020104u, "alignment 0 or not a power of two")              \
    X(ZAT_OSW_PART_BAD_ADDRESS, 0x20020105u,                                                     \
      "null partition where no default exists, or pointer outside the partition")                \
    X(ZAT_OSW_PART_NO_BLOCK_ID, 0x20020106u, "no allocated shared block carries the id")         \
    X(ZAT_OSW_PART_BLOCK_ID_EXISTS, 0x20020107u,                                                 \
      "another allocated shared block already carries the id")                                   \
    X(ZAT_OSW_PART_NOT_ALLOCATED, 0x20020111u, "shared block freed that is not allocated")       \
    X(ZAT_OSW_PART_BAD_BLOCK, 0x20020112u, "shared block header inconsistent")                   \
    X(ZAT_IPC_SEMGET_FAILED, 0x20020201u, "semget failed")                                       \
    X(ZAT_IPC_SHMGET_FAILED, 0x20020202u, "shmget failed")                                       \
    X(ZAT_IPC_SEMOP_FAILED, 0x20020203u, "semop or semtimedop failed other than by time-out")    \
    X(ZAT_IPC_SHMAT_FAILED, 0x20020204u, "shmat failed")                                         \
    X(ZAT_IPC_SEMCTL_FAILED, 0x20020205u, "setting a semaphore's value failed")                  \
    X(ZAT_IPC_NO_MEMORY, 0x20020206u, "out of memory in the inter-process layer")                \
    X(ZAT_IPC_DEADLOCK, 0x20020208u, "deadlock: request or delete by the wrong holder")          \
    X(ZAT_IPC_BAD_PARAMETERS, 0x20020209u, "bad or mismatching creation parameters")             \
    X(ZAT_IPC_NO_OBJECT, 0x2002020Au, "unknown or deleted inter-process handle or partition id") \
    X(ZAT_IPC_NOT_OWNER, 0x2002020Bu, "release by a task that is not the owner")                 \
    X(ZAT_IPC_MSGGET_FAILED, 0x2002020Cu, "msgget failed")                                       \
    X(ZAT_IPC_MSGRCV_FAILED, 0x2002020Du, "msgrcv failed")                                       \
    X(ZAT_IPC_MSGSND_FAILED, 0x2002020Eu, "msgsnd failed")                                       \
    X(ZAT_IPC_TIMER_ELSEWHERE, 0x2002020Fu, "timer started by another process")                  \
    X(ZAT_IPC_TIMER_IDLE, 0x20020210u, "timer not started")                                      \
    X(ZAT_IPC_SIGNAL_FAILED, 0x20020212u, "waking an expired waiter with a signal failed")       \
    X(ZAT_IPC_QUEUE_LIMIT_FAILED, 0x20020213u, "raising the queue's byte limit failed")          \
    X(ZAT_IPC_NO_REFERENCE, 0x20020214u, "delete of a handle that has no references left")       \
    X(ZAT_IPC_SEM_REMOVED, 0x20020215u,                                                          \
      "the object's semaphore was removed while the caller waited")                              \
    X(ZAT_IPC_KEY_DIR_FAILED, 0x20020216u, "creating the key-file directory failed")             \
    X(ZAT_IPC_KEY_CREATE_FAILED, 0x20020217u, "creating a key file failed")                      \
    X(ZAT_IPC_KEY_STAT_FAILED, 0x20020218u, "querying a key file failed")                        \
    X(ZAT_IPC_KEY_RENAME_FAILED, 0x20020219u, "renaming a colliding key file aside failed")      \
    X(ZAT_DISK_NO_PROC_FILE, 0x20030102u, "the disk's kernel file cannot be opened")             \
    X(ZAT_DISK_FORMAT_FAILED, 0x20030106u, "the format command failed")                          \
    X(ZAT_DISK_FLUSH_FAILED, 0x20030107u, "the block-device buffer flush request failed")        \
    X(ZAT_DISK_BAD_ARGUMENT, 0x20030108u,                                                        \
      "bad argument, a file that could not be read or scanned, or no memory")                    \
    X(ZAT_DISK_NOT_MOUNTED, 0x20030109u, "no matching mount-table entry")                        \
    X(ZAT_DISK_NO_LENGTH, 0x2003010Au, "attribute length 0 or requested byte count 0")           \
    X(ZAT_DISK_NO_FILE, 0x2003010Bu, "the file whose attributes are asked for cannot be opened") \
    X(ZAT_DISK_MOUNT_FAILED, 0x2003010Cu, "mount failed")                                        \
    X(ZAT_DISK_UNMOUNT_FAILED, 0x2003010Du, "unmount failed")                                    \
    X(ZAT_DISK_LABEL_TOO_LONG, 0x2003010Eu, "volume label longer than 11 characters")            \
    X(ZAT_DISK_LABEL_FAILED, 0x2003010Fu, "setting the label failed")                            \
    X(ZAT_DISK_NO_MTOOLS_CONF, 0x20030110u,                                                      \
      "the configuration of the label tools cannot be opened")                                   \
    X(ZAT_DISK_NO_DRIVE, 0x20030111u, "no drive letter for the device")                          \
    X(ZAT_DISK_NO_DEVICE, 0x20030112u, "the device cannot be opened for the cache flush")        \
    X(ZAT_DISK_LABEL_QUERY_FAILED, 0x20030113u,                                                  \
      "the label query cannot be run or its answer is not understood")                           \
    X(ZAT_DISK_NO_LABEL, 0x20030114u, "the volume has no label")                                 \
    X(ZAT_DISK_NO_CACHE_FILE, 0x20030115u, "the kernel's cache parameters cannot be opened")     \
    X(ZAT_DISK_ATTR_QUERY_FAILED, 0x20030116u,                                                   \
      "the attribute query cannot be run or printed nothing")                                    \
    X(ZAT_DISK_ATTR_FAILED, 0x20030117u, "setting attributes failed")                            \
    X(ZAT_DISK_ATTR_NOT_HEX, 0x20030118u,                                                        \
      "a character of the attribute text is not a hexadecimal digit")                            \
    X(ZAT_DISK_ATTR_ODD_DIGITS, 0x20030119u,                                                     \
      "odd number of hexadecimal digits in the attribute text")                                  \
    X(ZAT_DISK_PATH_OUTSIDE, 0x2003011Au, "file path does not begin with the mount directory")

#define ZAT_STATUS_CONSTANT(name, code, text) name = code,
#ifdef __cplusplus
enum : ZatStatus { ZAT_STATUS_TABLE(ZAT_STATUS_CONSTANT) };
#else
/* A code above 0x7FFFFFFF is an enumerator only by extension in C11. */
__extension__ enum { ZAT_STATUS_TABLE(ZAT_STATUS_CONSTANT) };
#endif
#undef ZAT_STATUS_CONSTANT

/**
 * Gives the text of a status, for messages.
 *
 * @param status  any status
 * @return the text of the table above; "system error" for a status that is not in it, as the
 *         numbers passed through from the system are. Never null, never to be freed.
 */
static inline const char* zatStatusText(ZatStatus status) {
#define ZAT_STATUS_CASE(name, code, text) \
    case code:                            \
        return text;
    switch (status) {
        ZAT_STATUS_TABLE(ZAT_STATUS_CASE)
    default:
        return "system error";
    }
#undef ZAT_STATUS_CASE
}

#endif
