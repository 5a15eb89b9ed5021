/* Loaded libraries. Their code runs when they come and go, so the list's lock is not held then. */

#include "osw/library.h"

#include <dlfcn.h>
#include <pthread.h>
#include <stddef.h>
#include <string.h>

#include "clb/list_walk_private.h"
#include "gen/trace/output.h"
#include "osw/errno_private.h"
#include "osw/freed_private.h"
#include "osw/lock_private.h"
#include "osw/mem_part.h"

struct OswLoadLib {
    ClbLstNode links;
    ZatLibrary handle;
    char name[1]; /* and what it takes of more */
};

static_assert(offsetof(OswLoadLib, handle) == 8 && offsetof(OswLoadLib, name) == 12);

static pthread_mutex_t libraryLock = PTHREAD_MUTEX_INITIALIZER;
static ClbLstHead libraries;

/* A library that nobody has put on the list; closed and freed at the end of the scope unless it was
 * finished. */
class LibraryMaker {
  public:
    LibraryMaker() = default;
    LibraryMaker(const LibraryMaker&) = delete;
    LibraryMaker& operator=(const LibraryMaker&) = delete;
    ~LibraryMaker() {
        if (handle_ != nullptr) dlclose(handle_);
        zatOSWOrgFreeMemPart(0, record_);
    }

    ZatStatus open(const char* path) {
        handle_ = dlopen(path, RTLD_LAZY);
        if (handle_ == nullptr) return ZAT_FAILED;
        const size_t length = strlen(path);
        void* memory = nullptr;
        const ZatStatus status =
            zatOSWOrgAllocMemPart(0, &memory, static_cast<uint32_t>(sizeof(OswLoadLib) + length));
        if (status != ZAT_OK) return status;
        record_ = static_cast<OswLoadLib*>(memory);
        *record_ = {{}, handle_, {}};
        memcpy(record_->name, path, length + 1);
        return ZAT_OK;
    }

    OswLoadLib* finish() {
        OswLoadLib* record = record_;
        handle_ = nullptr;
        record_ = nullptr;
        return record;
    }

  private:
    ZatLibrary handle_ = nullptr;
    OswLoadLib* record_ = nullptr;
};

/* Under the lock. */
template <class Match>
static OswLoadLib* find(Match match) {
    for (OswLoadLib* library : zatWalk<OswLoadLib>(&libraries))
        if (match(*library)) return library;
    return nullptr;
}

static OswLoadLib* findPath(const char* path) {
    return find([path](const OswLoadLib& library) { return strcmp(library.name, path) == 0; });
}

/* The handle of a library that is loaded already; false when it is not. */
static bool findHandle(const char* path, ZatLibrary* handle) {
    const OswLock lock(libraryLock);
    const OswLoadLib* library = findPath(path);
    if (library != nullptr) *handle = library->handle;
    return library != nullptr;
}

ZatStatus zatOSWLoadLibrary(ZatLibrary* library, const char* path) {
    const OswKeepErrno keepErrno;
    if (library == nullptr || path == nullptr) return ZAT_FAILED;
    const OswUncancellable uncancellable;
    if (findHandle(path, library)) return ZAT_OK;
    LibraryMaker maker;
    if (const ZatStatus status = maker.open(path); status != ZAT_OK) return status;
    const OswLock lock(libraryLock);
    /* Another task may have loaded it meanwhile. */
    OswLoadLib* loaded = findPath(path);
    if (loaded == nullptr) {
        loaded = maker.finish();
        zatCLBLstAdd(&libraries, loaded);
    }
    *library = loaded->handle;
    return ZAT_OK;
}

ZatStatus zatOSWGetProcAddress(ZatLibrary library, const char* name, void** address) {
    if (library == nullptr || name == nullptr || address == nullptr) return ZAT_FAILED;
    void* found = dlsym(library, name);
    if (found == nullptr) return ZAT_FAILED;
    *address = found;
    return ZAT_OK;
}

template <class Match>
static ZatStatus unload(Match match) {
    const OswKeepErrno keepErrno;
    const OswUncancellable uncancellable;
    OswLock lock(libraryLock);
    OswLoadLib* library = find(match);
    if (library == nullptr) return ZAT_OK;
    zatCLBLstDelete(&libraries, library);
    lock.release();
    if (dlclose(library->handle) == 0) {
        zatOSWOrgFreeMemPart(0, library);
        return ZAT_OK;
    }
    lock.take(libraryLock);
    zatCLBLstAdd(&libraries, library);
    return ZAT_OK;
}

ZatStatus zatOSWFreeLibrary(ZatLibrary handle) {
    return unload([handle](const OswLoadLib& library) { return library.handle == handle; });
}

ZatStatus zatOSWUnloadLibrary(const char* path) {
    if (path == nullptr) return ZAT_OK;
    return unload([path](const OswLoadLib& library) { return strcmp(library.name, path) == 0; });
}

struct LibraryRow {
    ZatLibrary handle;
    OswFreed<char> name;
};

/* The library at a place, from 1 on. */
static bool readRow(int32_t place, LibraryRow& row) {
    const OswLock lock(libraryLock);
    const auto* library = static_cast<const OswLoadLib*>(zatCLBLstNth(&libraries, place));
    if (library == nullptr) return false;
    row.handle = library->handle;
    row.name.reset(strdup(library->name));
    return true;
}

ZatStatus zatOSWShowLoadLibInfo(uint32_t component, uint32_t level) {
    static constexpr uint32_t type = ZAT_GEN_TRACE | ZAT_GEN_MONITOR;
    const OswKeepErrno keepErrno;
    zatGENTrcPrintf(component, type, level, "    id        load library name\n");
    zatGENTrcPrintf(component, type, level,
                    " -------- -------------------------------------------------- \n");
    int32_t place = 1;
    for (LibraryRow row; readRow(place, row); ++place)
        zatGENTrcPrintf(component, type, level, " %8lx %s\n",
                        reinterpret_cast<unsigned long>(row.handle),
                        row.name == nullptr ? "" : row.name.get());
    if (place == 1) zatGENTrcPrintf(component, type, level, " < no library loaded >\n");
    return ZAT_OK;
}
