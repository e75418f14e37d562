// The plug-in loaded and unloaded on a desk: its switch, the life of the adapter library, threads.

#include <cutils/properties.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <thread>

#include "desk/LogSink.h"
#include "hal_core/FrameQueue.h"
#include "hal_core/SelectorPlugin.h"
#include "metadatautils/ZoMetadata.h"
#include "zodebug/Log.h"

namespace {

using halcore::SelectorPlugin;

constexpr char kAdapterPath[] = "/vendor/lib64/libzocamera_adapter.so";
constexpr char kSwitch[] = "vendor.zohal.selector.motion.zsl.disable";

const char* gAdapter = "";          // what stands under the adapter's path: a file, or nothing
std::atomic<int> gTries, gOpen;     // of adapter libraries
std::atomic<void*> gAdapterHandle;  // the one opened last

}  // namespace

extern "C" void* dlopen(const char* path, int flags) noexcept {
    static const auto next = reinterpret_cast<void* (*)(const char*, int)>(dlsym(RTLD_NEXT, "dlopen"));
    if (path == nullptr || std::string(path) != kAdapterPath) return next(path, flags);
    EXPECT_EQ(flags, RTLD_NOW | RTLD_GLOBAL);
    ++gTries;
    void* const handle = next(*gAdapter != '\0' ? gAdapter : path, flags);
    if (handle != nullptr) ++gOpen, gAdapterHandle = handle;
    return handle;
}

extern "C" int dlclose(void* handle) noexcept {
    static const auto next = reinterpret_cast<int (*)(void*)>(dlsym(RTLD_NEXT, "dlclose"));
    if (handle == gAdapterHandle) --gOpen, gAdapterHandle = nullptr;  // another library may get the same handle
    return next(handle);
}

namespace {

zohal::ZSLFrameSelectInfo motionRequest() {
    const auto metadata = std::make_shared<ZoMetadata>();
    metadata->set(0x10029, TYPE_BYTE, 1, {1});
    metadata->set("nexaro.ai.zosd.motionCaptureEnabledIcon", TYPE_BYTE, 1, {4});
    const auto queue = std::make_shared<halcore::FrameQueue>(1, zohal::kMetaQueue, "meta");
    queue->setFrameList(zohal::kConsumerList, {7});
    queue->addFrame(7, {{nullptr, {}, 1, {}}, 0});
    return {1, {}, 0, {queue}, {metadata}};
}

TEST(Desk, SwitchIsReadAtEachLoad) {
    const std::map<std::string, bool> enabled = {{"", false}, {"yes", false}, {"maybe", false}, {"off", true}};
    gAdapter = DESK_ADAPTER;
    property_set("desk.adapter.motion", "0x300");
    for (const auto& [word, needed] : enabled) {
        property_set(kSwitch, word.empty() ? nullptr : word.c_str());
        {
            SelectorPlugin plugin(PLUGIN);
            property_set(kSwitch, needed ? "1" : "0");
            EXPECT_EQ(plugin.selector().isSelectorNeeded(motionRequest()), needed) << word;
        }
        ASSERT_FALSE(SelectorPlugin::isMapped(PLUGIN)) << word;
    }
}

TEST(Desk, AdapterIsOpenedOnceAndClosedAfterEveryFailure) {
    const struct {
        bool reload;  // the plug-in first
        const char* adapter;
        const char* motion;  // what the desk's adapter answers
        const char* seen;    // how the gate's message ends; tries, calls of Init(), open libraries
    } gates[] = {{true, DESK_ADAPTER, "0x300", "motionStrategy: 3, isMotionBanding: 1; 1 1 1"},
                 {false, DESK_ADAPTER, "0x500", "motionStrategy: 5, isMotionBanding: 0; 0 0 1"},
                 {false, "", "0xF200", "motionStrategy: 2, isMotionBanding: 1; 0 0 1"},
                 {true, "", "0x300", "motionStrategy: 0, isMotionBanding: 0; 2 0 0"},
                 {false, DESK_ADAPTER, "0x300", "motionStrategy: 3, isMotionBanding: 1; 1 1 1"},
                 {true, ENTRYLESS, "", "motionStrategy: 0, isMotionBanding: 0; 2 0 0"},
                 {true, DESK_ADAPTER, "unavailable", "motionStrategy: 0, isMotionBanding: 0; 2 0 0"}};
    std::optional<SelectorPlugin> plugin;
    std::string seen;
    zodebug::gZoCamLogGroup = 0x40;
    desk::setLogSink([&seen](const desk::LogLine& line) { seen = line.message; });
    property_set(kSwitch, "0");
    for (const auto& gate : gates) {
        SCOPED_TRACE("row " + std::to_string(&gate - gates));
        if (gate.reload) {
            plugin.reset();
            EXPECT_EQ(gOpen, 0);
            EXPECT_FALSE(SelectorPlugin::isMapped(PLUGIN) || SelectorPlugin::isMapped(DESK_ADAPTER));
            plugin.emplace(PLUGIN);
        }
        gAdapter = gate.adapter;
        gTries = 0;
        property_set("desk.adapter.motion", gate.motion);
        property_set("desk.adapter.init", "0");
        plugin->selector().isSelectorNeeded(motionRequest());
        seen.erase(0, seen.find("motionStrategy"));
        char inits[PROPERTY_VALUE_MAX];
        property_get("desk.adapter.init", inits, "");
        EXPECT_EQ(seen + "; " + std::to_string(gTries) + ' ' + inits + ' ' + std::to_string(gOpen), gate.seen);
    }
    desk::setLogSink(nullptr);
}

// A frame is in neither list for a moment while it goes from the producers to the consumers: only a core that has it in
// both may see it chosen twice.
TEST(Desk, FramesComeAndGoWhileASelectorReads) {
    property_set(kSwitch, "0");
    gAdapter = DESK_ADAPTER;
    SelectorPlugin plugin(PLUGIN);
    const auto queue = std::make_shared<halcore::FrameQueue>(1, zohal::kMetaQueue, "meta");
    std::atomic<uint32_t> newest = 0;
    std::atomic<bool> stop = false;
    std::thread camera([&] {
        for (uint32_t frame = 32; !stop; newest = frame++) {
            queue->addFrame(frame, {{nullptr, {}, frame, {}}, 0});
            std::vector<uint32_t> delivered(21);
            std::iota(delivered.begin(), delivered.end(), frame - 24);
            queue->setFrameList(zohal::kProducerList, {frame - 3, frame - 2, frame - 1, frame});
            queue->setFrameList(zohal::kConsumerList, delivered);
            if (frame > 32 + 24) queue->dropFrame(frame - 24);
        }
    });
    while (newest < 60) std::this_thread::yield();  // until the lists have their frames
    auto request = motionRequest();
    request.zslQueues = {queue};
    request.requestMetas.resize(4);
    for (const char* motion : {"0x0", "0x300"}) {
        property_set("desk.adapter.motion", motion);
        for (int i = 0; i < 500; ++i) {
            const uint32_t before = newest;
            for (const auto& [id, frames] : plugin.serve(request, halcore::Select::kAlways, std::nullopt).selection) {
                EXPECT_TRUE(std::is_sorted(frames.begin(), frames.end()));
                EXPECT_EQ(std::adjacent_find(frames.begin(), frames.end()), frames.end());
                EXPECT_TRUE(frames.empty() || (frames.front() + 25 >= before && frames.back() <= newest + 1));
            }
        }
    }
    stop = true;
    camera.join();
}

}  // namespace
