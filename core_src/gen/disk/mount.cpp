/* Mounting, unmounting and formatting; figures of a file system. */

#include "gen/disk/mount.h"

#include <mntent.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/vfs.h>

#include "gen/disk/command_private.h"
#include "gen/disk/disk_private.h"
#include "gen/disk/drive.h"

/* The mount table, entry by entry, in memory of the caller's own. */
class MountTable {
  public:
    MountTable() : table_(setmntent("/etc/mtab", "r")) {}
    MountTable(const MountTable&) = delete;
    MountTable& operator=(const MountTable&) = delete;
    ~MountTable() {
        if (table_ != nullptr) endmntent(table_);
    }

    bool isOpen() const { return table_ != nullptr; }

    /* Null behind the last one. */
    const mntent* next() { return getmntent_r(table_, &entry_, text_, sizeof text_); }

  private:
    FILE* const table_;
    mntent entry_ = {};
    char text_[2048];
};

ZatStatus zatGENVerifyDiskMount(const char* device, const char* directory) {
    const DiskCall call;
    if (device == nullptr || directory == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    MountTable table;
    if (!table.isOpen()) return ZAT_DISK_BAD_ARGUMENT;
    while (const mntent* entry = table.next())
        if (strcmp(entry->mnt_fsname, device) == 0 && strcmp(entry->mnt_dir, directory) == 0)
            return ZAT_OK;
    return ZAT_DISK_NOT_MOUNTED;
}

ZatStatus zatGENMountDisk(const char* device, const char* directory) {
    const DiskCall call;
    if (device == nullptr || directory == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    if (zatGENVerifyDiskMount(device, directory) == ZAT_OK) return ZAT_OK;
    return mount(device, directory, "vfat", MS_MGC_VAL, "") == 0 ? ZatStatus{ZAT_OK}
                                                                 : ZatStatus{ZAT_DISK_MOUNT_FAILED};
}

ZatStatus zatGENUmountDisk(const char* device, const char* directory) {
    const DiskCall call;
    if (device == nullptr || directory == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    /* A table that cannot be opened does not say that a disk may be formatted. */
    if (zatGENVerifyDiskMount(device, directory) == ZAT_DISK_NOT_MOUNTED) return ZAT_OK;
    return umount(directory) == 0 ? ZatStatus{ZAT_OK} : ZatStatus{ZAT_DISK_UNMOUNT_FAILED};
}

static ZatStatus format(const char* device) {
    char letter = ZAT_DISK_NO_LETTER;
    const ZatStatus status = zatGENGetDiskDrvLetter(device, &letter);
    if (status != ZAT_OK) return status;
    char command[16];
    if (!diskWriteCommand(command, sizeof command, "mformat ", letter, "") || !diskRun(command))
        return ZAT_DISK_FORMAT_FAILED;
    return ZAT_OK;
}

ZatStatus zatGENFormatDisk(const char* device, const char* directory) {
    const DiskCall call;
    if (device == nullptr || directory == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    uint32_t kind = ZAT_DISK_UNKNOWN;
    ZatStatus status = zatGENFindDisk(device, &kind);
    if (status == ZAT_OK) status = zatGENUmountDisk(device, directory);
    if (status == ZAT_OK) status = format(device);
    if (status == ZAT_OK) status = zatGENMountDisk(device, directory);
    return status;
}

ZatStatus zatGENGetDiskDevName(const char* directory, char* device, uint32_t sizeBytes) {
    const DiskCall call;
    if (directory == nullptr || device == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    MountTable table;
    if (!table.isOpen()) return ZAT_DISK_BAD_ARGUMENT;
    while (const mntent* entry = table.next()) {
        if (strcmp(entry->mnt_dir, directory) != 0) continue;
        strncpy(device, entry->mnt_fsname, sizeBytes);
        return ZAT_OK;
    }
    return ZAT_DISK_NOT_MOUNTED;
}

/* All that is wider than 32 bits here; the kernel gives all ones where it has no count of nodes. */
static bool fitsWords(const struct statfs& figures) {
    for (const uint64_t count : {figures.f_blocks, figures.f_bfree, figures.f_bavail})
        if (count > UINT32_MAX) return false;
    for (const uint64_t count : {figures.f_files, figures.f_ffree})
        if (count > UINT32_MAX && count != UINT64_MAX) return false;
    return true;
}

ZatStatus zatGENGetDiskStatfs(const char* path, GenDiskStatfs* figures) {
    const DiskCall call;
    struct statfs all = {};
    if (path == nullptr || figures == nullptr || statfs(path, &all) != 0 || !fitsWords(all))
        return ZAT_DISK_BAD_ARGUMENT;
    *figures = {};
    figures->type = static_cast<uint32_t>(all.f_type);
    figures->blockSize = static_cast<uint32_t>(all.f_bsize);
    figures->blocks = static_cast<uint32_t>(all.f_blocks);
    figures->freeBlocks = static_cast<uint32_t>(all.f_bfree);
    figures->availableBlocks = static_cast<uint32_t>(all.f_bavail);
    figures->files = static_cast<uint32_t>(all.f_files);
    figures->freeFiles = static_cast<uint32_t>(all.f_ffree);
    static_assert(sizeof figures->id == sizeof all.f_fsid);
    memcpy(figures->id, &all.f_fsid, sizeof figures->id);
    figures->nameLength = static_cast<uint32_t>(all.f_namelen);
    figures->flags = static_cast<uint32_t>(all.f_flags);
    static_assert(sizeof figures->spare == sizeof all.f_spare);
    memcpy(figures->spare, all.f_spare, sizeof figures->spare);
    return ZAT_OK;
}
