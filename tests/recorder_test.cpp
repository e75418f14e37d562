// The recorder before the real plug-in: what the core sees of it, and what is left when recording goes wrong.

#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <new>
#include <numeric>
#include <sstream>
#include <string>
#include <thread>

#include "desk/LogSink.h"
#include "desk/VendorLibraries.h"
#include "hal_core/FrameQueue.h"
#include "hal_core/SelectorPlugin.h"
#include "metadatautils/ZoMetadata.h"
#include "zodebug/Log.h"

namespace {

std::atomic<int64_t> gLive;
thread_local int64_t gToFault = 0;  // the allocation that makes it 0 fails
bool gStruck = false;

}  // namespace

// Not inlined, or the compiler takes malloc() and delete for a mismatch.
__attribute__((noinline)) void* operator new(size_t size) {
    if (gToFault != 0 && --gToFault == 0) {
        gStruck = true;
        throw std::bad_alloc();
    }
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    ++gLive;
    return memory;
}
__attribute__((noinline)) void operator delete(void* memory) noexcept {
    if (memory != nullptr) --gLive;
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept { operator delete(memory); }

namespace {

namespace fs = std::filesystem;
using halcore::Select;

constexpr char kFolder[] = "vendor.zohal.selector.motion.record.dir";

std::shared_ptr<halcore::FrameQueue> makeQueue(uint32_t id, int32_t type, const std::string& name) {
    auto queue = std::make_shared<halcore::FrameQueue>(id, type, name);
    std::vector<uint32_t> frames(61);
    std::iota(frames.begin(), frames.end(), 100);
    queue->setFrameList(zohal::kConsumerList, frames);
    queue->setFrameList(zohal::kProducerList, {161, 162, 163});
    for (uint32_t frame = 100; frame < 164; ++frame) queue->addFrame(frame, {{nullptr, {}, frame * 1000, {}}, 3});
    return queue;
}

zohal::ZSLFrameSelectInfo makeRequest(uint32_t fwkFrame) {
    const auto metadata = std::make_shared<ZoMetadata>();
    metadata->set(0x10029, TYPE_BYTE, 1, {1});
    metadata->set("nexaro.ai.zosd.motionCaptureEnabledIcon", TYPE_BYTE, 1, {4});
    const auto meta = makeQueue(1, zohal::kMetaQueue, "me\x1b[1mta\"");
    return {
        fwkFrame, {110}, 0, {meta, nullptr, meta, makeQueue(2, zohal::kFrameInfoQueue, "info")}, {metadata, metadata}};
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

    static halcore::RequestOutcome serve(halcore::SelectorPlugin& plugin, const zohal::ZSLFrameSelectInfo& request) {
        const zohal::ZSLFrameCheckInfo check{0, request.requestMetas[0], request.fwkFrame, 7, 0, 0, request.zslQueues,
                                             0};
        return plugin.serve(request, Select::kAlways, check, std::nullopt);
    }
    void serveAll(uint32_t count) {
        halcore::SelectorPlugin plugin(RECORDER);
        const auto request = makeRequest(1);
        for (uint32_t i = 0; i < count; ++i) serve(plugin, request);
    }
    std::vector<fs::path> files() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(folder)) found.push_back(entry.path());
        std::sort(found.begin(), found.end(), [](const fs::path& a, const fs::path& b) {
            return std::pair(a.native().size(), a) < std::pair(b.native().size(), b);
        });
        return found;
    }
    static std::string textOf(const fs::path& file) {
        std::ostringstream text;
        text << std::ifstream(file).rdbuf();
        return text.str();
    }
    static int replay(const fs::path& file) {
        const pid_t child = fork();
        if (child == 0) {
            const int nowhere = open("/dev/null", O_WRONLY);
            dup2(nowhere, STDOUT_FILENO);
            dup2(nowhere, STDERR_FILENO);
            execl(ZSL_REPLAY, ZSL_REPLAY, file.c_str(), nullptr);
            _exit(127);
        }
        int status = -1;
        waitpid(child, &status, 0);
        return status;
    }
    static size_t count(const std::string& text, const char* part) {
        size_t found = 0;
        for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
        return found;
    }

    std::string folder;
    std::string log;
};

bool isLoaded(const char* path) {
    void* const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    return handle != nullptr && dlclose(handle) == 0;
}

TEST_F(Recorder, IsGoneWithThePluginWhenItIsUnloaded) {
    for (const char* where : {folder.c_str(), ""}) {
        property_set(kFolder, where);
        serveAll(1);
        EXPECT_FALSE(isLoaded(RECORDER) || isLoaded(PLUGIN)) << where;
    }
    EXPECT_EQ(files().size(), 1U);
    EXPECT_EQ(log, "");
}

TEST_F(Recorder, AnIdleOneHandsOutTheRealSelectorAndKeepsItsLibrary) {
    property_set(kFolder, nullptr);
    void* const library = dlopen(RECORDER, RTLD_NOW);
    using Entry = void(std::vector<std::shared_ptr<zohal::ZSLSelectorBase>>&);
    std::vector<std::shared_ptr<zohal::ZSLSelectorBase>> selectors;
    reinterpret_cast<Entry*>(dlsym(library, "createZSLSelector"))(selectors);
    ASSERT_EQ(selectors.size(), 1U);
    EXPECT_EQ(selectors[0].use_count(), 1);
    Dl_info info{};
    dladdr(*reinterpret_cast<void**>(selectors[0].get()), &info);  // its table
    EXPECT_TRUE(fs::equivalent(info.dli_fname, PLUGIN));
    selectors.clear();
    dlclose(library);
    EXPECT_FALSE(isLoaded(PLUGIN));
}

TEST_F(Recorder, WithoutAPluginItSaysSoAndMakesNoSelector) {
    for (const char* plugin : {"/nowhere.so", RECORDER, LIBRARY}) {
        property_set("vendor.zohal.selector.motion.record.plugin", plugin);
        log.clear();
        EXPECT_THROW(halcore::SelectorPlugin{RECORDER}, halcore::PluginError);
        EXPECT_EQ(count(log, "no selector plug-in to stand before"), 1U) << plugin;
    }
    property_set("vendor.zohal.selector.motion.record.plugin", nullptr);
}

TEST_F(Recorder, ARecordReplays) {
    serveAll(2);
    ASSERT_EQ(files().size(), 1U);
    const std::string text = textOf(files()[0]);
    EXPECT_EQ(text.rfind("recorded: 1\n", 0), 0U);
    EXPECT_NE(text.find("name: \"me\\x1B[1mta\\x22\""), std::string::npos) << text.substr(0, 1000);
    EXPECT_EQ(count(text, "something is left out"), 2U);  // the null handle
    EXPECT_EQ(replay(files()[0]), 0);
}

// The strategy of a word that the adapter gave before the file began still stands while it gives none.
TEST_F(Recorder, AFileOfAThousandRequestsIsFollowedByOneThatKnowsTheState) {
    desk::setVendorLibraryDir(VENDOR_LIBRARIES);
    property_set("desk.adapter.motion", "0x300");
    {
        halcore::SelectorPlugin plugin(RECORDER);
        auto request = makeRequest(1);
        request.zslQueues.resize(1);
        serve(plugin, request);
        property_set("desk.adapter.motion", "empty");
        for (int i = 0; i < 1004; ++i) plugin.serve(request, Select::kGated, std::nullopt, std::nullopt);
    }
    ASSERT_EQ(files().size(), 2U);
    EXPECT_EQ(count(textOf(files()[0]), "# end\n"), 1000U);
    EXPECT_EQ(count(textOf(files()[1]), "# end\n"), 6U);
    EXPECT_EQ(count(textOf(files()[1]), "gate: true\n    selection: {1: ["), 5U);
    for (const auto& file : files()) EXPECT_EQ(replay(file), 0) << file;
}

TEST_F(Recorder, FilesAreBoundedInSizeAndNumber) {
    std::ofstream(folder + "/zsl-1-1.yaml") << "old";
    std::ofstream(folder + "/zsl-1-x.yaml") << "somebody else's";
    {
        halcore::SelectorPlugin plugin(RECORDER);
        auto request = makeRequest(1);
        request.usedZslFrames.assign(200'000, 4);  // takes 600 KB
        for (int i = 0; i < 17 * 7; ++i) serve(plugin, request);
    }
    EXPECT_EQ(files().size(), 17U);
    EXPECT_FALSE(fs::exists(folder + "/zsl-1-1.yaml"));
    for (const auto& file : files()) EXPECT_LT(fs::file_size(file), (4U << 20) + 700'000);
}

TEST_F(Recorder, AFolderThatCannotBeWrittenToCostsOneLine) {
    property_set(kFolder, (folder + "/missing").c_str());
    serveAll(2);
    EXPECT_EQ(log, "recording has stopped: " + folder + "/missing/zsl-" + std::to_string(getpid()) +
                       "-1.yaml: No such file or directory\n");
}

// Every write fails that can: at any byte of the first requests.
TEST_F(Recorder, AFullDiskLeavesAFileThatReplaysAndOneLine) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    for (rlim_t bytes = 0; bytes < 17'000; bytes += 1700) {
        log.clear();
        const rlimit limited{bytes, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limited);
        serveAll(4);
        setrlimit(RLIMIT_FSIZE, &unlimited);
        EXPECT_EQ(count(log, "recording has stopped"), 1U) << bytes << log;
        for (const auto& file : files()) {
            EXPECT_EQ(replay(file), 0) << bytes;
            fs::remove(file);
        }
    }
}

TEST_F(Recorder, AKilledProcessLeavesAFileThatReplays) {
    for (const int ms : {30, 70, 110}) {
        const pid_t child = fork();
        if (child == 0) {
            halcore::SelectorPlugin plugin(RECORDER);
            for (uint32_t i = 0; i < 900; ++i) serve(plugin, makeRequest(i));
            _exit(0);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    for (const auto& file : files()) EXPECT_EQ(replay(file), 0) << file;
    EXPECT_FALSE(files().empty());
}

// Without memory the real selector still answers what it would: where it can, and else by its own exception.
TEST_F(Recorder, EveryAllocationMayFail) {
    const auto request = makeRequest(1);
    const zohal::ZSLFrameCheckInfo check{150, request.requestMetas[0], 1, 7, 0, 0, request.zslQueues, 0};
    const auto calls = {
        +[](zohal::ZSLSelectorBase& selector, const zohal::ZSLFrameSelectInfo& info, const zohal::ZSLFrameCheckInfo&) {
            selector.isSelectorNeeded(info);
        },
        +[](zohal::ZSLSelectorBase& selector, const zohal::ZSLFrameSelectInfo& info, const zohal::ZSLFrameCheckInfo&) {
            EXPECT_EQ(selector.selectZSLFrames(info).at(1).size(), 50U);
        },
        +[](zohal::ZSLSelectorBase& selector, const zohal::ZSLFrameSelectInfo& asked,
            const zohal::ZSLFrameCheckInfo& info) {
            selector.isSelectorNeeded(asked);
            EXPECT_FALSE(selector.checkFrame(info).first);
        }};
    for (const auto& call : calls) {
        const auto references = request.zslQueues[0].use_count() + request.requestMetas[0].use_count();
        int stopped = 0;
        for (int64_t nth = 1;; ++nth) {
            log.clear();
            const int64_t live = gLive;
            {
                auto plugin = std::make_unique<halcore::SelectorPlugin>(RECORDER);
                gStruck = false;
                gToFault = nth;
                try {
                    call(plugin->selector(), request, check);
                    plugin.reset();                // writes
                } catch (const std::bad_alloc&) {  // the real selector's own
                }
                gToFault = 0;
            }
            stopped += static_cast<int>(count(log, "recording has stopped"));
            log.clear();
            log.shrink_to_fit();
            EXPECT_EQ(references, request.zslQueues[0].use_count() + request.requestMetas[0].use_count()) << nth;
            EXPECT_LE(gLive, live + 1) << nth;
            if (!gStruck) break;
            ASSERT_LT(nth, 100'000);
        }
        EXPECT_GT(stopped, 20);
    }
}

TEST_F(Recorder, TwoThreadsRecordTwoSelectors) {
    void* const library = dlopen(RECORDER, RTLD_NOW);
    using Entry = void(std::vector<std::shared_ptr<zohal::ZSLSelectorBase>>&);
    {
        std::vector<std::shared_ptr<zohal::ZSLSelectorBase>> selectors;
        for (int i = 0; i < 2; ++i) reinterpret_cast<Entry*>(dlsym(library, "createZSLSelector"))(selectors);
        const auto run = [](zohal::ZSLSelectorBase& selector) {
            for (uint32_t i = 0; i < 50; ++i) {
                const auto request = makeRequest(i);
                selector.isSelectorNeeded(request);
                EXPECT_FALSE(selector.selectZSLFrames(request).empty());
            }
        };
        std::thread other(run, std::ref(*selectors[1]));
        run(*selectors[0]);
        other.join();
    }
    dlclose(library);
    EXPECT_EQ(files().size(), 2U);
    for (const auto& file : files()) EXPECT_EQ(replay(file), 0) << file;
}

}  // namespace
