#include "benchmarks/Comparison.h"

#include <cmath>
#include <cstdio>

namespace {

// Prints the line that deviates least, relatively: small requests count as much as large ones.
void printLine(const std::map<double, double>& nsByCount) {
    double w = 0, wx = 0, wy = 0, wxx = 0, wxy = 0;
    for (const auto& [x, y] : nsByCount) {
        const double weight = 1 / (y * y);
        w += weight;
        wx += weight * x;
        wy += weight * y;
        wxx += weight * x * x;
        wxy += weight * x * y;
    }
    const double slope = (w * wxy - wx * wy) / (w * wxx - wx * wx);
    const double start = (wy - slope * wx) / w;
    double deviation = 0;
    for (const auto& [x, y] : nsByCount) deviation = std::max(deviation, std::fabs(start + slope * x - y) / y);
    std::printf(" %.0f + %.2f n (%.0f %%) |", start, slope, 100 * deviation);
}

}  // namespace

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const std::string& name = run.run_name.function_name;
        const auto counter = [&run](const char* key) { return run.counters.at(key).value; };
        if (mCells.count(name) == 0) mNames.push_back(name);
        mCells[name][counter("queues")][counter("frames")] = {counter("library"), counter("floor")};
    }
}

void TableReporter::Finalize() {
    std::printf("| ratio to the floor (ns / ns) | queues | 16 frames | 64 | 256 | 1024 |\n|---|---|---|---|---|---|\n");
    for (const std::string& name : mNames) {
        for (const auto& [queues, row] : mCells[name]) {
            std::printf("| %s | %.0f |", name.c_str(), queues);
            for (const auto& [frames, ns] : row) {
                std::printf(" %.2f (%.0f / %.0f) |", ns.first / ns.second, ns.first, ns.second);
            }
            std::printf("\n");
        }
    }
    std::printf("\n| ns as a line (largest deviation) | n frames, 3 queues | n queues, 64 frames |\n|---|---|---|\n");
    for (const std::string& name : mNames) {
        std::map<double, double> byFrames, byQueues;
        for (const auto& [queues, row] : mCells[name]) {
            for (const auto& [frames, ns] : row) {
                if (queues == 3) byFrames[frames] = ns.first;
                if (frames == 64) byQueues[queues] = ns.first;
            }
        }
        if (byFrames.size() < 3 || byQueues.size() < 3) continue;  // two points fit any line
        std::printf("| %s |", name.c_str());
        printLine(byFrames);
        printLine(byQueues);
        std::printf("\n");
    }
}
