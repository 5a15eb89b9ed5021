#include "clean.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/file.h>
#include <sys/msg.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "osw/ipc/sysv_private.h"

namespace {

// The lock of the table's key file, under which the library makes and removes the global semaphore.
// The file is made if it is not there: to be locked it must be.
class TableFileLock {
  public:
    TableFileLock() = default;
    TableFileLock(const TableFileLock&) = delete;
    TableFileLock& operator=(const TableFileLock&) = delete;
    ~TableFileLock() {
        if (file_ < 0) return;
        if (isNew_) unlink(path_.c_str());
        close(file_);
    }

    // Returns 0 or an error number; EAGAIN when others hold it, or have just removed it.
    int take(const KeyDirectory& directory, uint32_t waitMs) {
        path_ = directory.path(ipcTableName);
        file_ = open(path_.c_str(), O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        isNew_ = file_ >= 0;
        if (!isNew_) file_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
        if (file_ < 0) return errno;
        for (uint32_t waited = 0; flock(file_, LOCK_EX | LOCK_NB) != 0; waited += 10) {
            if (waited >= waitMs) return EAGAIN;
            pauseFor(10);
        }
        struct stat held;
        struct stat named;
        const bool isCurrent = fstat(file_, &held) == 0 && stat(path_.c_str(), &named) == 0 &&
                               held.st_ino == named.st_ino;
        return isCurrent ? 0 : EAGAIN;
    }

  private:
    std::string path_;
    int file_ = -1;
    bool isNew_ = false;
};

}  // namespace

static int planOnce(const KeyDirectory& directory, uint32_t waitMs, std::vector<Leftover>& plan,
                    std::string& refusal) {
    const Table table = readTable(directory, {waitMs, false});
    if (table.error != 0) return table.error;
    refusal = whyNotTold(directory, table);
    return findLeftovers(directory, table, plan);
}

static bool isPlanned(const std::vector<Leftover>& plan, const Leftover& leftover) {
    const SysvObjects& now = leftover.objects;
    return std::any_of(plan.begin(), plan.end(), [&](const Leftover& planned) {
        const SysvObjects& then = planned.objects;
        return planned.file == leftover.file && then.semId == now.semId &&
               then.queueId == now.queueId && then.segmentId == now.segmentId;
    });
}

int planCleaning(const KeyDirectory& directory, uint32_t waitMs, std::vector<Leftover>& plan,
                 std::string& refusal) {
    int error = planOnce(directory, waitMs, plan, refusal);
    if (error != 0 || (plan.empty() && refusal.empty())) return error;
    // Looked at twice: it may be on its way in or out.
    pauseFor(50);
    std::vector<Leftover> again;
    error = planOnce(directory, waitMs, again, refusal);
    std::erase_if(plan, [&](const Leftover& leftover) { return !isPlanned(again, leftover); });
    return error;
}

// The key file goes last: as long as it is there, what is left can be found.
static bool removeOne(const KeyDirectory& directory, const Leftover& leftover) {
    const SysvObjects& objects = leftover.objects;
    const auto isGone = [](int result) { return result == 0 || errno == EIDRM || errno == EINVAL; };
    if (objects.queueId != -1 && !isGone(msgctl(objects.queueId, IPC_RMID, nullptr))) return false;
    if (objects.segmentId != -1 && !isGone(shmctl(objects.segmentId, IPC_RMID, nullptr)))
        return false;
    if (objects.semId != -1 && !isGone(oswSysvRemove(objects.semId))) return false;
    // The files of pages stay, as the library has it.
    return leftover.meaning.kind == KeyFileKind::Page ||
           unlink(directory.path(leftover.file).c_str()) == 0 || errno == ENOENT;
}

static void removePlanned(const KeyDirectory& directory, const std::vector<Leftover>& plan,
                          std::vector<Leftover> found, Cleaning& cleaning) {
    // Objects before the locks of their types, those before the pages, page 0 last.
    std::stable_sort(found.begin(), found.end(), [](const Leftover& a, const Leftover& b) {
        const auto rank = [](KeyFileKind kind) {
            return kind == KeyFileKind::Object     ? 0
                   : kind == KeyFileKind::TypeLock ? 1
                   : kind == KeyFileKind::Page     ? 2
                                                   : 3;
        };
        return rank(a.meaning.kind) < rank(b.meaning.kind);
    });
    for (const Leftover& leftover : found) {
        if (!isPlanned(plan, leftover)) continue;
        if (!removeOne(directory, leftover)) {
            cleaning.failure = describe(leftover) + ": " + strerror(errno);
            return;
        }
        cleaning.removed.push_back(describe(leftover));
    }
}

// A dead system's global semaphore may be one that was made and never set, or whose value somebody
// has spoilt: with nobody alive behind it, the lock of the key file will do.
static std::string refusalOf(const LockState& global) {
    if (global.result == LockResult::Held || global.result == LockResult::Missing) return {};
    if (global.result == LockResult::Busy && !isAlive(global.process)) return {};
    return std::string("lock semaphore ") + ipcTableName + ' ' + lockText(global);
}

Cleaning cleanUp(const KeyDirectory& directory, uint32_t waitMs,
                 const std::vector<Leftover>& plan) {
    Cleaning cleaning;
    TimedLock global;
    const int semId = objectsOf(directory.key(ipcTableName)).semId;
    cleaning.failure = refusalOf(global.take(semId, waitMs));
    if (!cleaning.failure.empty()) return cleaning;
    TableFileLock file;
    if (const int error = file.take(directory, waitMs); error != 0) {
        cleaning.failure = std::string("the table's key file: ") + strerror(error);
        return cleaning;
    }
    const Table table = readTable(directory, {waitMs, false, true});
    // From here on nobody makes another one: only under the lock of the file that could be done.
    if (table.globalSem != semId)
        cleaning.failure = "a process has started or ended meanwhile";
    else if (isLiving(table) && !global.isHeld())
        cleaning.failure = "the table is in use, and its global semaphore cannot be taken";
    std::vector<Leftover> found;
    if (cleaning.failure.empty() && findLeftovers(directory, table, found) != 0)
        cleaning.failure = "the key directory cannot be read";
    if (cleaning.failure.empty()) removePlanned(directory, plan, std::move(found), cleaning);
    return cleaning;
}
