/* Sockets; see network.h. */

#include "osw/network.h"

#include <arpa/inet.h>
#include <errno.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <unistd.h>

#include "osw/errno_private.h"
#include "osw/fixed_lock.h"
#include "osw/lock_private.h"

/* Closes a file at the end of the scope. */
class OpenFile {
  public:
    explicit OpenFile(int file) : file_(file) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    /* Closing is where a task can be deleted: not in the middle of a destructor. */
    ~OpenFile() {
        const OswUncancellable uncancellable;
        if (file_ >= 0) close(file_);
    }

    int get() const { return file_; }

  private:
    const int file_;
};

static constexpr uint32_t loopback = 0x7F000001;

static uint32_t chooseAddress(const ifreq* entries, size_t count) {
    uint32_t chosen = 0;
    for (size_t i = 0; i < count; ++i) {
        sockaddr_in address;
        memcpy(&address, &entries[i].ifr_addr, sizeof address);
        if (address.sin_family != AF_INET) continue;
        chosen = address.sin_addr.s_addr;
        if (chosen != 0 && chosen != htonl(loopback)) return chosen;
    }
    return chosen;
}

uint32_t zatOSWGetHostId(void) {
    static constexpr size_t bufferSize = 400;
    static_assert(sizeof(ifreq) == 32);
    const OswKeepErrno keepErrno;
    const OpenFile probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (probe.get() < 0) return 0;
    ifreq entries[bufferSize / sizeof(ifreq)] = {};
    ifconf list = {};
    list.ifc_len = sizeof entries;
    list.ifc_req = entries;
    if (ioctl(probe.get(), SIOCGIFCONF, &list) != 0) return 0;
    return chooseAddress(entries, static_cast<size_t>(list.ifc_len) / sizeof(ifreq));
}

ZatStatus inet_ntoa_r(const void* address, char* text) {
    static constexpr size_t textSize = 16;
    if (address == nullptr || text == nullptr) return ZAT_FAILED;
    in_addr word;
    memcpy(&word, address, sizeof word);
    zatOSWLockTask();
    strncpy(text, inet_ntoa(word), textSize - 1);
    text[textSize - 1] = '\0';
    return zatOSWUnlockTask();
}

/* A list of sockets, and the set that is made of it. */
struct SocketList {
    int32_t* sockets;
    int32_t count;
    fd_set set;

    fd_set* wanted() { return count > 0 ? &set : nullptr; }
};

/* False when there is one that does not fit into the set. */
static bool fill(SocketList& list, int& highest) {
    FD_ZERO(&list.set);
    for (int32_t i = 0; i < list.count; ++i) {
        const int socket = list.sockets[i];
        if (socket < 0) continue;
        if (socket >= FD_SETSIZE) return false;
        FD_SET(socket, &list.set);
        if (socket > highest) highest = socket;
    }
    return true;
}

/* Leaves those that are in a result, and counts them. */
static int32_t keepReady(const SocketList& list, const fd_set& result) {
    int32_t ready = 0;
    for (int32_t i = 0; i < list.count; ++i) {
        int32_t& socket = list.sockets[i];
        if (socket >= 0 && FD_ISSET(socket, &result))
            ++ready;
        else
            socket = -1;
    }
    return ready;
}

int32_t zatOSWOS2Select(int32_t* sockets, int32_t reads, int32_t writes, int32_t exceptions,
                        int32_t timeoutMs) {
    if (reads < 0 || writes < 0 || exceptions < 0 || reads + writes + exceptions <= 0 ||
        sockets == nullptr)
        return -1;
    int32_t* const all = sockets;
    SocketList read = {all, reads, {}};
    SocketList write = {all + reads, writes, {}};
    SocketList except = {all + reads + writes, exceptions, {}};
    int highest = -1;
    if (!fill(read, highest) || !fill(write, highest) || !fill(except, highest)) return -1;
    timeval limit = {timeoutMs / 1000, timeoutMs % 1000 * 1000};
    const int result = select(highest + 1, read.wanted(), write.wanted(), except.wanted(),
                              timeoutMs == -1 ? nullptr : &limit);
    if (result < 1) return result;
    /* What can be written tells of exceptions, too. */
    return keepReady(read, read.set) + keepReady(write, write.set) + keepReady(except, write.set);
}

/* A socket that does not block, for the life of a scope. */
class NonBlocking {
  public:
    explicit NonBlocking(int socket) : socket_(socket) { error_ = set(1) == 0 ? 0 : errno; }
    NonBlocking(const NonBlocking&) = delete;
    NonBlocking& operator=(const NonBlocking&) = delete;
    ~NonBlocking() { set(0); }

    int error() const { return error_; }

  private:
    int set(int on) const { return ioctl(socket_, FIONBIO, &on); }

    const int socket_;
    int error_;
};

/* What became of a connection that was under way: 0 or an error number. */
static int awaitConnection(int socket, int32_t timeoutMs) {
    pollfd wanted = {socket, POLLOUT, 0};
    int result = 0;
    do {
        result = poll(&wanted, 1, timeoutMs);
    } while (result < 0 && errno == EINTR);
    if (result < 0) return errno;
    if (result == 0) return ETIMEDOUT;
    int error = 0;
    socklen_t length = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

ZatStatus zatOSWConnectWithTimeout(int32_t socket, const struct sockaddr* address,
                                   socklen_t lengthBytes, int32_t timeoutMs) {
    const OswKeepErrno keepErrno;
    if (timeoutMs == -1)
        return connect(socket, address, lengthBytes) == 0 ? ZatStatus{ZAT_OK}
                                                          : static_cast<ZatStatus>(errno);
    const NonBlocking nonBlocking(socket);
    if (nonBlocking.error() != 0) return static_cast<ZatStatus>(nonBlocking.error());
    if (connect(socket, address, lengthBytes) == 0) return ZAT_OK;
    if (errno != EINPROGRESS) return static_cast<ZatStatus>(errno);
    return static_cast<ZatStatus>(awaitConnection(socket, timeoutMs < 0 ? 0 : timeoutMs));
}

ZatStatus zatOSWConnectTimedWait(int32_t* socket, const struct sockaddr* address,
                                 socklen_t lengthBytes, int32_t timeoutMs) {
    if (socket == nullptr) return ZAT_FAILED;
    const OswKeepErrno keepErrno;
    const ZatStatus status = zatOSWConnectWithTimeout(*socket, address, lengthBytes, timeoutMs);
    if (status == ZAT_OK) return status;
    close(*socket);
    *socket = -1;
    return status;
}
