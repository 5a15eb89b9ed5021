/*
 * A row of a benchmark: the library's call and a peer, in turns in one run, and the ratio of their
 * medians. Turns make whatever else the machine does hit both.
 */
#ifndef ZATOSW_BENCH_PAIR_H
#define ZATOSW_BENCH_PAIR_H

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <vector>

#include "goals.h"

inline double benchNowNs() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

inline double benchMedian(std::vector<double>& values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

/* Runs both sides in turns, each doing `operations` per turn when called with that number. */
template <class Ours, class Peer>
void benchPair(benchmark::State& state, int operations, Ours ours, Peer peer) {
    std::vector<double> oursNs;
    std::vector<double> peerNs;
    ours(operations);
    peer(operations);
    for (auto _ : state) {
        const double start = benchNowNs();
        ours(operations);
        const double middle = benchNowNs();
        peer(operations);
        const double end = benchNowNs();
        oursNs.push_back((middle - start) / operations);
        peerNs.push_back((end - middle) / operations);
        state.SetIterationTime((middle - start) * 1e-9);
    }
    const double oursMedian = benchMedian(oursNs);
    const double peerMedian = benchMedian(peerNs);
    state.counters["ours_ns"] = oursMedian;
    state.counters["peer_ns"] = peerMedian;
    state.counters["ratio"] = oursMedian / peerMedian;
}

/* Says beside a row what its goal is, and whether it holds. */
inline void benchJudge(benchmark::State& state, double goal) {
    if (goal == 0) return;
    state.counters["goal"] = goal;
    state.SetLabel(state.counters["ratio"] <= goal ? "holds" : "MISSED");
}

/* Registers a row; name it "what/peer". Its goal is in goals.h. */
template <class Row>
benchmark::internal::Benchmark* benchRow(const char* name, Row row) {
    const auto judged = [row, goal = benchGoal(name)](benchmark::State& state) {
        row(state);
        benchJudge(state, goal);
    };
    return benchmark::RegisterBenchmark(name, judged)->UseManualTime()->Iterations(200);
}

#endif
