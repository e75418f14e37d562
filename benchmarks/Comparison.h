// Measures a call of the selector against its floor. Both alternate in short batches within one run, so that whatever
// else the machine does befalls both alike, and the medians are compared: only their ratio means anything elsewhere.

#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <string>
#include <vector>

inline constexpr int kRounds = 400;       // batches of each
inline constexpr double kBatchNs = 20e3;  // long beside the clock's own cost, short beside a time slice

// Every batch runs at another place of the stack: how that lies to the heap moves a loop of calls by a third.
template <typename Call>
[[gnu::noinline]] double nsPerCall(Call& call, int calls) {
    static unsigned turn = 0;
    benchmark::DoNotOptimize(__builtin_alloca(16 * (turn++ * 37 % 256)));
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i) benchmark::DoNotOptimize(call());
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count() / calls;
}

inline double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Leaves both medians, in ns, in the state's counters.
template <typename Library, typename Floor>
void compare(benchmark::State& state, Library library, Floor floor) {
    nsPerCall(floor, 100);
    nsPerCall(library, 100);
    const int calls = std::clamp(static_cast<int>(kBatchNs / nsPerCall(library, 100)), 1, 1000);
    std::vector<double> libraryNs, floorNs;
    for ([[maybe_unused]] auto round : state) {
        const bool floorFirst = libraryNs.size() % 2 == 1;
        if (floorFirst) floorNs.push_back(nsPerCall(floor, calls));
        libraryNs.push_back(nsPerCall(library, calls));
        if (!floorFirst) floorNs.push_back(nsPerCall(floor, calls));
        state.SetIterationTime(libraryNs.back() * 1e-9);
    }
    state.counters = {{"library", median(libraryNs)}, {"floor", median(floorNs)}};
    state.counters["frames"] = static_cast<double>(state.range(0));
    state.counters["queues"] = static_cast<double>(state.range(1));
}

// Prints, when all is measured, the ratios by numbers of queues and frames, and how linear the cost is in either.
class TableReporter final : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    using Cell = std::pair<double, double>;                                  // library, floor
    std::vector<std::string> mNames;                                         // in the order measured
    std::map<std::string, std::map<double, std::map<double, Cell>>> mCells;  // by name, queues, frames
};
