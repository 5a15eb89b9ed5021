/*
 * Runs jobs on a pool of tasks.
 *
 * Prints:
 *     sum of the squares from 1 to 10: 385
 */
#include <stdatomic.h>
#include <stdio.h>
#include <zatosw/zatosw.h>

static atomic_uint sum;

static uint32_t square(uint32_t number, uint32_t done, uint32_t a3, uint32_t a4, uint32_t a5,
                       uint32_t a6, uint32_t a7, uint32_t a8, uint32_t a9, uint32_t a10) {
    atomic_fetch_add(&sum, number * number);
    zatOSWPostCountSem(done);
    return 0;
}

int main(void) {
    ZatTaskPool pool = 0;
    ZatCountSem done = 0;
    if (zatOSWCreateCountSem(&done, 0, 0) != ZAT_OK) return 1;
    /* One worker at first, four at most; the one that becomes idle above two ends. */
    if (zatOSWCreateTaskPool(&pool, "worker", ZAT_INHERIT_PRIORITY, 32768, 1, 2, 4, 0, 0) != ZAT_OK)
        return 1;

    /* The fifth waits here until a worker is free. */
    for (uint32_t number = 1; number <= 10; ++number)
        if (zatOSWQueueTaskPool(pool, "square", square, number, done, 0, 0, 0, 0, 0, 0, 0, 0) !=
            ZAT_OK)
            return 1;
    for (uint32_t number = 1; number <= 10; ++number)
        if (zatOSWWaitCountSem(done, 10000) != ZAT_OK) return 1;
    printf("sum of the squares from 1 to 10: %u\n", atomic_load(&sum));

    zatOSWDeleteTaskPool(pool);
    zatOSWDeleteCountSem(done);
    zatOSWTerm();
    return 0;
}
