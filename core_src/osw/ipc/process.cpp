/* Whether other processes live; see process_private.h. */

#include "osw/ipc/process_private.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "osw/errno_private.h"
#include "osw/lock_private.h"

/* A process whose threads have all ended stays until its parent has asked for its status. */
static bool isZombie(uint32_t process) {
    char path[32];
    snprintf(path, sizeof path, "/proc/%lu/stat", static_cast<unsigned long>(process));
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    char text[512];
    const ssize_t length = read(file, text, sizeof text - 1);
    close(file);
    text[length < 0 ? 0 : length] = '\0';
    /* Behind the name, which may contain anything: the state, and 16 fields later the threads. */
    const char* fields = strrchr(text, ')');
    char state = 0;
    int threads = 0;
    return fields != nullptr &&
           sscanf(fields, ") %c %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %d",
                  &state, &threads) == 2 &&
           (state == 'Z' || state == 'X') && threads <= 1;
}

bool oswIpcIsAlive(uint32_t process) {
    const OswKeepErrno keepErrno;
    const OswUncancellable uncancellable;
    if (kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH) return false;
    return !isZombie(process);
}
