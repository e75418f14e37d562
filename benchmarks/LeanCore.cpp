#include "benchmarks/LeanCore.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <utils/Timers.h>

#include <cstring>
#include <numeric>

#include "metadatautils/ZoMetadata.h"
#include "zodebug/Log.h"

namespace {

constexpr int64_t kFirstShutterNs = 1'000'000'000'000;
constexpr int64_t kIntervalNs = 33'333'333;
constexpr int64_t kAnchorDelayNs = 60'000'000;

const char* gMotionInfo = "0x0";  // the adapter's answer

// Known to this file only: a caller whose compiler saw the class might not make a call of the contract at all.
class Queue final : public zohal::ZSLFrameQueue {
public:
    Queue(uint32_t id, int32_t type, uint32_t frames) : mId(id), mType(type), mEntries(frames), mAll(frames) {
        std::iota(mAll.begin(), mAll.end(), lean::kFirstFrame);
        mConsumer.assign(mAll.begin(), mAll.end() - lean::kProducerFrames);
        mProducer.assign(mAll.end() - lean::kProducerFrames, mAll.end());
        for (uint32_t i = 0; i < frames; ++i) mEntries[i].metaInfo.shutterTime = kFirstShutterNs + i * kIntervalNs;
    }

    int32_t getQueueType() const override { return mType; }
    void reservedForHalCore() override {}
    std::string getName() const override { return "lean"; }
    uint32_t getQueueId() const override { return mId; }
    const zohal::ZSLFrameEntry* getFrame(uint32_t zslFrame) const override {
        const uint32_t place = zslFrame - lean::kFirstFrame;
        return place < mEntries.size() ? &mEntries[place] : nullptr;
    }
    lean::FrameList getFrameList(int32_t listKind) const override {
        return listKind == zohal::kConsumerList ? mConsumer : listKind == zohal::kProducerList ? mProducer : mAll;
    }

private:
    uint32_t mId;
    int32_t mType;
    std::vector<zohal::ZSLFrameEntry> mEntries;
    lean::FrameList mAll, mConsumer, mProducer;
};

template <typename T>
void setTag(ZoMetadata& metadata, const char* name, uint8_t type, const std::vector<T>& values) {
    std::vector<uint8_t> payload(values.size() * sizeof(T));
    std::memcpy(payload.data(), values.data(), payload.size());
    metadata.set(name, type, values.size(), payload);
}

std::shared_ptr<ZoMetadata> requestTags(lean::Mode mode, int64_t zsdTs) {
    const bool hdr = mode == lean::kLbmfHdr || mode == lean::kBinningHdr;
    std::vector<uint32_t> policy(4 * 13);  // four records, of which the last is the master camera's
    policy[0] = policy[13] = policy[26] = 7;
    policy[39 + 10] = mode == lean::kLbmfHdr ? 9 : 0;

    auto metadata = std::make_shared<ZoMetadata>();
    metadata->set(0x10029, TYPE_BYTE, 1, {1});
    metadata->set("nexaro.ai.zosd.motionCaptureEnabledIcon", TYPE_BYTE, 1, {4});
    metadata->set("nexaro.hdr.enabled", TYPE_BYTE, 1, {hdr});
    metadata->set("nexaro.hdr.sr.enabled", TYPE_BYTE, 1, {0});
    setTag<int64_t>(*metadata, "nexaro.mfnr.anchorTimeStamp", TYPE_INT64, {zsdTs - kAnchorDelayNs});
    setTag<int32_t>(*metadata, "nexaro.ai.zosd.motionCaptureType", TYPE_INT32, {1});
    setTag(*metadata, "nexaro.camera.zoseamlesspolicy.result", TYPE_INT32, policy);
    setTag<int32_t>(*metadata, "com.nexaro.ext.control.policy.sensorMode", TYPE_INT32, {0});
    return metadata;
}

}  // namespace

int8_t property_get_bool(const char* /*key*/, int8_t /*default_value*/) { return 0; }
int property_get(const char* /*key*/, char* value, const char* /*default_value*/) {
    std::strcpy(value, gMotionInfo);
    return static_cast<int>(std::strlen(value));
}
nsecs_t systemTime(int /*clock*/) { return kFirstShutterNs; }
int __android_log_print(int /*priority*/, const char* /*tag*/, const char* /*format*/, ...) { return 1; }
void zodebug::Log::logSystem(unsigned int, const char*, const char*, const char*, int, const char*, ...) {}

namespace lean {

const char* modeName(Mode mode) {
    static const char* const kNames[] = {"plain", "normal fallback", "LBMF HDR", "binning HDR", "banding"};
    return kNames[mode];
}

Capture::Capture(Mode captureMode, uint32_t frames, uint32_t queues) : mode(captureMode), frameCount(frames) {
    const bool groups = mode == kLbmfHdr || mode == kBinningHdr;
    const uint32_t anchor = groups ? (kNeededFrames + 1) / 2 : frames - kProducerFrames - 1;
    zsdTs = kFirstShutterNs + anchor * kIntervalNs - 1;

    const std::shared_ptr<ZoMetadata> metadata = requestTags(mode, zsdTs);
    request.fwkFrame = 1;
    request.requestMetas.assign(kNeededFrames, metadata);
    // With all but two consumer frames used there are too few for zero shutter delay.
    if (mode == kNormalFallback) request.usedZslFrames = {kFirstFrame + anchor - 2};
    check.requestMeta = metadata;
    check.checkFrameNum = kFirstFrame + anchor;
    for (uint32_t id = 1; id <= queues; ++id) {
        request.zslQueues.push_back(std::make_shared<Queue>(id, id == 1 ? zohal::kMetaQueue : 0, frames));
        check.zslQueues.push_back(std::make_shared<Queue>(id, id == queues ? zohal::kFrameInfoQueue : 0, frames));
    }
}

void Capture::setPlatform() const { gMotionInfo = mode == kBanding ? "0x300" : "0x0"; }

void openLog(bool open) {
    zodebug::gZoCamLogGroup = zodebug::gZoCamOfflineLogGroup = zodebug::gZoCamDebugMask = open ? ~0U : 0;
}

}  // namespace lean
