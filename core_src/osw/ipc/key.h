/**
 * @file
 * Names of inter-process objects: from a name to the System V key that all processes share.
 *
 * A name stands for a key file in the key directory; the key is the file's inode number. The
 * directory is "/tmp/.zat-msgq/" or, when it is set, the value of GEN_MSGQ_PATH, which is used as a
 * plain prefix and so must end in "/". It is chosen, and created level by level, at first use.
 */
#ifndef ZATOSW_OSW_IPC_KEY_H
#define ZATOSW_OSW_IPC_KEY_H

#include "../status.h"

ZATOSW_BEGIN_DECLS

/**
 * Finds the System V key of a name; creates the name's key file when it is not there yet.
 *
 * Keys that other users of System V IPC reserve are never returned: a key file that happens to get
 * such an inode is moved aside to its path followed by "_collision_" and a number, where it keeps
 * the inode occupied.
 *
 * @param name    NUL-terminated name, used as a file name in the key directory
 * @param unused  ignored
 * @param key     receives the key; written on success only
 *
 * @return ZAT_OK                     the key was found
 * @return ZAT_FAILED                 name or key is null
 * @return ZAT_IPC_KEY_DIR_FAILED     the key directory cannot be created; the next call tries again
 * @return ZAT_IPC_KEY_CREATE_FAILED  the key file cannot be created
 * @return ZAT_IPC_KEY_STAT_FAILED    the key file cannot be queried, or its path is too long
 * @return ZAT_IPC_KEY_RENAME_FAILED  a key file with a reserved inode cannot be moved aside
 *
 * The first call in a process waits for the critical section; later ones only for the file system.
 * May be called from any task, and is no point at which a task is deleted.
 */
ZATOSW_API ZatStatus zatOSWIpcGetServerIpcKey(const char* name, uint32_t unused, uint32_t* key);

/**
 * Removes the key file of a name. The System V objects made with its key are not touched.
 *
 * @param name  NUL-terminated name
 *
 * @return ZAT_OK                  the file is gone; it need not have existed
 * @return ZAT_FAILED              name is null
 * @return ZAT_IPC_KEY_DIR_FAILED  the key directory cannot be created
 */
ZATOSW_API ZatStatus zatOSWIpcRevokeServerIpcKey(const char* name);

ZATOSW_END_DECLS

#endif
