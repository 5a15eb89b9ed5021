#include "sampler.h"

#include "logs.h"
#include "trace.h"

static constexpr uint32_t samplePeriodMs = 100;
static constexpr uint32_t taskStackBytes = 32768;

bool Sampler::stands() {
    const HoldBoard hold(shared_.lock());
    return shared_.board().stands != 0;
}

// Takes a reading every period until it is told to stop.
void Sampler::sample() {
    Machine machine;
    Reading reading;
    machine.read(reading);
    while (zatOSWWaitEventSem(stop_, samplePeriodMs) == ZAT_TIMED_OUT) {
        if (stands() || !machine.read(reading)) continue;
        logReading(reading);
        // Never waits: an old reading is worth nothing to a controller that is behind, or away.
        if (zatOSWIpcSendMsgQueue(shared_.readings(), &reading, sizeof reading, 0, 0) !=
            ZAT_TIMED_OUT)
            continue;
        const HoldBoard hold(shared_.lock());
        ++shared_.board().lost;
    }
}

uint32_t Sampler::run(uint32_t self, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                      uint32_t, uint32_t, uint32_t) {
    reinterpret_cast<Sampler*>(self)->sample();
    return 0;
}

bool Sampler::start() {
    return shared_.open() && made(zatOSWCreateEventSem(&stop_, 0, 0), "stop event") &&
           made(
               zatOSWCreateJoinTask(&task_, "sampler", ZAT_INHERIT_PRIORITY, taskStackBytes, run, 1,
                                    reinterpret_cast<uint32_t>(this), 0, 0, 0, 0, 0, 0, 0, 0, 0),
               "sampler");
}

Sampler::~Sampler() {
    if (stop_ != 0) zatOSWPostEventSem(stop_);
    if (task_ != 0) zatOSWWaitTask(task_, 1);
    if (stop_ != 0) zatOSWDeleteEventSem(stop_);
}
