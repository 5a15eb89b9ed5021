// The key directory: key files, and the System V objects that their keys lead to.
#ifndef ZATIPC_DIRECTORY_H
#define ZATIPC_DIRECTORY_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "names.h"

// What there is under a key; -1 = nothing.
struct SysvObjects {
    int semId = -1;
    int semaphores = 0;  // up to 3: more are not told apart
    int queueId = -1;
    int segmentId = -1;
};

struct SegmentState {
    uint32_t size;
    uint32_t attached;  // how many times, by all processes
};

class KeyDirectory {
  public:
    // A plain prefix of all paths, as the library takes it.
    explicit KeyDirectory(std::string prefix) : prefix_(std::move(prefix)) {}

    const std::string& prefix() const { return prefix_; }
    std::string path(const std::string& name) const { return prefix_ + name; }

    // The key of a name; 0, with errno set, when it has none.
    key_t key(const std::string& name) const;

    // All key files, sorted. Returns 0 or an error number; a directory that is not there is empty.
    int list(std::vector<std::string>& names) const;

  private:
    std::string prefix_;
};

// The System V objects that an entry of a known type has in it.
SysvObjects objectsIn(const IpcObjectEntry& entry);

// What there is under a key; makes nothing.
SysvObjects objectsOf(key_t key);

// Of the objects, those that a thing of this shape may call its own: keys of other users of
// System V IPC may happen to be equal.
SysvObjects ownObjects(const SysvObjects& objects, const SysvShape& shape);

// False, with errno set, when there is no such segment, or it is not for our eyes.
bool lookAtSegment(int segmentId, SegmentState& state);

// A segment to read, attached for the time of the scope. The program is linked with nothing that
// writes into one.
class AttachedSegment {
  public:
    explicit AttachedSegment(int segmentId);
    AttachedSegment(AttachedSegment&& other) noexcept : address_(other.address_) {
        other.address_ = nullptr;
    }
    AttachedSegment& operator=(AttachedSegment&&) = delete;
    AttachedSegment(const AttachedSegment&) = delete;
    AttachedSegment& operator=(const AttachedSegment&) = delete;
    ~AttachedSegment();

    void* address() const { return address_; }

  private:
    void* address_;
};

#endif
