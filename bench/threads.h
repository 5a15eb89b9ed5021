/* Threads of a benchmark that do one thing when told to, so that starting them is not measured. */
#ifndef ZATOSW_BENCH_THREADS_H
#define ZATOSW_BENCH_THREADS_H

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <functional>
#include <thread>
#include <vector>

/* Keeps the calling thread on one processor: where the scheduler puts two threads that wake each
 * other matters more than what they wake each other with. */
inline void benchStayOn(int processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<unsigned>(processor) % static_cast<unsigned>(sysconf(_SC_NPROCESSORS_ONLN)),
            &set);
    sched_setaffinity(0, sizeof set, &set);
}

class BenchThreads {
  public:
    BenchThreads(int count, std::function<void(int operations)> work) : work_(std::move(work)) {
        pthread_barrier_init(&begin_, nullptr, static_cast<unsigned>(count + 1));
        pthread_barrier_init(&end_, nullptr, static_cast<unsigned>(count + 1));
        for (int i = 0; i < count; ++i)
            threads_.emplace_back([this, i] {
                benchStayOn(i);
                loop();
            });
    }
    ~BenchThreads() {
        operations_ = 0;
        pthread_barrier_wait(&begin_);
        for (auto& thread : threads_)
            thread.join();
    }

    /* Every thread does its share of the operations. */
    void run(int operations) {
        operations_ = operations / static_cast<int>(threads_.size());
        pthread_barrier_wait(&begin_);
        pthread_barrier_wait(&end_);
    }

  private:
    void loop() {
        for (;;) {
            pthread_barrier_wait(&begin_);
            if (operations_ == 0) return;
            work_(operations_);
            pthread_barrier_wait(&end_);
        }
    }

    std::function<void(int)> work_;
    int operations_ = 0;
    pthread_barrier_t begin_;
    pthread_barrier_t end_;
    std::vector<std::thread> threads_;
};

#endif
