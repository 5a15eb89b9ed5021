/* A stdio file that is closed at the end of its scope. */
#ifndef ZATOSW_GEN_FILE_PRIVATE_H
#define ZATOSW_GEN_FILE_PRIVATE_H

#include <stdio.h>

#include <memory>

#include "osw/lock_private.h"

struct GenCloseFile {
    /* Closing may write, where a task can be deleted: not in the middle of a destructor. */
    void operator()(FILE* file) const {
        const OswUncancellable uncancellable;
        fclose(file);
    }
};

using GenFile = std::unique_ptr<FILE, GenCloseFile>;

/* Opens a file, or is null with errno set. A task that was deleted in the middle of it would leave
 * the file open. */
inline GenFile genOpenFile(const char* path, const char* mode) {
    const OswUncancellable uncancellable;
    return GenFile(fopen(path, mode));
}

/* What was written is in the file only when it is closed: whether it got there. */
inline bool genCloseWritten(GenFile file) {
    const OswUncancellable uncancellable;
    const bool wrote = ferror(file.get()) == 0;
    return fclose(file.release()) == 0 && wrote;
}

#endif
