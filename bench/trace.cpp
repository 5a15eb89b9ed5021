/* A trace call that no mask lets through, beside the least that one could be: a call through a
 * pointer that tests two masks. */

#include <zatosw/zatosw.h>

#include <string>

#include "pair.h"

static constexpr uint32_t firstComponent = 0x4000;
static constexpr uint32_t level = 1; /* errors, of level 0, are formatted whatever the masks */

struct Floor {
    uint16_t system;
    uint16_t component;
};

static Floor floorMasks;
static uint32_t floorEmitted;

__attribute__((noinline)) static void testTwoMasks(const Floor* masks, uint32_t bit) {
    if ((masks->system & bit) != 0 && (masks->component & bit) != 0) ++floorEmitted;
}

/* Volatile: the compiler must not see through the pointer. */
static void (*volatile floorCall)(const Floor*, uint32_t) = testTwoMasks;

static void floorCalls(int operations) {
    for (int i = 0; i < operations; ++i)
        floorCall(&floorMasks, 1u << level);
}

/* So many components of an application, beside the nine of the library. */
static void registerUpTo(uint32_t wanted) {
    static zatGENTrcComp components[1000];
    static uint32_t registered = 0;
    for (; registered < wanted; ++registered) {
        components[registered] = {firstComponent + registered, 0, 0, 0, 0, 0, 0, 64, "BENCH"};
        zatGENAddTraceId(&components[registered], 1);
    }
}

static void trace(benchmark::State& state, uint32_t components, uint32_t from, bool systemPasses) {
    zatOSWInit();
    registerUpTo(components);
    if (systemPasses)
        zatGENTrcAll(ZAT_GEN_SYSTEM);
    else
        zatGENTrcZero(ZAT_GEN_SYSTEM);
    floorMasks.system = systemPasses ? 0xFFFF : 0;
    benchPair(
        state, 20000,
        [from](int n) {
            for (int i = 0; i < n; ++i)
                zatGENTrcPrintf(from, ZAT_GEN_TRACE | ZAT_GEN_MONITOR, level, "%d\n", i);
        },
        floorCalls);
}

/* Calls a function with the ids of components in an order that no processor can foresee. */
template <class Call>
static void callAtRandom(int operations, uint32_t components, Call call) {
    uint32_t next = 1;
    for (int i = 0; i < operations; ++i) {
        next = next * 1664525u + 1013904223u;
        call(firstComponent + (next >> 16) % components);
    }
}

static void traceAtRandom(benchmark::State& state, uint32_t components) {
    zatOSWInit();
    registerUpTo(components);
    zatGENTrcAll(ZAT_GEN_SYSTEM);
    floorMasks.system = 0xFFFF;
    benchPair(
        state, 20000,
        [components](int n) {
            callAtRandom(n, components, [n](uint32_t from) {
                zatGENTrcPrintf(from, ZAT_GEN_TRACE | ZAT_GEN_MONITOR, level, "%d\n", n);
            });
        },
        [components](int n) {
            callAtRandom(n, components, [](uint32_t from) {
                benchmark::DoNotOptimize(from);
                floorCall(&floorMasks, 1u << level);
            });
        });
}

int main(int count, char** arguments) {
    /* In ascending order: components stay registered. */
    for (const uint32_t components : {7u, 100u, 1000u}) {
        const std::string row = "trace_" + std::to_string(components) + "_components";
        benchRow((row + "_system_stops/floor").c_str(),
                 [=](auto& s) { trace(s, components, firstComponent + components / 2, false); });
        benchRow((row + "_component_stops/floor").c_str(),
                 [=](auto& s) { trace(s, components, firstComponent + components / 2, true); });
        benchRow((row + "_random_component_stops/floor").c_str(),
                 [=](auto& s) { traceAtRandom(s, components); });
    }
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
}
