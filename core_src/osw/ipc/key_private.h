/* What other modules need of the naming of inter-process objects. */
#ifndef ZATOSW_OSW_IPC_KEY_PRIVATE_H
#define ZATOSW_OSW_IPC_KEY_PRIVATE_H

#include "osw/status.h"

/*
 * Chooses and creates the key directory. Once it has succeeded, the key calls take no lock: a
 * caller that looks a key up under a lock of its own prepares the directory before it takes it.
 */
ZatStatus oswIpcPrepareKeyDirectory();

#endif
