/* The calling thread's id, kept beside the thread: asking the thread library costs a call. */
#ifndef ZATOSW_OSW_SELF_PRIVATE_H
#define ZATOSW_OSW_SELF_PRIVATE_H

#include <pthread.h>

#include "osw/types.h"

/* Initial-exec: one load instead of a call; the library uses twelve bytes of the static block. */
#define OSW_THREAD_LOCAL thread_local __attribute__((tls_model("initial-exec")))

inline OSW_THREAD_LOCAL ZatTaskId oswSelfId = 0;

inline ZatTaskId oswSelf() {
    if (oswSelfId == 0) oswSelfId = pthread_self();
    return oswSelfId;
}

#endif
