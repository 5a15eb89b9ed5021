/* What other modules need of the naming of inter-process objects. */
#ifndef ZATOSW_OSW_IPC_KEY_PRIVATE_H
#define ZATOSW_OSW_IPC_KEY_PRIVATE_H

#include "osw/status.h"

/*
 * Chooses and creates the key directory. Once it has succeeded, the key calls take no lock: a
 * caller that looks a key up under a lock of its own prepares the directory before it takes it.
 */
ZatStatus oswIpcPrepareKeyDirectory();

/* zatOSWIpcGetServerIpcKey(), which also tells whether it had to create the key file. */
ZatStatus oswIpcFindKey(const char* name, uint32_t* key, bool* created);

/* Whether the name's key file is there and still gives the key; errno tells why it cannot be looked
 * at. */
bool oswIpcKeyIsCurrent(const char* name, uint32_t key);

/* Holds the name's key file locked until the end of the scope, or errno tells why not; the kernel
 * unlocks it when its holder dies. */
class IpcKeyFileLock {
  public:
    explicit IpcKeyFileLock(const char* name);
    IpcKeyFileLock(const IpcKeyFileLock&) = delete;
    IpcKeyFileLock& operator=(const IpcKeyFileLock&) = delete;
    ~IpcKeyFileLock();

    bool isHeld() const { return file_ >= 0; }

  private:
    int file_ = -1;
};

#endif
