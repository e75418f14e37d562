#include "benchmarks/Capture.h"

#include <cutils/properties.h>
#include <desk/VendorLibraries.h>

#include <cstring>
#include <numeric>

#include "hal_core/FrameQueue.h"
#include "metadatautils/ZoMetadata.h"

// Ahead of the host's own: the plug-in reads its switch while it is loaded, before main() could set the property.
int8_t property_get_bool(const char* /*key*/, int8_t /*default_value*/) { return 0; }

namespace bench {

namespace {

constexpr int64_t kFirstShutterNs = 1'000'000'000'000;
constexpr int64_t kIntervalNs = 33'333'333;
constexpr int64_t kAnchorDelayNs = 60'000'000;

template <typename T>
void setTag(ZoMetadata& metadata, const char* name, uint8_t type, const std::vector<T>& values) {
    std::vector<uint8_t> payload(values.size() * sizeof(T));
    std::memcpy(payload.data(), values.data(), payload.size());
    metadata.set(name, type, values.size(), payload);
}

std::shared_ptr<ZoMetadata> requestTags(Mode mode, int64_t zsdTs) {
    std::vector<uint32_t> policy(4 * 13);  // four records, of which the last is the master camera's
    policy[0] = policy[13] = policy[26] = 7;
    policy[39 + 10] = mode == kLbmfHdr ? 9 : 0;

    auto metadata = std::make_shared<ZoMetadata>();
    metadata->set(0x10029, TYPE_BYTE, 1, {1});
    setTag<uint8_t>(*metadata, "nexaro.ai.zosd.motionCaptureEnabledIcon", TYPE_BYTE, {4});
    setTag<uint8_t>(*metadata, "nexaro.hdr.enabled", TYPE_BYTE, {choosesGroups(mode)});
    setTag<uint8_t>(*metadata, "nexaro.hdr.sr.enabled", TYPE_BYTE, {0});
    setTag<int64_t>(*metadata, "nexaro.mfnr.anchorTimeStamp", TYPE_INT64, {zsdTs - kAnchorDelayNs});
    setTag<int32_t>(*metadata, "nexaro.ai.zosd.motionCaptureType", TYPE_INT32, {1});
    setTag(*metadata, "nexaro.camera.zoseamlesspolicy.result", TYPE_INT32, policy);
    setTag<int32_t>(*metadata, "com.nexaro.ext.control.policy.sensorMode", TYPE_INT32, {0});
    return metadata;
}

std::shared_ptr<zohal::ZSLFrameQueue> makeQueue(uint32_t id, int32_t type, uint32_t frames) {
    auto queue = std::make_shared<halcore::FrameQueue>(id, type, "bench");
    FrameList all(frames);
    std::iota(all.begin(), all.end(), kFirstFrame);
    queue->setFrameList(zohal::kConsumerList, {all.begin(), all.end() - kProducerFrames});
    queue->setFrameList(zohal::kProducerList, {all.end() - kProducerFrames, all.end()});
    queue->setFrameList(zohal::kAllFrames, all);
    zohal::ZSLFrameEntry entry{};
    entry.metaInfo.shutterTime = kFirstShutterNs;
    for (const uint32_t zslFrame : all) {
        queue->addFrame(zslFrame, entry);
        entry.metaInfo.shutterTime += kIntervalNs;
    }
    return queue;
}

}  // namespace

Capture::Capture(Mode captureMode, uint32_t frames, uint32_t queues) : mode(captureMode), frameCount(frames) {
    desk::setVendorLibraryDir(ZSL_VENDOR_LIBRARIES);
    const uint32_t anchor = choosesGroups(mode) ? (kNeededFrames + 1) / 2 : frames - kProducerFrames - 1;
    zsdTs = kFirstShutterNs + anchor * kIntervalNs - 1;
    request.fwkFrame = 1;
    request.requestMetas.assign(kNeededFrames, requestTags(mode, zsdTs));
    // With all but two consumer frames used there are too few for zero shutter delay.
    if (mode == kNormalFallback) request.usedZslFrames = {kFirstFrame + anchor - 2};
    check.requestMeta = request.requestMetas.front();
    check.checkFrameNum = kFirstFrame + anchor;
    for (uint32_t id = 1; id <= queues; ++id) {
        request.zslQueues.push_back(makeQueue(id, id == 1 ? zohal::kMetaQueue : 0, frames));
        check.zslQueues.push_back(makeQueue(id, id == queues ? zohal::kFrameInfoQueue : 0, frames));
    }
}

void Capture::setPlatform() const { property_set("desk.adapter.motion", mode == kBanding ? "0x300" : "0x0"); }

}  // namespace bench
