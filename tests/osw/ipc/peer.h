/**
 * @file
 * Another process, started from this program, that makes calls as it is told to: each is a function
 * of this file without captures, which finds the process's own globals there.
 *
 *     static constexpr OnObject<zatOSWIpcCreateMutexSem> make;
 *     static constexpr OnObject<zatOSWIpcRequestMutexSem> take;
 *
 *     Peer peer;
 *     EXPECT_EQ(peer(make, 1), ZAT_OK);
 *     EXPECT_EQ(peer(take, 100), ZAT_OK);
 */
#ifndef ZATOSW_TESTS_OSW_IPC_PEER_H
#define ZATOSW_TESTS_OSW_IPC_PEER_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "osw/init.h"
#include "osw/ipc/ipc.h"
#include "support/selfstart.h"
#include "support/support.h"

using PeerCall = uint32_t (*)(uint32_t a, uint32_t b);

/** The object of the test, in whatever process. */
inline ZatIpcHandle object;

/** A call that makes it, under a name that all use, or is on it; with one number, if any. */
template <auto call>
struct OnObject {
    ZatStatus operator()(uint32_t number = 0) const { return run(number, 0); }
    /* NOLINTNEXTLINE(google-explicit-constructor): it stands for its function. */
    constexpr operator PeerCall() const { return run; }

  private:
    static uint32_t run(uint32_t number, uint32_t) {
        using Call = decltype(call);
        if constexpr (std::is_invocable_v<Call, const char*, ZatIpcHandle*, uint32_t, uint32_t>)
            return call("object", &object, 0, number);
        else if constexpr (std::is_invocable_v<Call, const char*, ZatIpcHandle*, uint32_t>)
            return call("object", &object, number);
        else if constexpr (std::is_invocable_v<Call, ZatIpcHandle, uint32_t>)
            return call(object, number);
        else
            return call(object);
    }
};

struct PeerRequest {
    uint32_t call; /* distance from a function of the program, which lies elsewhere next time */
    uint32_t a;
    uint32_t b;
};

inline int servePeer(const std::vector<std::string>& arguments);

inline uint32_t peerAnchor() {
    return reinterpret_cast<uint32_t>(&servePeer);
}

inline int servePeer(const std::vector<std::string>& arguments) {
    const int line = std::stoi(arguments.at(0));
    PeerRequest request;
    while (read(line, &request, sizeof request) == sizeof request) {
        const uint32_t result =
            reinterpret_cast<PeerCall>(peerAnchor() + request.call)(request.a, request.b);
        if (write(line, &result, sizeof result) != sizeof result) return 1;
    }
    return static_cast<int>(zatOSWTerm());
}

inline const SelfRole peerRole("peer", servePeer);

class Peer {
  public:
    Peer() {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        fcntl(ends[1], F_SETFD, 0);
        line_ = ends[0];
        id_ = spawnSelf("peer", {std::to_string(ends[1])});
        close(ends[1]);
    }
    /** One that has made its object. */
    explicit Peer(PeerCall make, uint32_t a) : Peer() { EXPECT_EQ((*this)(make, a), ZAT_OK); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer() { leave(); }

    uint32_t id() const { return static_cast<uint32_t>(id_); }

    uint32_t operator()(PeerCall call, uint32_t a = 0, uint32_t b = 0) {
        begin(call, a, b);
        return end();
    }

    /** Lets it begin a call that takes its time. */
    void begin(PeerCall call, uint32_t a = 0, uint32_t b = 0) {
        const PeerRequest request = {reinterpret_cast<uint32_t>(call) - peerAnchor(), a, b};
        EXPECT_EQ(write(line_, &request, sizeof request), static_cast<ssize_t>(sizeof request));
    }

    /** What the call returned. */
    uint32_t end() {
        pollfd answer = {line_, POLLIN, 0};
        uint32_t result = 0xDEADBEEF;
        if (poll(&answer, 1, 20000) != 1 || read(line_, &result, sizeof result) <= 0) {
            ADD_FAILURE() << "no answer from the other process";
            kill();
        }
        return result;
    }

    /** Lets it terminate the library and end. */
    void leave() {
        if (id_ <= 0) return;
        close(line_);
        EXPECT_EQ(waitForExit(id_), 0);
        id_ = 0;
    }

    void signal(int number) const { EXPECT_TRUE(id_ > 0 && ::kill(id_, number) == 0); }

    void kill() {
        killAndReap(id_);
        close(line_);
        id_ = 0;
    }

  private:
    int line_;
    pid_t id_;
};

inline IpcStatus stateOf(ZatIpcHandle handle, uint32_t type) {
    IpcStatus status = {};
    EXPECT_EQ(zatOSWIpcQueryStatus(handle, type, &status), ZAT_OK);
    return status;
}

/** Threads of all processes that wait for an object, of both sorts together. */
inline uint32_t blocked(ZatIpcHandle handle, uint32_t type) {
    const IpcStatus status = stateOf(handle, type);
    return status.waiters + status.secondWaiters;
}

/** Waits until there are so many. */
inline bool blockedReach(ZatIpcHandle handle, uint32_t type, uint32_t count) {
    return waitFor([=] { return blocked(handle, type) == count; });
}
inline bool blockedReach(uint32_t type, uint32_t count) {
    return blockedReach(object, type, count);
}

/** The key of a name, and the semaphores that have it. */
inline key_t keyOf(const std::string& name) {
    uint32_t key = 0;
    EXPECT_EQ(zatOSWIpcGetServerIpcKey(name.c_str(), 0, &key), ZAT_OK);
    return static_cast<key_t>(key);
}
inline int semaphoresOf(const std::string& name) {
    return semget(keyOf(name), 0, 0);
}

/** Names of the key files, sorted. */
inline std::vector<std::string> keyFiles() {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(getenv("GEN_MSGQ_PATH")))
        names.push_back(file.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

/** When all processes have terminated the layer. */
inline void expectNothingLeft() {
    EXPECT_EQ(systemVObjects(), 0);
    EXPECT_EQ(keyFiles(), std::vector<std::string>());
}

#endif
