/*
 * Allocates memory that is accounted for and checked.
 *
 * Prints:
 *     this task holds 1000 bytes more
 *     pool of 1024 bytes: no free block large enough in the partition
 *     a damaged block is freed: the process ends here
 */
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>
#include <zatosw/zatosw.h>

static uint32_t held(void) {
    zatOSWTaskInfo info;
    return zatOSWGetTaskInfo(0, &info) == ZAT_OK ? info.memSize : 0;
}

/* Faults are fatal: what a controller has to put into a safe state, it does here. */
static void lastWords(int number) {
    static const char text[] = "a damaged block is freed: the process ends here\n";
    (void)!write(STDOUT_FILENO, text, sizeof text - 1);
    _exit(0);
}

int main(void) {
    /* Partition 0: the process heap. Blocks have a checked header and an owner. */
    void* block = NULL;
    if (zatOSWInit() != ZAT_OK) return 1;
    uint32_t before = held();
    if (zatOSWOrgAllocMemPart(0, &block, 1000) != ZAT_OK) return 1;
    printf("this task holds %u bytes more\n", held() - before);

    /* A partition of its own: what is used up there is missing nowhere else. */
    static uint64_t memory[1024 / 8];
    ZatPartition pool = 0;
    void* piece = NULL;
    if (zatOSWSysCreateMemPart(&pool, memory, sizeof memory) != ZAT_OK) return 1;
    ZatStatus status = zatOSWOrgAllocMemPart(pool, &piece, 2000);
    printf("pool of 1024 bytes: %s\n", zatStatusText(status));
    zatOSWDeleteMemPart(pool);

    /* Somebody writes in front of the block. The library stops where that is found. */
    fflush(stdout);
    signal(SIGSEGV, lastWords);
    memset((char*)block - 4, 0, 4);
    zatOSWOrgFreeMemPart(0, block);
    return 1;
}
