/**
 * @file
 * A removable disk that is not there: the files in which the library looks for it are those of the
 * test, mounts are answered, commands are noted. For one source file per program.
 */
#ifndef ZATOSW_TESTS_GEN_FAKED_DISK_H
#define ZATOSW_TESTS_GEN_FAKED_DISK_H

#include <dlfcn.h>
#include <mntent.h>
#include <sys/mount.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "osw/worker.h"

using Lines = std::vector<std::string>;

inline Lines calls;               /**< mounts and commands, in their order */
inline Shared<int> callCount;     /**< of them */
inline int mountResult;           /**< of mount() and umount() */
inline std::string beforeCommand; /**< what the shell does first */

inline std::string inTestDirectory(const std::string& name) {
    return std::string(getenv("TEST_TMPDIR")) + "/" + name;
}

/** Where the test keeps a file of the system; other files are the system's own. */
inline std::string placeOf(const char* path) {
    for (const char* faked : {"/proc/ide/cf", "/proc/ide/cf_attr", "/proc/sys/vm/bdflush",
                              "/etc/mtools.conf", "/etc/mtab"})
        if (strcmp(path, faked) == 0)
            return inTestDirectory(std::filesystem::path(path).filename());
    return path;
}

inline void provide(const char* path, const std::string& content) {
    std::ofstream(placeOf(path)) << content;
}

template <class Function>
Function* systemsOwn(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

inline int note(const std::string& call, int result) {
    calls.push_back(call);
    ++callCount;
    return result;
}

extern "C" FILE* fopen(const char* path, const char* mode) {
    return systemsOwn<decltype(fopen)>("fopen64")(placeOf(path).c_str(), mode);
}

extern "C" FILE* setmntent(const char* path, const char* mode) noexcept {
    return systemsOwn<FILE*(const char*, const char*)>("setmntent")(placeOf(path).c_str(), mode);
}

extern "C" int mount(const char* device, const char* directory, const char* type,
                     unsigned long flags, const void* options) noexcept {
    const bool isPlain = flags == 0xC0ED0000 && static_cast<const char*>(options)[0] == '\0';
    return note(
        std::string("mount ") + device + " " + directory + " " + type + (isPlain ? "" : "?"),
        mountResult);
}

extern "C" int umount(const char* directory) noexcept {
    return note(std::string("umount ") + directory, mountResult);
}

extern "C" int system(const char* command) {
    note(command, 0);
    return systemsOwn<decltype(system)>("system")((beforeCommand + command).c_str());
}

extern "C" FILE* popen(const char* command, const char* mode) {
    note(command, 0);
    return systemsOwn<FILE*(const char*, const char*)>("popen")((beforeCommand + command).c_str(),
                                                                mode);
}

/** What a call says and prints, in one. */
template <class Call>
std::string outcomeOf(Call call) {
    testing::internal::CaptureStdout();
    char status[16];
    snprintf(status, sizeof status, "%x ", call());
    fflush(stdout);
    return status + testing::internal::GetCapturedStdout();
}

/** A disk of the kind "=cf" with letter c. Calls leave neither open files nor memory behind. */
class FakedDisk : public testing::Test {
  protected:
    FakedDisk() {
        zatOSWInit();
        provide("/proc/ide/cf", "   device type =cf\n");
        provide("/etc/mtools.conf", "drive c: file=\"" + device + "\" 1.44m mformat_only\n");
        provide("/etc/mtab", "/dev/other /mnt/cf vfat rw 0 0\n");
    }
    ~FakedDisk() override {
        EXPECT_EQ(openFiles(), filesBefore);
        EXPECT_EQ(heldMemory(), memoryBefore);
    }

    static size_t openFiles() {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }

    const std::string device = inTestDirectory("image");
    const size_t filesBefore = openFiles();
    uint32_t memoryBefore = (zatOSWInit(), heldMemory());
};

#endif
