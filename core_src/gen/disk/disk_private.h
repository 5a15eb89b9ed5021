/* What the calls on the removable disk have in common. */
#ifndef ZATOSW_GEN_DISK_DISK_PRIVATE_H
#define ZATOSW_GEN_DISK_DISK_PRIVATE_H

#include <stddef.h>
#include <stdio.h>

#include "gen/file_private.h"
#include "osw/errno_private.h"
#include "osw/freed_private.h"
#include "osw/lock_private.h"
#include "osw/mem_header_private.h"

/*
 * Every call begins with one. Nearly all that the calls do is a point where a task can be deleted,
 * and a disk must not stay half formatted or unmounted for that, nor a command without somebody who
 * waits for it: the task goes after the call.
 */
class DiskCall {
  public:
    DiskCall() = default;

  private:
    const OswUncancellable uncancellable_{};
    const OswKeepErrno keepErrno_{};
};

/* Text of zatOSWSubAllocMem(). */
using DiskText = OswPartFreed<char>;

/* Null when there is no memory for it. */
inline DiskText diskAllocText(size_t sizeBytes) {
    const auto size = static_cast<uint32_t>(sizeBytes);
    return DiskText(oswHasRoom(size) ? static_cast<char*>(zatOSWSubAllocMem(size)) : nullptr);
}

/* Reads a line, or as much of it as there is room for. */
template <size_t sizeBytes>
bool diskReadLine(FILE* file, char (&line)[sizeBytes]) {
    return fgets(line, sizeBytes, file) != nullptr;
}

/* Checks that there is a disk, and gives its drive letter. */
ZatStatus diskFindDrive(const char* device, char& letter);

#endif
