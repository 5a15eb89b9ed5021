// kernelstyle: a program as it comes from a real-time kernel. It knows kernel-style calls only.
//
// A producer sends readings through a queue and a consumer adds them up. A watchdog looks at the
// count again and again. Half-way the producer stalls: the watchdog's routine gives the semaphore
// that the supervisor waits for, and the supervisor sees to it that the producer goes on.

#include <stdio.h>
#include <stdlib.h>
#include <zatosw/osw/compat/compat.h>

// What such programs bring along: the kernel's words for what they mean here.
#define NO_WAIT 0u
#define WAIT_FOREVER ZAT_FOREVER
#define OK ZAT_OK
#define SECONDS(n) ((n)*ZAT_KERNEL_TICKS_PER_SECOND)

static const uint32_t lowestPriority = 255;
static const uint32_t stackBytes = 32768;
static const uint32_t watchdogTicks = 15;
static const uint32_t patience = SECONDS(60);
static const uint32_t endOfReadings = 0;

// The consumer writes it and the watchdog reads it, under the lock.
struct Tally {
    uint32_t count;
    uint32_t sum;
};

static struct {
    ZatMsgQueue readings;
    ZatKernelSem alarm;     // binary: the watchdog's routine gives it
    ZatKernelSem resume;    // binary: the producer may go on
    ZatKernelSem finished;  // counting: one unit per task that has ended
    ZatKernelSem lock;      // mutual exclusion
    ZatKernelWatchdog watchdog;
    Tally* tally;
} plant;

static uint32_t producer(uint32_t readings, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                         uint32_t, uint32_t, uint32_t, uint32_t) {
    for (uint32_t reading = 1; reading <= readings; ++reading) {
        if (msgQSend(plant.readings, &reading, sizeof reading, patience, 0) != OK)
            perror("kernelstyle: send");
        if (reading == (readings + 1) / 2) semTake(plant.resume, WAIT_FOREVER);
    }
    msgQSend(plant.readings, &endOfReadings, sizeof endOfReadings, WAIT_FOREVER, 0);
    return semGive(plant.finished);
}

static void add(uint32_t reading) {
    semTake(plant.lock, WAIT_FOREVER);
    plant.tally->count += 1;
    plant.tally->sum += reading;
    semGive(plant.lock);
}

static uint32_t consumer(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                         uint32_t, uint32_t, uint32_t) {
    uint32_t reading = endOfReadings;
    while (msgQReceive(plant.readings, &reading, sizeof reading, WAIT_FOREVER) == OK &&
           reading != endOfReadings)
        add(reading);
    return semGive(plant.finished);
}

// The watchdog's routine, which must not wait: whoever holds the lock is alive.
static uint32_t watch(uint32_t seen) {
    uint32_t count = seen;
    if (semTake(plant.lock, NO_WAIT) == OK) {
        count = plant.tally->count;
        semGive(plant.lock);
        if (count == seen) return semGive(plant.alarm);
    }
    return wdStart(plant.watchdog, watchdogTicks, watch, count);
}

static bool buildPlant(void) {
    static const Tally nothing = {0, 0};
    plant.readings = msgQCreate(4, sizeof(uint32_t), 0);
    plant.alarm = semBCreate(0, 0);
    plant.resume = semBCreate(0, 0);
    plant.finished = semCCreate(0, 0);
    plant.lock = semMCreate(0);
    plant.watchdog = wdCreate();
    plant.tally = (Tally*)memPartAlloc(sysPartId, sizeof(Tally));
    if (plant.tally != nullptr) *plant.tally = nothing;
    return plant.readings != 0 && plant.alarm != 0 && plant.resume != 0 && plant.finished != 0 &&
           plant.lock != 0 && plant.watchdog != 0 && plant.tally != nullptr;
}

static bool startTasks(uint32_t readings) {
    return taskSpawn("tConsumer", lowestPriority, 0, stackBytes, consumer, 0, 0, 0, 0, 0, 0, 0, 0,
                     0, 0) != 0 &&
           taskSpawn("tProducer", lowestPriority, 0, stackBytes, producer, readings, 0, 0, 0, 0, 0,
                     0, 0, 0, 0) != 0 &&
           wdStart(plant.watchdog, watchdogTicks, watch, 0) == OK;
}

// Waits for the alarm, wakes the producer, and waits for both tasks.
static bool supervise(void) {
    if (semTake(plant.alarm, patience) != OK) {
        perror("kernelstyle: alarm");
        return false;
    }
    printf("%s: no reading for %u ticks; %s goes on\n", taskName(taskIdSelf()),
           (unsigned)watchdogTicks, taskNameToId("tProducer") != 0 ? "tProducer" : "nobody");
    semGive(plant.resume);
    for (int task = 0; task < 2; ++task) {
        if (semTake(plant.finished, patience) == OK) continue;
        perror("kernelstyle: end");
        return false;
    }
    return true;
}

// The queue and the tally go with the process.
static bool clearPlant(void) {
    const bool empty = msgQNumMsgs(plant.readings) == 0 && semTake(plant.finished, NO_WAIT) != OK;
    wdCancel(plant.watchdog);
    return wdDelete(plant.watchdog) == OK && semDelete(plant.lock) == OK &&
           semDelete(plant.finished) == OK && semDelete(plant.resume) == OK &&
           semDelete(plant.alarm) == OK && empty;
}

int main(int count, char** arguments) {
    const uint32_t readings = count > 1 ? (uint32_t)strtoul(arguments[1], nullptr, 10) : 20;
    if (readings == 0) {
        fprintf(stderr, "usage: kernelstyle [READINGS]\n");
        return 2;
    }
    if (!buildPlant() || !startTasks(readings)) {
        fprintf(stderr, "kernelstyle: the plant cannot be built\n");
        return 1;
    }
    if (!supervise() || !clearPlant()) return 1;
    printf("%u readings, sum %u\n", (unsigned)plant.tally->count, (unsigned)plant.tally->sum);
    return 0;
}
