/* Directories: where the process works, and what is in them. */

#include <dirent.h>
#include <errno.h>
#include <limits.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "gen/console/commands_private.h"
#include "osw/lock_private.h"

struct CloseDirectory {
    void operator()(DIR* directory) const {
        const OswUncancellable uncancellable;
        closedir(directory);
    }
};

/* Says why the system refused something; to be called at once. */
static void sayFailure(const char* what, const char* path) {
    char reason[64];
    genSay("< ERROR > could not %s : %s (%s).\n", what, path,
           strerror_r(errno, reason, sizeof reason));
}

using Directory = std::unique_ptr<DIR, CloseDirectory>;

/* One that a task was deleted in the middle of opening would stay open. */
static Directory openDirectory(const char* path) {
    const OswUncancellable uncancellable;
    return Directory(opendir(path));
}

void genRunWorkDirectory(GenCommandLine&) {
    char path[PATH_MAX];
    if (getcwd(path, sizeof path) != nullptr)
        genSay("%s\n", path);
    else
        sayFailure("read directory", ".");
}

void genRunListDirectory(GenCommandLine& line) {
    const char* word = line.nextWord();
    const char* path = word != nullptr ? word : ".";
    const Directory directory = openDirectory(path);
    if (directory == nullptr) return sayFailure("open directory", path);
    while (const dirent* entry = readdir(directory.get()))
        genSay(" %s\n", entry->d_name);
}

void genRunChangeDirectory(GenCommandLine& line) {
    const char* path = line.nextWord();
    if (path != nullptr && chdir(path) != 0) sayFailure("change directory", path);
}

void genRunMakeDirectory(GenCommandLine& line) {
    const char* path = line.nextWord();
    if (path != nullptr && mkdir(path, S_IRWXU | S_IRWXG | S_IRWXO) != 0)
        sayFailure("make directory", path);
}
