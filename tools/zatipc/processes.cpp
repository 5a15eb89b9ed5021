#include "processes.h"

#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>

static void closeFile(FILE* file) {
    fclose(file);
}

static void closeDirectory(DIR* directory) {
    closedir(directory);
}

// In another name space, the same number is another segment's.
static bool isInOurSpace(const std::string& process) {
    struct stat own;
    struct stat other;
    return stat("/proc/self/ns/ipc", &own) == 0 &&
           stat(("/proc/" + process + "/ns/ipc").c_str(), &other) == 0 &&
           own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}

// A process's memory is a list of pieces; a segment's piece has its id in place of an inode.
static bool hasSegment(const std::string& process, int segmentId) {
    const std::unique_ptr<FILE, void (*)(FILE*)> maps(
        fopen(("/proc/" + process + "/maps").c_str(), "re"), closeFile);
    char line[512];
    while (maps != nullptr && fgets(line, sizeof line, maps.get()) != nullptr) {
        long long inode = 0;
        char path[16];
        if (sscanf(line, "%*s %*s %*s %*s %lld %15s", &inode, path) == 2 && inode == segmentId &&
            strncmp(path, "/SYSV", 5) == 0)
            return true;
    }
    return false;
}

static std::string nameOfProcess(const std::string& process) {
    const std::unique_ptr<FILE, void (*)(FILE*)> file(
        fopen(("/proc/" + process + "/comm").c_str(), "re"), closeFile);
    char name[64] = "";
    if (file != nullptr && fgets(name, sizeof name, file.get()) != nullptr)
        name[strcspn(name, "\n")] = '\0';
    return name;
}

std::vector<Process> processesWith(int segmentId) {
    std::vector<Process> found;
    const std::unique_ptr<DIR, void (*)(DIR*)> all(opendir("/proc"), closeDirectory);
    while (const dirent* file = all == nullptr ? nullptr : readdir(all.get())) {
        const std::string process = file->d_name;
        if (process.find_first_not_of("0123456789") != std::string::npos) continue;
        if (!isInOurSpace(process) || !hasSegment(process, segmentId)) continue;
        found.push_back({static_cast<uint32_t>(atol(process.c_str())), nameOfProcess(process)});
    }
    std::sort(found.begin(), found.end(),
              [](const Process& a, const Process& b) { return a.number < b.number; });
    return found;
}
