/**
 * @file
 * Puts itself between the library and the thread library's condition waits, so that a test decides
 * how a wait comes back. For one source file per program.
 */
#ifndef ZATOSW_TESTS_OSW_COND_WAIT_H
#define ZATOSW_TESTS_OSW_COND_WAIT_H

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>

#include "support/support.h"

/** Keeps a woken task from running on: it waits behind the gate, without the internal mutex. */
struct Gate {
    std::atomic<bool> reached{false};
    std::atomic<bool> open{false};
};

/** What happens to the condition waits of a thread. */
struct CondWaitScript {
    int spurious = 0;     /**< wake-ups that nobody sent, one for each of the next waits */
    int error = 0;        /**< answered once, instead of waiting */
    Gate* gate = nullptr; /**< stands behind the next wait that really waits */
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
    Gate* gate = std::exchange(script.gate, nullptr);
    if (gate == nullptr) return result;
    /* A woken task takes its wake-up whether it is deleted or not. */
    int before = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    pthread_mutex_unlock(mutex);
    gate->reached = true;
    waitFor([gate] { return gate->open.load(); });
    pthread_mutex_lock(mutex);
    pthread_setcancelstate(before, nullptr);
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

#endif
