// What the recorder costs a request: gate, selection and a check of every chosen frame, 3 queues of 64 frames, with it
// idle, with it recording, and without it.

#include <cutils/properties.h>
#include <desk/LogSink.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "benchmarks/Capture.h"
#include "hal_core/SelectorPlugin.h"
#include "zodebug/Log.h"

namespace {

// The median of a few thousand requests, in microseconds.
double cost(const char* plugin, const char* folder, const bench::Capture& capture) {
    property_set("vendor.zohal.selector.motion.record.dir", folder);
    halcore::SelectorPlugin loaded(plugin);
    std::vector<double> times(3000);
    for (double& time : times) {
        const auto begin = std::chrono::steady_clock::now();
        loaded.serve(capture.request, halcore::Select::kAlways, capture.check, std::nullopt);
        time = std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
    }
    std::nth_element(times.begin(), times.begin() + times.size() / 2, times.end());
    return times[times.size() / 2];
}

}  // namespace

int main() {
    zodebug::gZoCamLogGroup = zodebug::gZoCamDebugMask = 0;
    property_set("vendor.zohal.selector.motion.zsl.disable", "0");
    char folder[] = "/tmp/recXXXXXX";
    if (mkdtemp(folder) == nullptr) return EXIT_FAILURE;
    bench::Capture capture(bench::kPlain, 64, 3);
    capture.setPlatform();
    capture.check.fwkFrameNum = capture.request.fwkFrame;
    capture.check.zslQueues = capture.request.zslQueues;
    const double without = cost(ZSL_PLUGIN, nullptr, capture);
    const double idle = cost(ZSL_RECORDER, nullptr, capture);
    const double recording = cost(ZSL_RECORDER, folder, capture);
    std::printf("a request takes %.1f us, %.1f us behind an idle recorder, %.1f us recorded: %.1f us more\n", without,
                idle, recording, recording - without);
    std::filesystem::remove_all(folder);
    return recording - without <= 100 ? EXIT_SUCCESS : EXIT_FAILURE;
}
