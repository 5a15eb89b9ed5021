/*
 * Key files: a name's key is the inode number of its file in the key directory.
 *
 * The directory string is set once, under the critical section, and only read afterwards; nothing
 * else here is shared but the counter that numbers the files moved aside.
 */

#include "osw/ipc/key.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <iterator>

#include "osw/errno_private.h"
#include "osw/fixed_lock.h"
#include "osw/ipc/key_private.h"
#include "osw/lock_private.h"

static constexpr char defaultDirectory[] = "/tmp/.zat-msgq/";

static std::atomic<const char*> directory;
static std::atomic<uint32_t> collisionCounter{1};

struct KeyPath {
    char text[PATH_MAX];
};

/* Keys kept free for other users of System V IPC on the controller. */
static bool isReserved(uint32_t key) {
    static constexpr uint32_t firstOfRange = 902131;
    static constexpr uint32_t lastOfRange = 902231;
    static constexpr uint32_t singles[] = {24553, 24853};
    return (key >= firstOfRange && key <= lastOfRange) ||
           std::find(std::begin(singles), std::end(singles), key) != std::end(singles);
}

static bool canOpen(const char* path) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file >= 0) close(file);
    return file >= 0;
}

/* Creates what is missing of the directories that the path names; false when one cannot be. */
static bool createLevels(const char* path) {
    KeyPath copy;
    const size_t length = strlen(path);
    if (length >= sizeof copy.text) return false;
    memcpy(copy.text, path, length + 1);
    for (char* slash = strchr(copy.text + (length > 0), '/'); slash != nullptr;
         slash = strchr(slash + 1, '/')) {
        *slash = '\0';
        /* Another process may make the level between the open and the mkdir. */
        if (!canOpen(copy.text) && mkdir(copy.text, 0777) != 0 && !canOpen(copy.text)) return false;
        *slash = '/';
    }
    return true;
}

static ZatStatus prepareOnce() {
    if (directory.load(std::memory_order_acquire) != nullptr) return ZAT_OK;
    const char* chosen = getenv("GEN_MSGQ_PATH");
    if (chosen == nullptr) chosen = defaultDirectory;
    if (!createLevels(chosen)) return ZAT_IPC_KEY_DIR_FAILED;
    /* A copy: the program may change its environment later. */
    char* copy = strdup(chosen);
    if (copy == nullptr) return ZAT_IPC_KEY_DIR_FAILED;
    const char* before = nullptr;
    if (!directory.compare_exchange_strong(before, copy)) free(copy);
    return ZAT_OK;
}

ZatStatus oswIpcPrepareKeyDirectory() {
    if (directory.load(std::memory_order_acquire) != nullptr) return ZAT_OK;
    /* Where the library does not come up, it may be for want of this directory. */
    const bool isAlone = zatOSWEnterCriticalSection() == ZAT_OK;
    const OswUncancellable uncancellable;
    const ZatStatus status = prepareOnce();
    if (isAlone) zatOSWLeaveCriticalSection();
    return status;
}

/* A path that is too long is one that cannot be queried. */
static ZatStatus makePath(const char* name, KeyPath& path) {
    if (name == nullptr) return ZAT_FAILED;
    if (const ZatStatus status = oswIpcPrepareKeyDirectory(); status != ZAT_OK) return status;
    const int length = snprintf(path.text, sizeof path.text, "%s%s",
                                directory.load(std::memory_order_relaxed), name);
    return length >= 0 && static_cast<size_t>(length) < sizeof path.text ? ZAT_OK
                                                                         : ZAT_IPC_KEY_STAT_FAILED;
}

/* The key that a path has now; errno tells why it has none. */
static bool statKey(const KeyPath& path, uint32_t& key) {
    /* stat() fails for a file with a date that 32 bits cannot tell. */
    struct statx facts;
    if (statx(AT_FDCWD, path.text, 0, STATX_INO, &facts) != 0) return false;
    key = static_cast<uint32_t>(facts.stx_ino);
    return true;
}

/* Keeps a reserved inode occupied under another name, so that the next file receives another. */
static ZatStatus moveAside(const KeyPath& path) {
    KeyPath aside;
    const int length = snprintf(aside.text, sizeof aside.text, "%s%s%d", path.text, "_collision_",
                                static_cast<int>(collisionCounter.fetch_add(1)));
    if (length < 0 || static_cast<size_t>(length) >= sizeof aside.text ||
        rename(path.text, aside.text) != 0)
        return ZAT_IPC_KEY_RENAME_FAILED;
    return ZAT_OK;
}

/* Makes the key file until it has an inode that is free to use as a key. */
static ZatStatus createFile(const KeyPath& path, uint32_t& key) {
    for (;;) {
        const int file = open(path.text, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (file < 0) return ZAT_IPC_KEY_CREATE_FAILED;
        const bool known = statKey(path, key);
        if (known && !isReserved(key)) {
            /* Asked again: the name may have been revoked and made anew since it was opened. */
            const bool still = statKey(path, key);
            close(file);
            return still ? ZAT_OK : ZAT_IPC_KEY_STAT_FAILED;
        }
        close(file);
        if (!known) return ZAT_IPC_KEY_STAT_FAILED;
        if (const ZatStatus status = moveAside(path); status != ZAT_OK) return status;
    }
}

/* The same, but a failure leaves no file. */
static ZatStatus createKey(const KeyPath& path, uint32_t& key) {
    const ZatStatus status = createFile(path, key);
    /* One that was revoked meanwhile is gone; what has the name now is another's. */
    if (status != ZAT_OK && errno != ENOENT) unlink(path.text);
    return status;
}

ZatStatus oswIpcFindKey(const char* name, uint32_t* key, bool* created) {
    const OswUncancellable uncancellable;
    const OswKeepErrno keepErrno;
    KeyPath path;
    if (const ZatStatus status = makePath(name, path); status != ZAT_OK) return status;
    uint32_t found = 0;
    *created = false;
    if (statKey(path, found)) {
        if (!isReserved(found)) {
            *key = found;
            return ZAT_OK;
        }
        unlink(path.text);
    } else if (errno != ENOENT) {
        return ZAT_IPC_KEY_STAT_FAILED;
    }
    const ZatStatus status = createKey(path, found);
    *created = true;
    if (status == ZAT_OK) *key = found;
    return status;
}

ZatStatus zatOSWIpcGetServerIpcKey(const char* name, uint32_t, uint32_t* key) {
    if (key == nullptr) return ZAT_FAILED;
    bool created = false;
    return oswIpcFindKey(name, key, &created);
}

bool oswIpcKeyIsCurrent(const char* name, uint32_t key) {
    KeyPath path;
    uint32_t found = 0;
    return makePath(name, path) == ZAT_OK && statKey(path, found) && found == key;
}

IpcKeyFileLock::IpcKeyFileLock(const char* name) {
    const OswUncancellable uncancellable;
    KeyPath path;
    if (makePath(name, path) != ZAT_OK) return;
    const int file = open(path.text, O_RDONLY | O_CLOEXEC);
    if (file < 0) return;
    int locked = flock(file, LOCK_EX);
    while (locked != 0 && errno == EINTR)
        locked = flock(file, LOCK_EX);
    if (locked == 0)
        file_ = file;
    else
        close(file);
}

IpcKeyFileLock::~IpcKeyFileLock() {
    const OswKeepErrno keepErrno;
    const OswUncancellable uncancellable;
    if (file_ >= 0) close(file_);
}

ZatStatus zatOSWIpcRevokeServerIpcKey(const char* name) {
    const OswKeepErrno keepErrno;
    KeyPath path;
    const ZatStatus status = makePath(name, path);
    if (status == ZAT_OK) unlink(path.text);
    /* No file has a path that is too long: there is none to remove. */
    return status == ZAT_IPC_KEY_STAT_FAILED ? ZatStatus{ZAT_OK} : status;
}
