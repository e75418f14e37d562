// What the selector costs beside the floor, as a table; or, with --soak N, what N requests do to the memory.

#include <dlfcn.h>
#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <thread>

#include "benchmarks/Comparison.h"
#include "benchmarks/Floor.h"
#include "external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.h"
#include "zodebug/Log.h"

// The channels' levels are what shuts them.
static void shutLog() {
    zodebug::gZoCamLogGroup = zodebug::gZoCamOfflineLogGroup = zodebug::gZoCamDebugMask = ~0U;
    zodebug::gZoCamLogLevel = zodebug::gZoCamOfflineLogLevel = 5;
}

namespace bench {

zohal::ZSLSelectorBase& selector() {
    static std::vector<std::shared_ptr<zohal::ZSLSelectorBase>> selectors;
    if (selectors.empty()) createZSLSelector(selectors);
    return *selectors.front();
}

CameraAdapter* cameraAdapter() {
    static void* const library = dlopen("/vendor/lib64/libzocamera_adapter.so", RTLD_NOW);
    return reinterpret_cast<GetCameraAdapter*>(dlsym(library, "GetInstance"))();
}

// Walks the capture through gate and selection, and leaves the selector set for its mode.
FrameList choose(const Capture& capture) {
    capture.setPlatform();
    selector().isSelectorNeeded(capture.request);
    const zohal::SelectionResult result = selector().selectZSLFrames(capture.request);
    if (result.empty()) std::abort();
    return result.begin()->second;
}

struct Scene {
    Scene(Mode mode, uint32_t frames, uint32_t queues) : capture(mode, frames, queues) {}

    Capture capture;
    Floor floor{capture, choose(capture), cameraAdapter()};
};

template <typename LibraryCall, typename FloorCall>
benchmark::internal::Benchmark* add(const std::string& name, Mode mode, LibraryCall library, FloorCall floor) {
    const auto run = [=](benchmark::State& state) {
        std::deque<Scene> scenes;
        for (int i = 0; i < kScenes; ++i) {
            scenes.emplace_back(mode, static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1)));
        }
        compare(state, scenes, library, floor);
    };
    return benchmark::RegisterBenchmark(name.c_str(), run)->Iterations(kRounds)->UseManualTime();
}

void addBenchmarks() {
    const auto select = [](Scene& scene) { return selector().selectZSLFrames(scene.capture.request); };
    const auto floor = [](Scene& scene) { return scene.floor.selectZSLFrames(scene.capture.request); };
    for (const Mode mode : kModes)
        add(kModeNames[mode], mode, select, floor)->ArgsProduct({kFrameCounts, kQueueCounts});
    const auto gate = [](Scene& scene) { return selector().isSelectorNeeded(scene.capture.request); };
    const auto gateFloor = [](Scene& scene) { return scene.floor.isSelectorNeeded(scene.capture.request); };
    add("gate", kLbmfHdr, gate, gateFloor)->ArgsProduct({kFrameCounts, {3}});
    const auto check = [](Scene& scene) { return selector().checkFrame(scene.capture.check); };
    const auto checkFloor = [](Scene& scene) { return scene.floor.checkFrame(scene.capture.check); };
    add("checkFrame", kPlain, check, checkFloor)->ArgsProduct({kFrameCounts, {3}});
}

// Requests of every mode in turn through the one selector. What the first tenth leaves on the heap must be all there
// is.
int soak(long requests) {
    std::vector<Capture> captures;
    for (const Mode mode : kModes) captures.emplace_back(mode, 64, 3);
    size_t warm = 0;
    for (long i = 0; i < requests; ++i) {
        if (i == requests / 10) warm = mallinfo2().uordblks;
        const Capture& capture = captures[static_cast<size_t>(i) % captures.size()];
        choose(capture);
        selector().checkFrame(capture.check);
    }
    const size_t end = mallinfo2().uordblks;
    std::printf("%ld requests: %zu bytes of heap in use after a tenth, %zu at the end\n", requests, warm, end);
    return end > warm ? 1 : 0;
}

}  // namespace bench

int main(int argc, char** argv) {
    shutLog();
    // A HAL has many threads, so handles are counted atomically. Standard libraries do without in a process that never
    // had a second one.
    std::thread([] {}).join();
    if (argc == 3 && std::strcmp(argv[1], "--soak") == 0) return bench::soak(std::atol(argv[2]));
    benchmark::Initialize(&argc, argv);
    bench::addBenchmarks();
    bench::TableReporter table;
    benchmark::RunSpecifiedBenchmarks(&table);
}
