/*
 * The floors: what the design of the semaphores costs when it is written down without records,
 * handles, deletion or checks: a list lock, an inner lock and a condition, with the hand-off to a
 * woken waiter and the newcomer's millisecond.
 */
#ifndef ZATOSW_BENCH_FLOOR_H
#define ZATOSW_BENCH_FLOOR_H

#include <pthread.h>
#include <time.h>

struct FloorSem {
    int units;
    pthread_mutex_t list = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_t inner = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    int waiters = 0;
    bool handoff = false;

    void wait() {
        enter();
        while (handoff) {
            leave();
            const timespec pause = {0, 1000000};
            nanosleep(&pause, nullptr);
            enter();
        }
        if (waiters == 0 && units > 0) {
            --units;
            leave();
            return;
        }
        ++waiters;
        pthread_mutex_unlock(&list);
        while (!handoff)
            pthread_cond_wait(&condition, &inner);
        --units;
        --waiters;
        handoff = false;
        pthread_mutex_unlock(&inner);
        pthread_mutex_lock(&list);
        pthread_mutex_unlock(&list);
    }

    void post() {
        enter();
        if (waiters > 0) {
            pthread_cond_signal(&condition);
            handoff = true;
        }
        ++units;
        leave();
    }

  private:
    void enter() {
        pthread_mutex_lock(&list);
        pthread_mutex_lock(&inner);
    }
    void leave() {
        pthread_mutex_unlock(&inner);
        pthread_mutex_unlock(&list);
    }
};

#endif
