// What the selector costs beside the floor, as a table; or, with --soak N, what N requests do to the memory.

#include <desk/VendorLibraries.h>
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <thread>

#include "benchmarks/Comparison.h"
#include "benchmarks/Floor.h"
#include "external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.h"

namespace {

using lean::Capture;
using lean::FrameList;
using lean::Mode;
using Selector = MotionZSLSelector;

enum class Log { kShut, kOpen };

// As the HAL core sees it: by its contract only.
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
    Capture capture;
    lean::Floor floor{capture, choose(capture), cameraAdapter()};
    std::shared_ptr<zohal::ZSLFrameQueue> metaQueue = capture.request.zslQueues.front();
};

template <typename Library, typename Floor>
void add(const char* name, Mode mode, Library library, Floor floor, Log log = Log::kShut) {
    auto* const added = benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
        Scene scene{{mode, static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1))}};
        lean::openLog(log == Log::kOpen);
        compare(
            state, [&] { return library(scene); }, [&] { return floor(scene); });
        lean::openLog(false);
    });
    added->Iterations(kRounds)->UseManualTime();
    for (const int queues : {1, 3, 8}) {
        if (log == Log::kOpen && queues != 3) continue;
        for (const int frames : {16, 64, 256, 1024}) added->Args({frames, queues});
    }
}

// The floor of a strategy makes its calls and has the list grow once.
template <typename Strategy, typename Calls>
void addStrategy(const char* name, Mode mode, Strategy strategy, Calls calls) {
    const auto library = [strategy](Scene& scene) {
        FrameList selectList;
        (static_cast<Selector&>(selector()).*strategy)(1, scene.capture.request, scene.metaQueue, selectList,
                                                       scene.capture.zsdTs, 0);
        return selectList;
    };
    const auto floor = [calls](Scene& scene) {
        calls(scene);
        return FrameList(scene.floor.selection());
    };
    add(name, mode, library, floor);
}

void addBenchmarks() {
    const auto select = [](Scene& scene) { return selector().selectZSLFrames(scene.capture.request); };
    const auto selectFloor = [](Scene& scene) { return scene.floor.selectZSLFrames(scene.capture.request); };
    for (const Mode mode : lean::kModes) add(lean::modeName(mode), mode, select, selectFloor);
    add("plain, log open", lean::kPlain, select, selectFloor, Log::kOpen);
    add("LBMF HDR, log open", lean::kLbmfHdr, select, selectFloor, Log::kOpen);
    add("banding, log open", lean::kBanding, select, selectFloor, Log::kOpen);

    add(
        "gate", lean::kLbmfHdr, [](Scene& scene) { return selector().isSelectorNeeded(scene.capture.request); },
        [](Scene& scene) { return scene.floor.isSelectorNeeded(scene.capture.request); });
    add(
        "checkFrame", lean::kPlain, [](Scene& scene) { return selector().checkFrame(scene.capture.check); },
        [](Scene& scene) { return scene.floor.checkFrame(scene.capture.check); });

    const auto anchorSearch = [](Scene& scene) {
        scene.floor.callsOfAnchorSearch(scene.capture.request, *scene.metaQueue);
    };
    const auto normal = [](Scene& scene) { scene.floor.callsOfNormal(scene.metaQueue); };
    const auto groups = [](Scene& scene) { scene.floor.callsOfGroups(scene.metaQueue); };
    const auto banding = [](Scene& scene) { scene.floor.callsOfBanding(scene.metaQueue); };
    addStrategy("ForZeroShutterDelay", lean::kPlain, &Selector::selectZSLFramesForZeroShutterDelay, anchorSearch);
    addStrategy("ForNormal", lean::kPlain, &Selector::selectZSLFramesForNormal, normal);
    addStrategy("ForLbmfAndHdr", lean::kLbmfHdr, &Selector::selectFramesForLbmfAndHdr, groups);
    addStrategy("ForBinningAndHdr", lean::kBinningHdr, &Selector::selectFramesForBinningAndHdr, groups);
    addStrategy("ForSNSCBinning1", lean::kBanding, &Selector::selectZSLFramesForSNSCBinning1, banding);
    addStrategy("ForSNSCBinning2", lean::kPlain, &Selector::selectZSLFramesForSNSCBinning2, anchorSearch);
}

// Without the pages of files, which are mapped as code is first run.
long residentKiB() {
    long total = 0, resident = 0, ofFiles = 0;
    std::ifstream("/proc/self/statm") >> total >> resident >> ofFiles;
    return (resident - ofFiles) * (sysconf(_SC_PAGESIZE) / 1024);
}

// Requests of every mode in turn through the one selector. What the first tenth leaves behind must be all there is.
int soak(long requests) {
    std::vector<Capture> captures;
    for (const Mode mode : lean::kModes) captures.emplace_back(mode, 64, 3);
    long warm = 0;
    for (long i = 0; i < requests; ++i) {
        if (i == requests / 10) warm = residentKiB();
        const Capture& capture = captures[static_cast<size_t>(i) % captures.size()];
        choose(capture);
        selector().checkFrame(capture.check);
    }
    const long end = residentKiB();
    std::printf("%ld requests: %ld KiB resident after a tenth, %ld KiB at the end\n", requests, warm, end);
    return end > warm ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    desk::setVendorLibraryDir(ZSL_VENDOR_LIBRARIES);
    lean::openLog(false);
    // A HAL has many threads, so handles are counted atomically. Standard libraries do without in a process that never
    // had a second one.
    std::thread([] {}).join();
    if (argc == 3 && std::strcmp(argv[1], "--soak") == 0) return soak(std::atol(argv[2]));

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    addBenchmarks();
    TableReporter table;
    benchmark::RunSpecifiedBenchmarks(&table);
    return 0;
}
