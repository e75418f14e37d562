// Measures a call of the selector against its floor. Both alternate in short batches within one run, so that whatever
// else the machine does befalls both alike, and the medians are compared: only their ratio means anything elsewhere.

#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace bench {

inline constexpr int kRounds = 400;       // batches of each
inline constexpr int kScenes = 8;         // equal captures at different places of the heap
inline constexpr double kBatchNs = 20e3;  // long beside the clock's own cost, short beside a time slice
inline const std::vector<int64_t> kFrameCounts = {16, 64, 256}, kQueueCounts = {1, 3, 8};

// Every batch runs at another place of the stack: how that lies to the heap changes the time of a loop of calls.
template <typename Call>
[[gnu::noinline]] double nsPerCall(const Call& call, int calls) {
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

// Leaves both medians, in ns, in the state's counters. Either side is called equally often, and all scenes one after
// the other: they are alike, but lie at other places of the heap, which matters as well.
template <typename Scenes, typename Library, typename Floor>
void compare(benchmark::State& state, Scenes& scenes, Library library, Floor floor) {
    auto scene = scenes.begin();
    const auto ofLibrary = [&] { return library(*scene); };
    const auto ofFloor = [&] { return floor(*scene); };
    nsPerCall(ofFloor, 100);
    const int calls = std::clamp(static_cast<int>(kBatchNs / nsPerCall(ofLibrary, 100)), 1, 1000);
    std::vector<double> libraryNs, floorNs;
    for ([[maybe_unused]] auto round : state) {
        scene = scenes.begin() + static_cast<long>(libraryNs.size() * scenes.size() / kRounds);
        libraryNs.push_back(nsPerCall(ofLibrary, calls));
        floorNs.push_back(nsPerCall(ofFloor, calls));
        state.SetIterationTime(libraryNs.back() * 1e-9);
    }
    state.counters = {{"library", median(libraryNs)}, {"floor", median(floorNs)}};
}

// Prints a row for each number of queues: the ratios by number of frames.
class TableReporter final : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override {
        std::puts("| ratio to the floor (ns / ns) | queues | 16 frames | 64 | 256 |");
        return std::puts("|---|---|---|---|---|") >= 0;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        const benchmark::BenchmarkName& name = runs.front().run_name;  // the arguments are "frames/queues"
        const double ns = runs.front().counters.at("library"), floorNs = runs.front().counters.at("floor");
        if (mCells % kFrameCounts.size() == 0)
            std::printf("| %s | %s |", name.function_name.c_str(), &name.args[name.args.find('/') + 1]);
        std::printf(" %.2f (%.0f / %.0f) |", ns / floorNs, ns, floorNs);
        if (++mCells % kFrameCounts.size() == 0) std::puts("");
    }

private:
    size_t mCells = 0;
};

}  // namespace bench
