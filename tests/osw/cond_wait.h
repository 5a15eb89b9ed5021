/**
 * @file
 * Puts itself between the library and the waits of the thread library, so that a test decides how
 * and when a wait comes back. For one source file per program.
 */
#ifndef ZATOSW_TESTS_OSW_COND_WAIT_H
#define ZATOSW_TESTS_OSW_COND_WAIT_H

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <utility>

#include "osw/mem_checker.h"
#include "osw/worker.h"

/* The race checker starts threads with waits of its own, which must not come by here. */
class NotForTheRaceChecker : public testing::Environment {
    void SetUp() override { SKIP_IF_RACES_ARE_CHECKED(); }
};
static auto* const notForTheRaceChecker =
    testing::AddGlobalTestEnvironment(new NotForTheRaceChecker);

/** Keeps a task from running on after a wait. */
struct Gate {
    Shared<bool> reached;
    Shared<bool> open;

    void pass() {
        /* A woken task takes its wake-up whether it is deleted or not. */
        int before = 0;
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
        reached = true;
        waitFor([this] { return bool{open}; });
        pthread_setcancelstate(before, nullptr);
    }
};

/** What happens to the waits of a thread. */
struct CondWaitScript {
    int spurious = 0; /**< wake-ups that nobody sent, one for each of the next waits */
    int error = 0;    /**< answered once, instead of waiting */
    /** Answered once, to whichever thread is woken first of those that share it. */
    std::atomic<int>* lateError = nullptr;
    Gate* gate = nullptr;    /**< behind the next condition that is really waited for */
    Gate* napGate = nullptr; /**< behind the next sleep */
};

static thread_local CondWaitScript condWaitScript;

template <class Wait>
static int waitByScript(pthread_mutex_t* mutex, Wait wait) {
    CondWaitScript& script = condWaitScript;
    if (script.spurious > 0) {
        --script.spurious;
        return 0;
    }
    if (script.error != 0) return std::exchange(script.error, 0);
    const int result = wait();
    const int late = script.lateError == nullptr ? 0 : script.lateError->exchange(0);
    if (late != 0) return late;
    if (Gate* gate = std::exchange(script.gate, nullptr)) {
        pthread_mutex_unlock(mutex);
        gate->pass();
        pthread_mutex_lock(mutex);
    }
    return result;
}

/* The old symbols of these names, which are found without a version, are other functions. */
template <class Function>
static Function* threadLibrary(const char* name) {
    return reinterpret_cast<Function*>(dlvsym(RTLD_NEXT, name, "GLIBC_2.3.2"));
}

extern "C" int pthread_cond_wait(pthread_cond_t* cond, pthread_mutex_t* mutex) {
    static const auto real = threadLibrary<decltype(pthread_cond_wait)>("pthread_cond_wait");
    return waitByScript(mutex, [=] { return real(cond, mutex); });
}

extern "C" int pthread_cond_timedwait(pthread_cond_t* cond, pthread_mutex_t* mutex,
                                      const timespec* deadline) {
    static const auto real =
        threadLibrary<decltype(pthread_cond_timedwait)>("pthread_cond_timedwait");
    return waitByScript(mutex, [=] { return real(cond, mutex, deadline); });
}

extern "C" int nanosleep(const timespec* duration, timespec* remaining) {
    static const auto real = reinterpret_cast<decltype(&nanosleep)>(dlsym(RTLD_NEXT, "nanosleep"));
    const int result = real(duration, remaining);
    if (Gate* gate = std::exchange(condWaitScript.napGate, nullptr)) gate->pass();
    return result;
}

#endif
