#define LOG_TAG "ZoCamHAL"

#include "external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.h"

#include <cutils/properties.h>
#include <utils/Timers.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "adapter/AdapterClient.h"
#include "external/odm/policy/zsl/mtk/general/motion/FrameSpan.h"
#include "external/odm/policy/zsl/mtk/general/motion/GroupScan.h"
#include "external/odm/policy/zsl/mtk/general/motion/MotionTags.h"
#include "log/ZoLog.h"

using motion::AnchorSearch;
using motion::append;
using motion::DeliveryOrder;
using motion::FrameList;
using motion::GroupScan;
using motion::keepNewer;
using zohal::vectorToString;

namespace {

// Read once, while the library is being loaded. Without the property the selector is off.
const int32_t gMotionZslDisable = property_get_bool("vendor.zohal.selector.motion.zsl.disable", true);

constexpr uint32_t kTagEnableZsl = 0x10029;  // android.control.enableZsl
constexpr uint8_t kIconForcesMotion = 4;

bool isBandingStrategy(uint32_t motionStrategy) { return motionStrategy >= 2 && motionStrategy < 5; }

bool isLbmfMode(uint32_t sensorModeType) { return sensorModeType == 8 || sensorModeType == 9 || sensorModeType == 21; }

// Both lists are asked for whether or not they are logged: the core sees the same calls with any log settings.
void logFrameLists(uint32_t fwkFrame, const zohal::ZSLFrameQueue& queue, zolog::Caller caller = zolog::Caller::here()) {
    const FrameList consumer = queue.getFrameList(zohal::kConsumerList);
    if (consumer.empty()) {
        ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u [%s] Current Consumer list none", fwkFrame,
                queue.getName().c_str());
    } else {
        ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u [%s] Current Consumer list: %s", fwkFrame,
                queue.getName().c_str(), vectorToString(consumer).c_str());
    }
    const FrameList producer = queue.getFrameList(zohal::kProducerList);
    if (producer.empty()) {
        ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u [%s] Current Producer list none", fwkFrame,
                queue.getName().c_str());
    } else {
        ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u [%s] Current Producer list: %s", fwkFrame,
                queue.getName().c_str(), vectorToString(producer).c_str());
    }
}

// Takes the list for `count` - 1 pairs and removes the second frame of each but the last: the entries at positions 1,
// 3, 5, ... below 2 * `count` - 4, as far as the list goes.
void thinPairs(FrameList& frames, int64_t count) {
    const auto removed = std::clamp<int64_t>(count - 2, 0, static_cast<int64_t>(frames.size() / 2));
    for (int64_t kept = 1; kept < removed; ++kept) frames[kept] = frames[2 * kept];
    frames.erase(frames.begin() + removed, frames.begin() + 2 * removed);
}

}  // namespace

extern "C" void createZSLSelector(std::vector<std::shared_ptr<zohal::ZSLSelectorBase>>& selectors) {
    selectors.push_back(std::make_shared<MotionZSLSelector>());
}

MotionZSLSelector::MotionZSLSelector() { mName = "ZSLSelectorMotion"; }
MotionZSLSelector::~MotionZSLSelector() = default;

bool MotionZSLSelector::isSelectorNeeded(const zohal::ZSLFrameSelectInfo& selectInfo) {
    if (gMotionZslDisable != 0) {
        ZSL_LOGD("disable motion zsl selector");
        return false;
    }

    hdrEnable = 0;
    hdrsrEnable = 0;
    uint8_t isNeeded = 0;
    bool forceOn = false;
    if (const std::shared_ptr<ZoMetadata> metadata = motion::requestMetadata(selectInfo)) {
        isNeeded = motion::readByte(metadata.get(), kTagEnableZsl);
        forceOn = motion::readByte(metadata.get(), "nexaro.ai.zosd.motionCaptureEnabledIcon") == kIconForcesMotion;
        hdrEnable = motion::readByte(metadata.get(), "nexaro.hdr.enabled");
        hdrsrEnable = motion::readByte(metadata.get(), "nexaro.hdr.sr.enabled");
    }

    // Without an adapter the strategy of the last answer stands.
    const auto platformInfo = adapter::AdapterClient::getInstance().getPlatformInfoHolder();
    if (platformInfo) {
        uint32_t motionInfo = 0;
        platformInfo->GetMotionInfo(&motionInfo);
        motionStrategy = (motionInfo >> 8) & 0xF;
        isMotionBanding = isBandingStrategy(motionStrategy);
    }

    const bool finalNeedZSL = isNeeded != 0 && forceOn && (hdrEnable != 0 || hdrsrEnable != 0 || isMotionBanding);
    ZSL_LOGD(
        "[ZSLSelector] %s finalNeedZSL: %d, isNeeded %d, forceOn: %d, hdrEnable: %d, hdrsrEnable: %d, "
        "motionStrategy: %d, isMotionBanding: %d",
        mName.c_str(), finalNeedZSL, isNeeded, forceOn, hdrEnable, hdrsrEnable, motionStrategy, isMotionBanding);
    return finalNeedZSL;
}

zohal::ZSLSelectorResult MotionZSLSelector::checkFrame(const zohal::ZSLFrameCheckInfo& checkInfo) {
    zohal::ZSLSelectorResult result = checkDesiredSensorMode(checkInfo);
    // Only the lowest bit of each flag counts: the check may be another binary's, and its flag bytes need not be 0
    // or 1.
    uint16_t flags = 0;
    static_assert(sizeof(flags) == sizeof(result));
    std::memcpy(&flags, &result, sizeof(flags));
    flags &= 0x0101;
    std::memcpy(&result, &flags, sizeof(flags));
    return result;
}

zohal::SelectionResult MotionZSLSelector::selectZSLFrames(const zohal::ZSLFrameSelectInfo& selectInfo) {
    const uint32_t fwkFrame = selectInfo.fwkFrame;
    const int lastZslFrame = selectInfo.usedZslFrames.empty() ? 0 : static_cast<int>(selectInfo.usedZslFrames.back());

    std::shared_ptr<zohal::ZSLFrameQueue> metaQueue = firstQueueOfType(selectInfo.zslQueues, zohal::kMetaQueue);
    if (!metaQueue) {
        ZSL_LOGD("[ZSLSelector] fwkFrame:%u no metaQueue, select finished", fwkFrame);
        return {};
    }
    logFrameLists(fwkFrame, *metaQueue);

    motion::AnchorTags anchor;
    uint32_t sensorModeType = 0;
    if (const std::shared_ptr<ZoMetadata> metadata = motion::requestMetadata(selectInfo)) {
        anchor = motion::readAnchorTags(metadata.get());
        if (const auto policy = motion::readSeamlessPolicy(metadata.get(), selectInfo.reqtMasterId)) {
            ZSL_LOGI("sensor id:%d sensor mode: %d", policy->sensorId, policy->sensorMode);
            sensorModeType = policy->sensorMode;
        }
    }
    ZSL_LOGI("<mc anchor pick> anchorTS:%ld, motionCapType:0x%x, reqtMasterId: %d, sensorModeType: %d, needZslNum: %d",
             anchor.anchorTS, anchor.motionCapType, selectInfo.reqtMasterId, sensorModeType,
             motion::needZslNum(selectInfo));

    const int64_t curTime = systemTime(SYSTEM_TIME_BOOTTIME);
    const int64_t zsdTs = motion::zeroShutterDelayTarget(anchor);
    ZSL_LOGI("[ZSLSelector] fwkFrame:%u zsdTs:%ld curTime:%ld", fwkFrame, zsdTs, curTime);

    FrameList selectList;
    bool selected = false;
    if (hdrEnable != 0 || hdrsrEnable != 0) {
        if (isLbmfMode(sensorModeType)) {
            selected = selectFramesForLbmfAndHdr(fwkFrame, selectInfo, metaQueue, selectList, zsdTs, lastZslFrame);
        } else if (sensorModeType == 0) {
            selected = selectFramesForBinningAndHdr(fwkFrame, selectInfo, metaQueue, selectList, zsdTs, lastZslFrame);
        }
    } else if (isMotionBanding) {
        selected = selectZSLFramesForSNSCBinning1(fwkFrame, selectInfo, metaQueue, selectList, zsdTs, lastZslFrame);
    } else {
        selected = selectZSLFramesForZeroShutterDelay(fwkFrame, selectInfo, metaQueue, selectList, zsdTs, lastZslFrame);
        if (!selected) {
            ZSL_LOGI("[ZSLSelector] fwkFrame:%u selectZSLFramesByZeroShutterDelay failed", fwkFrame);
            selected = selectZSLFramesForNormal(fwkFrame, selectInfo, metaQueue, selectList, zsdTs, lastZslFrame);
        }
    }

    zohal::SelectionResult result;
    if (selected) {
        FrameList* last = nullptr;  // the entry visited last gets the list itself
        visitQueues(selectInfo.zslQueues, [&](const std::shared_ptr<zohal::ZSLFrameQueue>& queue) {
            if (!queue) return;
            if (last != nullptr) *last = selectList;
            last = &result[queue->getQueueId()];
        });
        if (last != nullptr) *last = std::move(selectList);
    }
    return result;
}

bool MotionZSLSelector::selectZSLFramesForZeroShutterDelay(uint32_t fwkFrame,
                                                           const zohal::ZSLFrameSelectInfo& selectInfo,
                                                           std::shared_ptr<zohal::ZSLFrameQueue>& metaQueue,
                                                           std::vector<uint32_t>& selectList, long zsdTs,
                                                           int lastZslFrame) {
    DeliveryOrder frames(metaQueue.get());
    const uint32_t needed = motion::needZslNum(selectInfo);

    int64_t anchorOffset = 0;
    const AnchorSearch search{fwkFrame, metaQueue.get(), zsdTs};
    if (!search.inConsumerList(frames.consumer, anchorOffset)) search.inProducerList(frames.producer, anchorOffset);

    const uint32_t csbegin = motion::spanBegin(frames.consumerCount() + anchorOffset, needed);
    ZSL_LOGI("[ZSLSelector] fwkFrame:%u ZSLAnchor offset:%d csbegin:%d consumerQ[%s]", fwkFrame,
             static_cast<int32_t>(anchorOffset), csbegin, vectorToString(frames.consumer).c_str());

    const int64_t begin = motion::firstPresent(selectInfo, frames.consumer, csbegin);
    // An anchor before the last consumer frame leaves the producer list out.
    const int64_t producerEnd = anchorOffset >= -1 ? frames.producerCount() : 0;
    keepNewer(frames.consumer, begin, frames.consumerCount(), lastZslFrame);
    keepNewer(frames.producer, motion::spanBegin(anchorOffset, needed), producerEnd, lastZslFrame);
    append(selectList, std::move(frames));
    return selectList.size() >= needed;
}

bool MotionZSLSelector::selectZSLFramesForSNSCBinning2(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                       std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                       std::vector<uint32_t>& selectList, long zsdTs,
                                                       int lastZslFrame) {
    DeliveryOrder frames(metaQueue.get());
    const uint32_t needed = motion::needZslNum(selectInfo);
    if (!frames.hasEnough(needed, fwkFrame)) return false;

    // An even anchor in the consumer list gives way to the next place, which may be the first of the producer list.
    int64_t anchorOffset = 0;
    const AnchorSearch search{fwkFrame, metaQueue.get(), zsdTs};
    bool anchored = search.inConsumerList(frames.consumer, anchorOffset);
    if (anchored && motion::isEven(frames.frameAt(frames.consumerCount() + anchorOffset))) {
        ++anchorOffset;
        anchored = anchorOffset < 0;
    }
    if (!anchored) search.inProducerList(frames.producer, anchorOffset);

    const uint32_t csbegin = motion::spanBegin(frames.consumerCount() + anchorOffset, needed);
    ZSL_LOGI("[ZSLSelector] fwkFrame:%u ZSLAnchor offset:%lu csbegin:%d consumerQ[%s]", fwkFrame, anchorOffset, csbegin,
             vectorToString(frames.consumer).c_str());

    const int64_t begin = motion::firstPresent(selectInfo, frames.consumer, csbegin);
    keepNewer(frames.consumer, begin, frames.consumerCount(), lastZslFrame);
    keepNewer(frames.producer, motion::spanBegin(anchorOffset, needed), frames.producerCount(), lastZslFrame);
    append(selectList, std::move(frames));
    return true;
}

bool MotionZSLSelector::selectZSLFramesForNormal(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                 std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                 std::vector<uint32_t>& selectList, long /*zsdTs*/, int lastZslFrame) {
    DeliveryOrder frames(metaQueue.get());
    const int64_t needed = motion::needZslNum(selectInfo);
    if (!frames.hasEnough(needed, fwkFrame)) return false;

    // The newest consumer frames make up for what the producer list is short of. Their order is settled at the end.
    FrameList& consumer = frames.consumer;
    const int64_t newestBegin = frames.consumerCount() - std::max<int64_t>(needed - frames.producerCount(), 0);
    std::nth_element(consumer.begin(), consumer.begin() + newestBegin, consumer.end());
    keepNewer(consumer, newestBegin, frames.consumerCount(), lastZslFrame);
    keepNewer(frames.producer, 0, frames.producerCount(), lastZslFrame);
    append(selectList, std::move(frames));
    std::sort(selectList.begin(), selectList.end());
    return true;
}

bool MotionZSLSelector::selectFramesForLbmfAndHdr(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                  std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                  std::vector<uint32_t>& selectList, long zsdTs, int lastZslFrame) {
    const GroupScan<4> scan{fwkFrame, metaQueue.get(), zsdTs, static_cast<uint32_t>(lastZslFrame),
                            motion::needZslNum(selectInfo) + 1};
    return scan.appendNearestGroup(selectList);
}

bool MotionZSLSelector::selectFramesForBinningAndHdr(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                     std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                     std::vector<uint32_t>& selectList, long zsdTs, int lastZslFrame) {
    const GroupScan<7> scan{fwkFrame, metaQueue.get(), zsdTs, static_cast<uint32_t>(lastZslFrame),
                            motion::needZslNum(selectInfo) + 1};
    if (!scan.appendNearestGroup(selectList)) return false;
    // A group is one frame longer than needed; of a selection that was empty its fourth exposure is the one to spare.
    if (selectList.size() > 3) selectList.erase(selectList.begin() + 3);
    return true;
}

bool MotionZSLSelector::selectZSLFramesForSNSCBinning1(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                       std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                       std::vector<uint32_t>& selectList, long /*zsdTs*/,
                                                       int lastZslFrame) {
    DeliveryOrder frames(metaQueue.get());
    const int64_t needed = motion::needZslNum(selectInfo);
    int64_t length = 2 * needed - 2;  // of needed - 1 pairs
    if (!frames.hasEnough(length, fwkFrame)) return false;

    int64_t begin = frames.frameCount() - length;
    ZSL_LOGD("[ZSLSelector] fwkFrame:%u, consumerSize: %d, fistConsumerFrameNum: %d", fwkFrame,
             static_cast<int32_t>(length - frames.producerCount()),
             begin < frames.consumerCount() ? frames.consumer[begin] : 0);
    if (needed == 1) {
        // No pair to choose from: the newest frame it is.
        --begin;
        length = 1;
    } else if (needed > 1 && begin > 0 && motion::isEven(frames.frameAt(begin))) {
        --begin;
    }

    // The consumer part runs to the end of its list: without producers a span that was moved is one frame longer.
    const int64_t producerBegin = begin - frames.consumerCount();
    keepNewer(frames.consumer, begin, frames.consumerCount(), lastZslFrame);
    keepNewer(frames.producer, producerBegin, producerBegin + length, lastZslFrame);
    append(selectList, std::move(frames.consumer), frames.producer.size());
    ZSL_LOGD("[ZSLSelector] consumer: finalList: %s", vectorToString(selectList).c_str());
    append(selectList, std::move(frames.producer));
    ZSL_LOGI("[ZSLSelector] before update fwkFrame:%u final Select list: %s", fwkFrame,
             vectorToString(selectList).c_str());
    thinPairs(selectList, needed);
    ZSL_LOGI("[ZSLSelector] after update fwkFrame:%u final Select list: %s", fwkFrame,
             vectorToString(selectList).c_str());
    return true;
}
