#include "fuzz/HostileCore.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>
#include <utils/Timers.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <numeric>
#include <tuple>
#include <utility>

#include "adapter/AdapterClient.h"
#include "external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.h"
#include "metadatautils/StaticMetadataWraper.h"
#include "metadatautils/ZoMetadata.h"
#include "recorder/Recorder.h"
#include "zodebug/Log.h"

namespace {

using adapter::AdapterClient;
using FrameList = std::vector<uint32_t>;

struct CoreFault {};  // what the core throws

void require(bool kept, const char* promise) {
    if (kept) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

// What a call into the library starts from and, when a fault has struck, starts from again.
struct State {
    const uint8_t* input = nullptr;
    size_t left = 0;
    uint64_t digest = 0xcbf29ce484222325;
    int openLibraries = 0;
    int givenUp = 0;      // of these, by an exception of the adapter's
    bool thrown = false;  // on a whim, in the current call

    // Zeros follow the input's end: every answer drawn as 0 is a dull one.
    template <typename T = uint8_t>
    T draw() {
        T value{};
        const size_t size = std::min(sizeof(T), left);
        if (size != 0) std::memcpy(&value, input, size);
        input += size;
        left -= size;
        return value;
    }
    // Mostly small, now and then anything.
    uint32_t number() {
        const auto small = draw();
        return small < 0xF0 ? small : draw<uint32_t>();
    }
    void add(uint32_t value) { digest = (digest ^ value) * 0x100000001b3; }
    void add(const FrameList& list) {
        std::for_each(list.begin(), list.end(), [this](uint32_t frame) { add(frame); });
    }
    void add(const char* text) {
        while (*text != '\0') add(static_cast<uint8_t>(*text++));
    }
};

FrameList gHandedOut;
uint64_t gCoreCallsToFault = 0;
uint64_t gWritesToFault = 0;
constexpr char kPlugin[] = "the plug-in behind the recorder";
bool gHookTakes = false;
std::unique_ptr<zohal::ZSLFrameEntry> gEntry;  // what was handed out last, the next time it is gone
std::unique_ptr<uint8_t[]> gPayload;

// With a recorder in front, the core answers it from a copy: what the recorder asks before the library is called and
// after that has answered leaves no trace.
bool gRecorded = false;
State gLibrarys, gRecorders;
State* gNow = &gLibrarys;

// Whose turn it is.
struct Turn {
    explicit Turn(State& whose) : mBefore(std::exchange(gNow, &whose)) {}
    ~Turn() { gNow = mBefore; }

private:
    State* const mBefore;
};

// A call of the core's that a recorder may pass on.
struct Crossing : Turn {
    Crossing() : Turn(gRecorded ? gRecorders = gLibrarys : gLibrarys) {}
};

// The library's part of it.
struct Inside : Turn {
    Inside() : Turn(gLibrarys) {}
    ~Inside() { gRecorders = gLibrarys; }
};

struct BehindRecorder final : public MotionZSLSelector {
    bool isSelectorNeeded(const zohal::ZSLFrameSelectInfo& info) override {
        const Inside inside;
        return MotionZSLSelector::isSelectorNeeded(info);
    }
    zohal::ZSLSelectorResult checkFrame(const zohal::ZSLFrameCheckInfo& info) override {
        const Inside inside;
        return MotionZSLSelector::checkFrame(info);
    }
    zohal::SelectionResult selectZSLFrames(const zohal::ZSLFrameSelectInfo& info) override {
        const Inside inside;
        return MotionZSLSelector::selectZSLFrames(info);
    }
};

MotionZSLSelector* gMade = nullptr;  // by the latest call of the entry

void createBehindRecorder(recorder::Selectors& selectors) {
    const Inside inside;
    const auto made = std::make_shared<BehindRecorder>();
    selectors.push_back(made);
    gMade = made.get();
}

// Of every operation that may throw.
uint8_t mood() {
    if (!hostile::isOutside() && gCoreCallsToFault != 0 && --gCoreCallsToFault == 0) {
        ++hostile::gFaultsStruck;
        throw CoreFault();
    }
    const auto drawn = gNow->draw();
    if (drawn != 0xFF) return drawn;
    gNow->thrown = true;
    throw CoreFault();
}

// What the adapter throws. The type's code is in the adapter's library.
struct AdapterFault : CoreFault {
    ~AdapterFault() { require(gNow->openLibraries > 0, "a library is open as long as an exception of its lives"); }
};

// Of every operation of the adapter; what throws out of the load leaves it half opened.
uint8_t adapterMood(bool loading = false) try { return mood(); } catch (const CoreFault&) {
    if (loading) ++gNow->givenUp;
    throw AdapterFault();
}

struct HostileQueue final : public zohal::ZSLFrameQueue {
    HostileQueue() : mType(gNow->draw() % 4), mId(gNow->number()), mFirst(gNow->draw<uint32_t>()) {
        for (FrameList& list : mLists) {
            list.resize(gNow->draw() % 32U);
            std::iota(list.begin(), list.end(), mFirst + gNow->draw() % 8U);
        }
    }

    int32_t getQueueType() const override { return mood(), mType; }
    void reservedForHalCore() override { require(false, "the core's own operation is not called"); }
    std::string getName() const override { return mood(), "a queue whose name takes an allocation"; }
    uint32_t getQueueId() const override { return mood(), mId; }

    const zohal::ZSLFrameEntry* getFrame(uint32_t zslFrame) const override {
        const auto drawn = mood();
        gEntry.reset();
        if (drawn % 4 == 3) return nullptr;
        gEntry = std::make_unique<zohal::ZSLFrameEntry>();
        const uint64_t time = mTime + mInterval * (zslFrame - mFirst);
        gEntry->metaInfo.shutterTime = static_cast<int64_t>(drawn % 4 == 2 ? gNow->draw<uint64_t>() : time);
        gEntry->perframeSensorMode = drawn < 0xF0 ? drawn / 4U : gNow->draw<uint32_t>();
        return gEntry.get();
    }

    FrameList getFrameList(int32_t listKind) const override {
        const auto drawn = mood();
        require(listKind >= zohal::kConsumerList && listKind <= zohal::kAllFrames, "list kinds are 0, 1 or 2");
        FrameList list = mLists[listKind];
        if (drawn % 8 == 1) list.clear();
        if (drawn % 8 == 2 && !list.empty()) list.erase(list.begin());
        if (drawn % 8 == 3) std::reverse(list.begin(), list.end());
        if (drawn % 8 == 4) list.resize(drawn / 8U, gNow->draw<uint32_t>());
        if (drawn % 8 == 5) std::generate(list.begin(), list.end(), [] { return gNow->draw<uint32_t>(); });
        gHandedOut.insert(gHandedOut.end(), list.begin(), list.end());
        return list;
    }

    const int32_t mType;
    const uint32_t mId;
    const uint32_t mFirst;
    FrameList mLists[3];
    const uint64_t mTime = gNow->draw<uint64_t>();
    const uint64_t mInterval = gNow->draw<uint32_t>();
};

// Answers whatever the tag.
struct HostileMetadata final : public ZoMetadata {
    camera_metadata_ro_entry_t answer() const {
        static const size_t kSizes[] = {1, 4, 4, 8, 8, 8, 1, 1};
        const auto drawn = mood();
        camera_metadata_ro_entry_t entry{};
        entry.index = drawn;
        entry.data.u8 = reinterpret_cast<const uint8_t*>(uintptr_t{0xDEAD0001});  // stale
        if (drawn % 4 == 0) return entry;

        entry.type = gNow->draw() % 8;
        entry.count = drawn % 4 == 1 ? 1 : drawn % 4 == 2 ? gNow->draw() : gNow->draw<uint64_t>();
        entry.data.u8 = nullptr;
        const size_t misalignment = drawn / 4 % 4;
        if (misalignment == 3) return entry;
        // As long as the entry says, up to more than anybody reads; zeros but for the first byte and a few words.
        const size_t size = std::min<size_t>(entry.count, 256 / kSizes[entry.type]) * kSizes[entry.type];
        gPayload = std::make_unique<uint8_t[]>(misalignment + size);
        uint8_t* const payload = gPayload.get() + misalignment;
        entry.data.u8 = payload;
        if (size != 0) *payload = gNow->draw();
        for (int words = drawn / 16 % 4; words > 0; --words) {
            const size_t place = gNow->draw() * sizeof(uint32_t);
            const uint32_t word = gNow->number();
            if (place + sizeof(word) <= size) std::memcpy(payload + place, &word, sizeof(word));
        }
        return entry;
    }
};

struct HostilePlatform final : public CameraAdapter, public adapter::PlatformInfoHolder {
    int Init() override { return adapterMood(true); }
    std::shared_ptr<adapter::PlatformInfoHolder> GetPlatformInfoHolder() override {
        return adapterMood() % 4 == 3 ? nullptr : holder;
    }
    int GetMotionInfo(uint32_t* info) override {
        const auto drawn = adapterMood();
        if (drawn % 2 == 1) *info = gNow->draw<uint32_t>();
        return drawn;
    }
    const std::shared_ptr<adapter::PlatformInfoHolder> holder{this, [](void*) {}};
} gPlatform;

CameraAdapter* getAdapterInstance() { return adapterMood(true) % 4 == 3 ? nullptr : &gPlatform; }

// The client lives as long as the process. For every session to start without an adapter, its fields are reached as
// only an explicit instantiation may.
std::tuple<void*&, CameraAdapter*&, int32_t&> fieldsOf(AdapterClient& client);
template <auto handle, auto instance, auto loadState>
struct ClientFields {
    friend std::tuple<void*&, CameraAdapter*&, int32_t&> fieldsOf(AdapterClient& client) {
        return {client.*handle, client.*instance, client.*loadState};
    }
};
template struct ClientFields<&AdapterClient::mHandle, &AdapterClient::mInstance, &AdapterClient::mLoadState>;

// What lasts from check to check. The base class lets its heirs see it.
struct LastingState : zohal::ZSLSelectorBase {
    static constexpr auto policyMask = &LastingState::mSensorPolicyMask;
};

using Strategy = bool (MotionZSLSelector::*)(uint32_t, const zohal::ZSLFrameSelectInfo&,
                                             std::shared_ptr<zohal::ZSLFrameQueue>, FrameList&, long, int);
constexpr Strategy kStrategies[] = {
    &MotionZSLSelector::selectZSLFramesForNormal, &MotionZSLSelector::selectFramesForLbmfAndHdr,
    &MotionZSLSelector::selectFramesForBinningAndHdr, &MotionZSLSelector::selectZSLFramesForSNSCBinning1,
    &MotionZSLSelector::selectZSLFramesForSNSCBinning2};

// Two selectors, and requests that they are called for, one after the other.
class Session {
public:
    explicit Session(hostile::Fault fault) : mFault(fault) {
        if (gRecorded) mRecorder = recorder::openRecorder(&createZSLSelector);
        for (int count = gNow->draw() % 4; count > 0; --count) mQueues.push_back(std::make_shared<HostileQueue>());
        for (int count = 3; count > 0; --count) mMetas.push_back(std::make_shared<HostileMetadata>());
        create();
        create();
        for (int requests = 1 + gNow->draw() % 4; requests > 0; --requests) serve();
    }
    ~Session() {  // a recorder writes its last request then
        const Crossing crossing;
        mSelectors.clear();
        gPayload.reset();
    }

private:
    void serve() {
        mInfo = {};
        mInfo.fwkFrame = gNow->number();
        for (int count = gNow->draw() % 3; count > 0; --count) mInfo.usedZslFrames.push_back(gNow->number());
        mInfo.reqtMasterId = gNow->number();
        for (int count = gNow->draw() % 6; count > 0; --count) mInfo.zslQueues.push_back(anyOf(mQueues));
        for (int count = gNow->draw() % 12; count > 0; --count) mInfo.requestMetas.push_back(anyOf(mMetas));
        for (int count = gNow->draw() % 8; count > 0; --count) {
            const auto drawn = gNow->draw();
            mServing = drawn / 128;
            step(drawn % 16);
        }
    }

    template <typename T>
    std::shared_ptr<T> anyOf(const std::vector<std::shared_ptr<T>>& handles) {
        const size_t index = gNow->draw() % 8;
        return index < handles.size() ? handles[index] : nullptr;
    }

    zohal::ZSLSelectorBase& selector() { return *mSelectors[mServing]; }

    template <typename Answer, typename Info>
    Answer cross(Answer (zohal::ZSLSelectorBase::*operation)(const Info&), const Info& info) {
        const Crossing crossing;
        return (selector().*operation)(info);
    }

    // Gate and selection most often: it is them that leave something behind for the next request.
    void step(int kind) {
        if (kind < 6) return callStrategy(kind);
        if (kind < 8) return check(kind == 6);
        if (kind % 2 == 0)
            return attempt([this] { gNow->add(cross(&zohal::ZSLSelectorBase::isSelectorNeeded, mInfo)); });
        attempt([this] { select(); });
    }

    void create() {
        const auto before = mSelectors;
        attempt([this, &before] {
            if (mStruckOutside) mSelectors = before;  // made nevertheless
            require(mSelectors == before, "a failed entry leaves the list unchanged");
            const Crossing crossing;
            if (gRecorded) return recorder::createSelectors(mRecorder, mSelectors);
            createZSLSelector(mSelectors);
            gMade = static_cast<MotionZSLSelector*>(mSelectors.back().get());
        });
        mMotionSelectors.push_back(gMade);
        require(mSelectors.size() == before.size() + 1 && mSelectors.back().use_count() == 1, "the list is the owner");
        require(std::equal(before.begin(), before.end(), mSelectors.begin()), "the entry appends");
    }

    void select() {
        const zohal::SelectionResult result = cross(&zohal::ZSLSelectorBase::selectZSLFrames, mInfo);
        for (const auto& [id, list] : result) {
            gNow->add(id);
            addOwnFrames(list, {});
        }
        for (const auto& queue : mInfo.zslQueues) {
            require(result.empty() || !queue || result.count(queue->getQueueId()) == 1, "every queue has a list");
        }
    }

    void callStrategy(size_t kind) {
        auto queue = std::shared_ptr<zohal::ZSLFrameQueue>(anyOf(mQueues));
        const auto zsdTs = gNow->draw<int64_t>();
        const auto last = gNow->draw<int32_t>();
        const FrameList before(gNow->draw() % 5, 4);
        attempt([&] {
            FrameList list = before;
            MotionZSLSelector& motion = *mMotionSelectors[mServing];
            gNow->add(kind == 5
                          ? motion.selectZSLFramesForZeroShutterDelay(mInfo.fwkFrame, mInfo, queue, list, zsdTs, last)
                          : (motion.*kStrategies[kind])(mInfo.fwkFrame, mInfo, queue, list, zsdTs, last));
            addOwnFrames(list, before);
        });
    }

    void addOwnFrames(const FrameList& list, const FrameList& before) {
        gNow->add(list);
        gHandedOut.insert(gHandedOut.end(), before.begin(), before.end());
        for (const uint32_t frame : list) {
            const bool known = std::find(gHandedOut.begin(), gHandedOut.end(), frame) != gHandedOut.end();
            require(known, "every chosen frame was in a list handed out or handed in");
        }
    }

    void check(bool extension) {
        zohal::ZSLFrameCheckInfo info{};
        info.checkFrameNum = gNow->number();
        info.requestMeta = anyOf(mMetas);
        info.zslQueues = mInfo.zslQueues;
        // A check that fails after it has found the policy mask keeps it, and would ask for less the next time.
        int32_t& policyMask = selector().*LastingState::policyMask;
        attempt([&, maskBefore = policyMask] {
            policyMask = maskBefore;
            const zohal::ZSLSelectorResult result = extension
                                                        ? cross(&zohal::ZSLSelectorBase::checkFrame, info)
                                                        : selector().ZSLSelectorBase::checkDesiredSensorMode(info);
            require(result.second == (extension ? result.first : true), "the second flag follows from the check");
            gNow->add(result.first);
        });
    }

    // Makes a call as often as faults strike, from the same state each time, and once without.
    template <typename Call>
    void attempt(Call&& call) {
        const State before = *gNow;
        const auto fields = fieldsOf(AdapterClient::getInstance());
        const std::tuple<void*, CameraAdapter*, int32_t> fieldsBefore = fields;
        const int64_t live = hostile::gLiveAllocations;
        const long references = countReferences();
        for (uint64_t nth = 1, struck = hostile::gFaultsStruck;; ++nth) {
            gNow->thrown = false;
            gHandedOut.clear();
            gCoreCallsToFault = mFault == hostile::Fault::kCoreCall ? nth : 0;
            hostile::gAllocationsToFault = mFault == hostile::Fault::kAllocation ? nth : 0;
            gWritesToFault = mFault == hostile::Fault::kWrite ? nth : 0;
            hostile::gStruckOutside = false;
            if (mRecorder) mRecorder->on = true;
            const bool threw = throws(call);
            gCoreCallsToFault = hostile::gAllocationsToFault = gWritesToFault = 0;
            mStruckOutside = hostile::gStruckOutside;
            gEntry.reset();
            gPayload.reset();
            const bool faulty = hostile::gFaultsStruck != struck++;
            // What strikes the recorder is nobody's business, but for the entry, which may fail for want of memory.
            const bool mayThrow = mStruckOutside && mMotionSelectors.size() < 2;
            const bool mayPass = gRecorded && mFault == hostile::Fault::kAllocation;  // while it notes an answer
            require(threw == ((faulty && !mStruckOutside) || gNow->thrown) || mayThrow ||
                        (mayPass && !threw && !gNow->thrown),
                    "exceptions pass, and none comes from the library");
            require(!threw || gRecorded || hostile::gLiveAllocations == live, "a failed call leaks nothing");
            require(countReferences() == references, "no handle is kept");
            require(gNow->openLibraries == gNow->givenUp + std::get<int32_t&>(fields),
                    "only a loaded adapter library stays open, and one that threw");
            if (!faulty) return;
            *gNow = before;
            fieldsOf(AdapterClient::getInstance()) = fieldsBefore;
        }
    }

    template <typename Call>
    static bool throws(Call& call) try {
        call();
        return false;
    } catch (const CoreFault&) {
        return true;
    } catch (const std::bad_alloc&) {
        return true;
    }

    long countReferences() const {
        long count = gPlatform.holder.use_count();
        for (const auto& queue : mQueues) count += queue.use_count();
        for (const auto& metadata : mMetas) count += metadata.use_count();
        return count;
    }

    const hostile::Fault mFault;
    std::vector<std::shared_ptr<HostileQueue>> mQueues;
    std::vector<std::shared_ptr<HostileMetadata>> mMetas;
    zohal::ZSLFrameSelectInfo mInfo{};
    std::shared_ptr<recorder::Recorder> mRecorder;
    bool mStruckOutside = false;  // the latest fault did, outside the library
    std::vector<std::shared_ptr<zohal::ZSLSelectorBase>> mSelectors;
    std::vector<MotionZSLSelector*> mMotionSelectors;  // the same, or those behind the recorder's
    size_t mServing = 0;                               // the selector whose turn it is
};

// Messages count for the digest, but for the one address among them.
__attribute__((format(printf, 2, 0))) void addMessage(const char* from, const char* format, va_list arguments) {
    char text[2048];
    std::vsnprintf(text, sizeof(text), format, arguments);
    if (char* const address = std::strstr(text, "this = ")) *address = '\0';
    gNow->add(from);
    gNow->add(text);
}

}  // namespace

bool hostile::isOutside() { return gNow == &gRecorders; }

uint64_t hostile::play(const uint8_t* data, size_t size, Fault fault, bool recorded) {
    gRecorded = recorded;
    gHandedOut.reserve(4096);
    fieldsOf(AdapterClient::getInstance()) = std::tuple(nullptr, nullptr, 0);
    gLibrarys = State{data, size};
    const auto settings = gNow->draw();
    zodebug::gZoCamLogLevel = 2 + settings % 4;
    zodebug::gZoCamOfflineLogLevel = 2 + settings / 4 % 4;
    zodebug::gZoCamLogGroup = (settings & 0x10) == 0 ? 0x40 : ~0x40U;
    zodebug::gZoCamOfflineLogGroup = (settings & 0x20) == 0 ? 0x40 : ~0x40U;
    zodebug::gZoCamDebugMask = (settings & 0x40) == 0;
    gHookTakes = (settings & 0x80) != 0;
    const int64_t live = gLiveAllocations;
    { const Session session(fault); }
    require(gLiveAllocations == live, "a session leaks nothing");
    return gNow->digest;
}

// The platform.

zohal::ZSLFrameQueue::~ZSLFrameQueue() = default;

camera_metadata_ro_entry_t ZoMetadata::find(uint32_t tag) const {
    gNow->add(tag);
    return static_cast<const HostileMetadata*>(this)->answer();
}
camera_metadata_ro_entry_t ZoMetadata::find(const char* name) const {
    gNow->add(name);
    return static_cast<const HostileMetadata*>(this)->answer();
}

StaticMetadataWraper gStaticMetadata;
StaticMetadataWraper* StaticMetadataWraper::getInstance() { return &gStaticMetadata; }
std::shared_ptr<ZoMetadata> StaticMetadataWraper::getStaticMetadata(uint32_t /*logicalId*/) {
    return mood() % 4 == 3 ? nullptr : std::make_shared<HostileMetadata>();
}

void* dlopen(const char* path, int flags) noexcept {
    if (std::strcmp(path, kPlugin) == 0) return &gMade;
    if (hostile::isOutside()) return gNow->openLibraries > 0 ? (++gNow->openLibraries, &gPlatform) : nullptr;
    gNow->add(path);
    gNow->add(static_cast<uint32_t>(flags));
    if (gNow->draw() % 4 == 0) return nullptr;
    ++gNow->openLibraries;
    return &gPlatform;
}
void* dlsym(void* handle, const char* name) noexcept {
    if (handle == &gMade) return reinterpret_cast<void*>(&createBehindRecorder);
    gNow->add(name);
    return gNow->draw() % 8 == 7 ? nullptr : reinterpret_cast<void*>(&getAdapterInstance);
}
int dlclose(void* handle) noexcept {
    if (handle == &gMade) return 0;
    require(handle == &gPlatform && gNow->openLibraries-- > 0, "what is closed is open");
    return 0;
}

int property_get(const char* key, char* value, const char* /*default_value*/) {
    const bool isFolder = std::strstr(key, "record.dir") != nullptr;
    const bool isPlugin = std::strstr(key, "record.plugin") != nullptr;
    return std::snprintf(value, PROPERTY_VALUE_MAX, "%s", isFolder ? "/proc/self/task" : isPlugin ? kPlugin : "0");
}

// The recorder's files are none. Every operation may fail.
static ssize_t writeNowhere(void* /*cookie*/, const char* /*text*/, size_t size) {
    if (gWritesToFault == 0 || --gWritesToFault != 0) return static_cast<ssize_t>(size);
    ++hostile::gFaultsStruck;
    hostile::gStruckOutside = true;
    errno = ENOSPC;
    return 0;
}
FILE* hostile_fopen(const char* /*path*/, const char* mode) {
    if (writeNowhere(nullptr, "", 1) == 0) return nullptr;
    return fopencookie(nullptr, mode, {nullptr, &writeNowhere, nullptr, nullptr});
}

int8_t property_get_bool(const char* /*key*/, int8_t /*default_value*/) { return 0; }
nsecs_t systemTime(int /*clock*/) { return gNow->number(); }

int __android_log_print(int priority, const char* tag, const char* format, ...) {
    gNow->add(static_cast<uint32_t>(priority));
    const State before = *gNow;  // the format starts with a source line
    va_list arguments;
    va_start(arguments, format);
    addMessage(tag, format, arguments);
    va_end(arguments);
    *gNow = before;
    return -1;
}

namespace zodebug {

uint32_t gZoCamLogLevel, gZoCamLogGroup, gZoCamOfflineLogLevel, gZoCamOfflineLogGroup, gZoCamDebugMask;

const char* Log::getFileName(const char* path) { return path; }
const char* Log::zoaGroupToString(unsigned int /*group*/) { return "group"; }

int Log::catchLogEncryptLog(unsigned int group, const char* fileName, int /*line*/, const char* function, char level,
                            const char* format, ...) {
    gNow->add(group + static_cast<uint8_t>(level));
    gNow->add(fileName);
    va_list arguments;
    va_start(arguments, format);
    addMessage(function, format, arguments);
    va_end(arguments);
    return gHookTakes ? 1 : 0;
}

void Log::logSystem(unsigned int group, const char* level, const char* fileName, const char* function, int /*line*/,
                    const char* format, ...) {
    gNow->add(group);
    gNow->add(level);
    gNow->add(fileName);
    va_list arguments;
    va_start(arguments, format);
    addMessage(function, format, arguments);
    va_end(arguments);
}

}  // namespace zodebug
