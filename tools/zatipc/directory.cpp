#include "directory.h"

#include <dirent.h>
#include <errno.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>

key_t KeyDirectory::key(const std::string& name) const {
    errno = 0;  // also for an inode whose key would be none
    struct stat info;
    return stat(path(name).c_str(), &info) == 0 ? static_cast<key_t>(info.st_ino) : 0;
}

int KeyDirectory::list(std::vector<std::string>& names) const {
    const size_t slash = prefix_.rfind('/');
    const size_t start = slash == std::string::npos ? 0 : slash + 1;
    const std::string directory = start == 0 ? "." : prefix_.substr(0, start);
    const std::string beginning = prefix_.substr(start);
    const auto close = [](DIR* open) { closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> files(opendir(directory.c_str()), close);
    if (files == nullptr) return errno == ENOENT ? 0 : errno;
    errno = 0;
    while (const dirent* file = readdir(files.get())) {
        const std::string name = file->d_name;
        if (name == "." || name == ".." || !name.starts_with(beginning)) continue;
        names.push_back(name.substr(beginning.size()));
    }
    if (errno != 0) return errno;
    std::sort(names.begin(), names.end());
    return 0;
}

SysvObjects objectsIn(const IpcObjectEntry& entry) {
    switch (entry.type) {
    case IPC_QUEUE:
        return {entry.queue.semId, 2, entry.queue.queueId, -1};
    case IPC_SE_LOCK:
        return {entry.lock.semId, 2, -1, -1};
    case IPC_TIMER:
        return {entry.timer.semId, 1, -1, -1};
    case IPC_PARTITION:
        return {-1, 0, -1, entry.part.segmentId};
    default:
        return {entry.sem.semId, 1, -1, -1};
    }
}

SysvObjects objectsOf(key_t key) {
    SysvObjects found;
    if (key == IPC_PRIVATE) return found;  // asking for it would make one
    // A set is opened by those who want no more semaphores than it has.
    for (int count = 1; count <= 3; ++count) {
        const int semId = semget(key, count, 0);
        if (semId < 0) break;
        found.semId = semId;
        found.semaphores = count;
    }
    found.queueId = msgget(key, 0);
    found.segmentId = shmget(key, 0, 0);
    return found;
}

SysvObjects ownObjects(const SysvObjects& objects, const SysvShape& shape) {
    SysvObjects own;
    if (shape.semaphores > 0 && objects.semaphores == shape.semaphores) {
        own.semId = objects.semId;
        own.semaphores = objects.semaphores;
    }
    if (shape.queue) own.queueId = objects.queueId;
    SegmentState state;
    if (shape.segment && (shape.segmentSize == 0 || (lookAtSegment(objects.segmentId, state) &&
                                                     state.size == shape.segmentSize)))
        own.segmentId = objects.segmentId;
    return own;
}

bool lookAtSegment(int segmentId, SegmentState& state) {
    shmid_ds kernel;
    if (shmctl(segmentId, IPC_STAT, &kernel) != 0) return false;
    state = {static_cast<uint32_t>(kernel.shm_segsz), static_cast<uint32_t>(kernel.shm_nattch)};
    return true;
}

AttachedSegment::AttachedSegment(int segmentId) : address_(shmat(segmentId, nullptr, SHM_RDONLY)) {
    if (address_ == reinterpret_cast<void*>(-1)) address_ = nullptr;
}

AttachedSegment::~AttachedSegment() {
    if (address_ != nullptr) shmdt(address_);
}
