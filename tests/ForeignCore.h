// A HAL core of another house. It includes none of this repository's headers: everything it shares with the plug-in is
// declared here once more, as a device's headers would declare it, so a slip in ours shows as a difference. Its
// platform takes precedence over the desk's and records what the plug-in does with it.

#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using Frames = std::vector<uint32_t>;
using Texts = std::vector<std::string>;

struct camera_metadata_ro_entry {
    size_t index;
    uint32_t tag;
    uint8_t type;
    size_t count;
    const void* data;
};

struct Entry {
    uint8_t type;
    size_t count;
    std::string payload;
    bool hasData = true;
};

struct ZoMetadata {
    camera_metadata_ro_entry find(uint32_t tag) const;
    camera_metadata_ro_entry find(const char* name) const;
    std::map<std::string, Entry> tags;  // an Android tag's name is its number
};
using Metadata = std::shared_ptr<ZoMetadata>;

struct StaticMetadataWraper {
    static StaticMetadataWraper* getInstance();
    Metadata getStaticMetadata(uint32_t logicalId);
};

namespace zodebug {
extern uint32_t gZoCamLogLevel, gZoCamLogGroup, gZoCamOfflineLogLevel, gZoCamOfflineLogGroup, gZoCamDebugMask;
struct Log {
    static const char* getFileName(const char* path);
    static int catchLogEncryptLog(unsigned group, const char* file, int line, const char* function, char level,
                                  const char* format, ...);
    static const char* zoaGroupToString(unsigned group);
    static void logSystem(unsigned group, const char* level, const char* file, const char* function, int line,
                          const char* format, ...);
};
}  // namespace zodebug

namespace zohal {

struct MetaInfo {
    Metadata metadata;
    std::vector<std::pair<int32_t, Metadata>> physicalMetas;
    int64_t shutterTime;
    uint8_t frameTail[8];
};

struct ZSLFrameEntry {
    MetaInfo metaInfo;
    uint32_t perframeSensorMode;
};

struct ZSLFrameQueue {
    virtual ~ZSLFrameQueue();
    virtual int32_t getQueueType() const = 0;
    virtual void ownOfTheCore() = 0;
    virtual std::string getName() const = 0;
    virtual uint32_t getQueueId() const = 0;
    virtual const ZSLFrameEntry* getFrame(uint32_t zslFrame) const = 0;
    virtual Frames getFrameList(int32_t listKind) const = 0;
};
using Queue = std::shared_ptr<ZSLFrameQueue>;

struct ZSLFrameSelectInfo {
    uint32_t fwkFrame;
    Frames usedZslFrames;
    uint32_t reqtMasterId;
    std::vector<Queue> zslQueues;
    std::vector<Metadata> requestMetas;
};

struct ZSLFrameCheckInfo {
    uint32_t checkFrameNum;
    Metadata requestMeta;
    uint32_t fwkFrameNum, logicalId;
    int32_t reqtMasterId, masterRoleId;
    std::vector<Queue> zslQueues;
    int32_t AiHLFrameNum;
};

struct ZSLSelectorResult {
    uint8_t first, second;  // two bools; as bytes they can be given any value
};

struct CompareRule {
    bool operator()(uint32_t a, uint32_t b) const { return a < b; }
};
using SelectionResult = std::map<uint32_t, Frames, CompareRule>;

struct ZSLSelectorBase {
    ZSLSelectorBase();
    virtual bool isSelectorNeeded(const ZSLFrameSelectInfo&) = 0;
    virtual ZSLSelectorResult checkFrame(const ZSLFrameCheckInfo&) = 0;
    virtual int preCheckFrame(Frames&, int);
    virtual ZSLSelectorResult checkDesiredSensorMode(const ZSLFrameCheckInfo&);
    virtual ~ZSLSelectorBase();
    virtual SelectionResult selectZSLFrames(const ZSLFrameSelectInfo&) = 0;
    void forEachZSLQ(const std::vector<Queue>&, std::function<void(Queue)>);

    std::string mName;
    int32_t status;
    bool enabled, flag1, flag2;
    int32_t mSensorPolicyMask;
};

}  // namespace zohal

using zohal::Queue;
using Request = zohal::ZSLFrameSelectInfo;
using Check = zohal::ZSLFrameCheckInfo;
using Flags = zohal::ZSLSelectorResult;

struct ZSLSelectorExt : zohal::ZSLSelectorBase {
    ZSLSelectorExt();
    bool isSelectorNeeded(const Request&) override;
    Flags checkFrame(const Check&) override;
    Flags checkDesiredSensorMode(const Check&) override;
    ~ZSLSelectorExt() override;
    zohal::SelectionResult selectZSLFrames(const Request&) override;

    Frames lists[3];
    std::map<unsigned long, bool> flagMap;
};

struct MotionZSLSelector : ZSLSelectorExt {
    MotionZSLSelector();
    ~MotionZSLSelector() override;
    bool isSelectorNeeded(const Request&) override;
    Flags checkFrame(const Check&) override;
    zohal::SelectionResult selectZSLFrames(const Request&) override;
    bool selectZSLFramesForZeroShutterDelay(uint32_t, const Request&, Queue&, Frames&, long, int);

    uint8_t hdrEnable, hdrsrEnable;
    uint32_t motionStrategy;
    bool isMotionBanding;
};

extern "C" void createZSLSelector(std::vector<std::shared_ptr<zohal::ZSLSelectorBase>>& selectors);

// What the plug-in did, and what this core's platform answers.
struct World {
    Texts calls;                   // of queues, metadata and clock, in order
    Texts hook, android, offline;  // arguments, "#" for a line number above 0
    Texts paths;                   // as handed to getFileName
    int hookTakes = 1;
    std::map<uint32_t, ZoMetadata> staticMetadata;
    std::weak_ptr<ZoMetadata> staticHandle;  // the one handed out last
};
extern World gWorld;
extern std::string* gSwitchRead;  // what property_get_bool was asked, before main

template <typename T>
T note(const std::string& call, T result) {
    gWorld.calls.push_back(call);
    return result;
}

struct FrameQueue : zohal::ZSLFrameQueue {
    FrameQueue(std::string name, int32_t type, uint32_t id, Frames consumer = {})
        : mName(std::move(name)), mType(type), mId(id), mConsumer(std::move(consumer)) {}

    int32_t getQueueType() const override { return note(mName + " type", mType); }
    void ownOfTheCore() override { ADD_FAILURE() << "the core's own operation was called"; }
    std::string getName() const override { return note(mName + " name", mName); }
    uint32_t getQueueId() const override { return note(mName + " id", mId); }
    const zohal::ZSLFrameEntry* getFrame(uint32_t zslFrame) const override {
        const auto found = frames.find(zslFrame);
        return note(mName + " frame " + std::to_string(zslFrame), found != frames.end() ? &found->second : nullptr);
    }
    Frames getFrameList(int32_t kind) const override {
        return note(mName + " list " + std::to_string(kind), kind == 1 ? Frames() : mConsumer);
    }

    std::map<uint32_t, zohal::ZSLFrameEntry> frames;
    const std::string mName;
    const int32_t mType;
    const uint32_t mId;
    const Frames mConsumer;
};

constexpr uint8_t kUnknownType = 9;  // to camera metadata

// A tag of so many elements of the type that has this size.
template <typename T>
Entry values(const std::vector<T>& elements) {
    const auto* bytes = reinterpret_cast<const char*>(elements.data());
    const uint8_t type = sizeof(T) == 1 ? 0 : sizeof(T) == 4 ? 1 : 3;
    return {type, elements.size(), std::string(bytes, bytes + elements.size() * sizeof(T))};
}

// Every test starts with an empty record and the online channel open.
struct ForeignCore : testing::Test {
    ForeignCore();
};
