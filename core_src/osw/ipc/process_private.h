/* Whether other processes live. */
#ifndef ZATOSW_OSW_IPC_PROCESS_PRIVATE_H
#define ZATOSW_OSW_IPC_PROCESS_PRIVATE_H

#include <stdint.h>

/* False for a process that has ended, also while nobody has waited for it yet. */
bool oswIpcIsAlive(uint32_t process);

#endif
