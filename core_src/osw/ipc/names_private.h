/* The names of the key files. Programs of every age share them: they never change. */
#ifndef ZATOSW_OSW_IPC_NAMES_PRIVATE_H
#define ZATOSW_OSW_IPC_NAMES_PRIVATE_H

#include "osw/ipc/page_private.h"

/* Of page 0 and the global semaphore; the names of further pages have a number behind it. */
inline constexpr char ipcTableName[] = "zatoswipcglobalshm";

struct IpcKindNames {
    const char* lock;   /* key file of the lock semaphore of a type's entries */
    const char* suffix; /* of the key file of an object of the type, behind its name */
};

/* By type. */
inline constexpr IpcKindNames ipcKindNames[IPC_TYPES] = {
    {"zatoswipcmsem", "_msem"}, {"zatoswipccsem", "_csem"}, {"zatoswipcesem", "_esem"},
    {"zatoswipcmsg", "_msg"},   {"zatoswipctmr", "_tmr"},   {"zatoswipcsel", "_sel"},
    {"zatoswipcshm", "_shm"},
};

#endif
