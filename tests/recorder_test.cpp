// The recorder before the real plug-in: what the core sees of it, and what is left when recording goes wrong.

#include <cutils/properties.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <set>
#include <string>
#include <thread>

#include "desk/LogSink.h"
#include "desk/VendorLibraries.h"
#include "hal_core/FrameQueue.h"
#include "hal_core/SelectorPlugin.h"
#include "metadatautils/ZoMetadata.h"
#include "zodebug/Log.h"

namespace {

namespace fs = std::filesystem;
using halcore::Select;
using halcore::SelectorPlugin;
using zohal::ZSLFrameSelectInfo;

constexpr char kFolder[] = "vendor.zohal.selector.motion.record.dir";
constexpr char kMayDiffer[] = "# it may not replay exactly";

std::shared_ptr<halcore::FrameQueue> makeQueue(uint32_t id, int32_t type, const std::string& name) {
    auto queue = std::make_shared<halcore::FrameQueue>(id, type, name);
    std::vector<uint32_t> frames(61);
    std::iota(frames.begin(), frames.end(), 100);
    queue->setFrameList(zohal::kConsumerList, frames);
    queue->setFrameList(zohal::kProducerList, {161, 162, 163});
    for (uint32_t frame = 100; frame < 164; ++frame) queue->addFrame(frame, {{nullptr, {}, frame * 1000, {}}, 3});
    return queue;
}

ZSLFrameSelectInfo makeRequest(uint32_t fwkFrame) {
    const auto metadata = std::make_shared<ZoMetadata>();
    metadata->set(0x10029, TYPE_BYTE, 1, {1});
    metadata->set("nexaro.ai.zosd.motionCaptureEnabledIcon", TYPE_BYTE, 1, {4});
    metadata->set("nexaro.hdr.enabled", TYPE_RATIONAL, 50, std::vector<uint8_t>(400));
    const auto meta = makeQueue(1, zohal::kMetaQueue, "me\x1b[1mta\"\xC2\x9B\xC3\xA9");
    return {fwkFrame, {110}, 0, {meta, meta, makeQueue(2, zohal::kFrameInfoQueue, "info")}, {metadata, metadata}};
}

zohal::ZSLFrameCheckInfo makeCheck(const ZSLFrameSelectInfo& request, uint32_t frame) {
    return {frame, request.requestMetas[0], request.fwkFrame, 7, 0, 0, request.zslQueues, 0};
}

void serve(SelectorPlugin& plugin, const ZSLFrameSelectInfo& request) {
    plugin.serve(request, Select::kAlways, makeCheck(request, 0));
}

void serveAll(uint32_t count) {
    SelectorPlugin plugin(RECORDER);
    const auto request = makeRequest(1);
    for (uint32_t i = 0; i < count; ++i) serve(plugin, request);
}

size_t count(const std::string& text, const char* part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

std::string textOf(const fs::path& file) {
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
}

// A folder to record to, and what came of it.
class Recorder : public ::testing::Test {
protected:
    Recorder() {
        property_set("vendor.zohal.selector.motion.zsl.disable", "0");
        zodebug::gZoCamLogGroup = 0;
        desk::setLogSink([this](const desk::LogLine& line) { log += line.message + '\n'; });
        char name[] = "/tmp/recXXXXXX";
        folder = mkdtemp(name);
        property_set(kFolder, folder.c_str());
    }
    ~Recorder() override {
        fs::remove_all(folder);
        property_set(kFolder, nullptr);
        property_set("desk.adapter.motion", nullptr);
        desk::setLogSink(nullptr);
        desk::setVendorLibraryDir("");
    }

    std::set<fs::path> files() const { return {fs::directory_iterator(folder), fs::directory_iterator()}; }
    void expectThatAllReplay() const {
        for (const auto& file : files()) {
            EXPECT_EQ(std::system(("'" ZSL_REPLAY "' >/dev/null " + file.string()).c_str()), 0) << file;
        }
    }

    std::string folder;
    std::string log;
};

TEST_F(Recorder, IsGoneWithThePluginWhenItIsUnloaded) {
    for (const char* where : {folder.c_str(), ""}) {
        property_set(kFolder, where);
        serveAll(1);
        EXPECT_FALSE(SelectorPlugin::isMapped(RECORDER) || SelectorPlugin::isMapped(PLUGIN)) << where;
    }
    EXPECT_EQ(files().size(), 1U);
    EXPECT_EQ(log, "");
}

TEST_F(Recorder, AnIdleOneHandsOutTheRealSelector) {
    property_set(kFolder, nullptr);
    SelectorPlugin plugin(RECORDER);
    Dl_info info{};
    dladdr(*reinterpret_cast<void**>(&plugin.selector()), &info);  // its table
    EXPECT_TRUE(fs::equivalent(info.dli_fname, PLUGIN));
}

TEST_F(Recorder, WithoutAPluginItSaysSoAndMakesNoSelector) {
    for (const char* plugin : {"/nowhere.so", RECORDER, LIBRARY}) {
        property_set("vendor.zohal.selector.motion.record.plugin", plugin);
        log.clear();
        EXPECT_THROW(SelectorPlugin{RECORDER}, halcore::PluginError);
        EXPECT_EQ(count(log, "no selector plug-in to stand before"), 1U) << plugin;
    }
    property_set("vendor.zohal.selector.motion.record.plugin", nullptr);
}

TEST_F(Recorder, ARecordReplays) {
    serveAll(2);
    ASSERT_EQ(files().size(), 1U);
    const std::string text = textOf(*files().begin());
    EXPECT_EQ(text.rfind("recorded: 1\n", 0), 0U);
    EXPECT_NE(text.find("name: \"me\\x1B[1mta\\x22\\x9B\xC3\xA9\""), std::string::npos) << text.substr(0, 2000);
    EXPECT_NE(text.find("# cut, of 50 values\n"), std::string::npos);
    EXPECT_EQ(count(text, kMayDiffer), 0U);
    expectThatAllReplay();
}

// What the core does between selection and check.
TEST_F(Recorder, ARecordSaysWhereItMayNotReplay) {
    const auto changes = {
        +[](ZSLFrameSelectInfo& info) { static_cast<halcore::FrameQueue&>(*info.zslQueues[2]).dropFrame(150); },
        +[](ZSLFrameSelectInfo& info) { info.requestMetas[0] = nullptr; },
        +[](ZSLFrameSelectInfo& info) { info.zslQueues.push_back(nullptr); },
        +[](ZSLFrameSelectInfo& info) { ++info.fwkFrame; }};
    {
        SelectorPlugin plugin(RECORDER);
        for (const auto& change : changes) {
            auto request = makeRequest(1);
            plugin.serve(request, Select::kAlways, makeCheck(request, 0), {{149}});
            change(request);
            plugin.selector().checkFrame(makeCheck(request, 150));
        }
    }
    EXPECT_EQ(count(textOf(*files().begin()), kMayDiffer), changes.size());
}

// The strategy of a word that the adapter gave before the file began still stands while it gives none.
TEST_F(Recorder, AFileOfAThousandRequestsIsFollowedByOneThatKnowsTheState) {
    desk::setVendorLibraryDir(VENDOR_LIBRARIES);
    property_set("desk.adapter.motion", "0x300");
    {
        SelectorPlugin plugin(RECORDER);
        auto request = makeRequest(1);
        request.zslQueues.resize(1);
        serve(plugin, request);
        property_set("desk.adapter.motion", "empty");
        for (int i = 0; i < 1004; ++i) plugin.serve(request, Select::kGated, std::nullopt, std::nullopt);
    }
    ASSERT_EQ(files().size(), 2U);
    EXPECT_EQ(count(textOf(*files().begin()), "# end\n"), 1000U);
    EXPECT_EQ(count(textOf(*files().rbegin()), "# end\n"), 6U);
    EXPECT_EQ(count(textOf(*files().rbegin()), "gate: true\n    selection: {1: ["), 5U);
    expectThatAllReplay();
}

TEST_F(Recorder, FilesAreBoundedInSizeAndNumber) {
    std::ofstream(folder + "/zsl-1-1.yaml") << "old";
    std::ofstream(folder + "/zsl-1-x.yaml") << "somebody else's";
    {
        SelectorPlugin plugin(RECORDER);
        auto request = makeRequest(1);
        request.usedZslFrames.assign(200'000, 4);  // takes 600 KB
        for (int i = 0; i < 17 * 7; ++i) serve(plugin, request);
    }
    EXPECT_EQ(files().size(), 17U);
    EXPECT_FALSE(fs::exists(folder + "/zsl-1-1.yaml"));
    for (const auto& file : files()) EXPECT_LT(fs::file_size(file), (4U << 20) + 700'000);
}

TEST_F(Recorder, TwoThreadsRecordTwoSelectors) {
    {
        SelectorPlugin one(RECORDER), two(RECORDER);
        const auto run = [](SelectorPlugin& plugin) {
            for (uint32_t i = 0; i < 50; ++i) serve(plugin, makeRequest(i));
        };
        std::thread other(run, std::ref(two));
        run(one);
        other.join();
    }
    EXPECT_EQ(files().size(), 2U);
    expectThatAllReplay();
}

}  // namespace
