#define LOG_TAG "ZoCamHAL"

#include "external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.h"

#include <cutils/properties.h>
#include <utils/Timers.h>

#include <algorithm>
#include <cstring>

#include "adapter/AdapterClient.h"
#include "external/odm/policy/zsl/mtk/general/motion/GroupScan.h"
#include "external/odm/policy/zsl/mtk/general/motion/MotionTags.h"
#include "external/odm/policy/zsl/mtk/general/motion/StrategySteps.h"
#include "log/ZoLog.h"

using motion::DeliveryOrder;
using motion::FrameList;
using motion::GroupScan;
using zohal::vectorToString;

namespace {

// Read once, while the library is being loaded. Without the property the selector is off.
const int32_t gMotionZslDisable = property_get_bool("vendor.zohal.selector.motion.zsl.disable", true);

constexpr uint32_t kTagEnableZsl = 0x10029;  // android.control.enableZsl
constexpr uint8_t kIconForcesMotion = 4;

bool isBandingStrategy(uint32_t motionStrategy) { return motionStrategy >= 2 && motionStrategy < 5; }

bool isLbmfMode(uint32_t sensorModeType) { return sensorModeType == 8 || sensorModeType == 9 || sensorModeType == 21; }

// Both lists are asked for whether or not they are logged: the core sees the same calls with any log settings.
void logFrameLists(uint32_t fwkFrame, const zohal::ZSLFrameQueue& queue,
                   zolog::Caller caller = zolog::Caller::current()) {
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

// Takes the list for `count` - 1 pairs of frames and keeps the first frame of each, of the last pair both, and whatever
// follows.
void thinPairs(FrameList& frames, int64_t count) {
    const int64_t lastPair = 2 * count - 4;
    size_t kept = 0;
    for (size_t position = 0; position < frames.size(); ++position) {
        if (position % 2 == 0 || static_cast<int64_t>(position) >= lastPair) frames[kept++] = frames[position];
    }
    frames.resize(kept);
}

// A flag that another binary's check may have answered with: only the lowest bit of its byte counts.
bool lowestBit(const bool& flag) {
    uint8_t byte = 0;
    static_assert(sizeof(byte) == sizeof(flag));
    std::memcpy(&byte, &flag, sizeof(byte));
    return (byte & 1) != 0;
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
    const zohal::ZSLSelectorResult result = checkDesiredSensorMode(checkInfo);
    return {lowestBit(result.first), lowestBit(result.second)};
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
        if (const auto sensorMode = motion::readSeamlessSensorMode(metadata.get(), selectInfo.reqtMasterId)) {
            ZSL_LOGI("sensor id:%d sensor mode: %d", selectInfo.reqtMasterId, *sensorMode);
            sensorModeType = *sensorMode;
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
            // What the first strategy found too few of stays in the list, and the second may choose it again.
            ZSL_LOGI("[ZSLSelector] fwkFrame:%u selectZSLFramesByZeroShutterDelay failed", fwkFrame);
            selected = selectZSLFramesForNormal(fwkFrame, selectInfo, metaQueue, selectList, zsdTs, lastZslFrame);
        }
    }

    zohal::SelectionResult result;
    if (selected) {
        forEachZSLQ(selectInfo.zslQueues, [&](const std::shared_ptr<zohal::ZSLFrameQueue>& queue) {
            if (queue) result[queue->getQueueId()] = selectList;
        });
    }
    return result;
}

bool MotionZSLSelector::selectZSLFramesForZeroShutterDelay(uint32_t fwkFrame,
                                                           const zohal::ZSLFrameSelectInfo& selectInfo,
                                                           std::shared_ptr<zohal::ZSLFrameQueue>& metaQueue,
                                                           std::vector<uint32_t>& selectList, long zsdTs,
                                                           int lastZslFrame) {
    const DeliveryOrder frames(metaQueue.get());
    const uint32_t needed = motion::needZslNum(selectInfo);

    const int64_t anchor = motion::findAnchor(frames, 0, zsdTs, fwkFrame).place;
    const int64_t anchorOffset = anchor - frames.consumerCount();
    const uint32_t csbegin = motion::spanBegin(anchor, needed);
    ZSL_LOGI("[ZSLSelector] fwkFrame:%u ZSLAnchor offset:%d csbegin:%d consumerQ[%s]", fwkFrame,
             static_cast<int32_t>(anchorOffset), csbegin, vectorToString(frames.consumer).c_str());

    const int64_t begin = motion::firstPresent(selectInfo, frames, csbegin);
    // An anchor ahead of the last consumer frame leaves the producer list out.
    const int64_t end = anchorOffset < -1 ? frames.consumerCount() : frames.frameCount();
    frames.appendNewer(selectList, begin, end, lastZslFrame);
    return selectList.size() >= needed;
}

bool MotionZSLSelector::selectZSLFramesForSNSCBinning2(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                       std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                       std::vector<uint32_t>& selectList, long zsdTs,
                                                       int lastZslFrame) {
    const DeliveryOrder frames(metaQueue.get());
    const uint32_t needed = motion::needZslNum(selectInfo);
    if (!frames.hasEnough(needed, fwkFrame)) return false;

    // An even anchor in the consumer list gives way to the next place; where that is past the list, the search goes on.
    const int64_t consumerEnd = frames.consumerCount();
    motion::Anchor anchor = motion::findAnchor(frames, 0, zsdTs, fwkFrame);
    if (anchor.isAfterTarget && anchor.place < consumerEnd && motion::isEven(frames.frameAt(anchor.place))) {
        ++anchor.place;
        if (anchor.place == consumerEnd) anchor = motion::findAnchor(frames, consumerEnd, zsdTs, fwkFrame);
    }

    const int64_t anchorOffset = anchor.place - consumerEnd;
    const uint32_t csbegin = motion::spanBegin(anchor.place, needed);
    // A negative offset goes to an unsigned conversion: this strategy has always shown -1 as 18446744073709551615, and
    // readers of its log take it for what it is.
    ZSL_LOGI("[ZSLSelector] fwkFrame:%u ZSLAnchor offset:%lu csbegin:%d consumerQ[%s]", fwkFrame, anchorOffset, csbegin,
             vectorToString(frames.consumer).c_str());

    const int64_t begin = motion::firstPresent(selectInfo, frames, csbegin);
    frames.appendNewer(selectList, begin, frames.frameCount(), lastZslFrame);
    return true;
}

bool MotionZSLSelector::selectZSLFramesForNormal(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                 std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                 std::vector<uint32_t>& selectList, long /*zsdTs*/, int lastZslFrame) {
    DeliveryOrder frames(metaQueue.get());
    const int64_t needed = motion::needZslNum(selectInfo);
    if (!frames.hasEnough(needed, fwkFrame)) return false;

    // The newest consumer frames make up for what the producer list is short of.
    std::sort(frames.consumer.begin(), frames.consumer.end());
    const int64_t begin = frames.consumerCount() - std::max<int64_t>(needed - frames.producerCount(), 0);
    frames.appendNewer(selectList, begin, frames.frameCount(), lastZslFrame);
    std::sort(selectList.begin(), selectList.end());
    return true;
}

bool MotionZSLSelector::selectFramesForLbmfAndHdr(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                  std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                  std::vector<uint32_t>& selectList, long zsdTs, int lastZslFrame) {
    const GroupScan scan{
        fwkFrame, metaQueue.get(), zsdTs, static_cast<uint32_t>(lastZslFrame), motion::needZslNum(selectInfo) + 1, 4};
    return scan.appendNearestGroup(selectList);
}

bool MotionZSLSelector::selectFramesForBinningAndHdr(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                     std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                     std::vector<uint32_t>& selectList, long zsdTs, int lastZslFrame) {
    const GroupScan scan{
        fwkFrame, metaQueue.get(), zsdTs, static_cast<uint32_t>(lastZslFrame), motion::needZslNum(selectInfo) + 1, 7};
    if (!scan.appendNearestGroup(selectList)) return false;
    // A group is one frame longer than needed; of a selection that was empty its fourth exposure is the one to spare.
    if (selectList.size() > 3) selectList.erase(selectList.begin() + 3);
    return true;
}

bool MotionZSLSelector::selectZSLFramesForSNSCBinning1(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                                       std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                                       std::vector<uint32_t>& selectList, long /*zsdTs*/,
                                                       int lastZslFrame) {
    const DeliveryOrder frames(metaQueue.get());
    const int64_t needed = motion::needZslNum(selectInfo);
    const int64_t length = 2 * needed - 2;  // of needed - 1 pairs
    if (!frames.hasEnough(length, fwkFrame)) return false;

    const int64_t consumerEnd = frames.consumerCount();
    int64_t begin = frames.frameCount() - length;
    int64_t end = frames.frameCount();
    ZSL_LOGD("[ZSLSelector] fwkFrame:%u, consumerSize: %d, fistConsumerFrameNum: %d", fwkFrame,
             static_cast<int32_t>(length - frames.producerCount()), begin < consumerEnd ? frames.consumer[begin] : 0);
    if (needed == 1) {
        // No pair to choose from: the newest frame it is.
        begin = std::max<int64_t>(end - 1, 0);
    } else if (needed > 1 && begin > 0 && motion::isEven(frames.frameAt(begin))) {
        // One frame earlier. The consumer part runs to the end of its list all the same, so without producers the span
        // gets longer.
        --begin;
        --end;
    }

    frames.appendNewer(selectList, begin, consumerEnd, lastZslFrame);
    ZSL_LOGD("[ZSLSelector] consumer: finalList: %s", vectorToString(selectList).c_str());
    frames.appendNewer(selectList, std::max(begin, consumerEnd), end, lastZslFrame);
    ZSL_LOGI("[ZSLSelector] before update fwkFrame:%u final Select list: %s", fwkFrame,
             vectorToString(selectList).c_str());
    thinPairs(selectList, needed);
    ZSL_LOGI("[ZSLSelector] after update fwkFrame:%u final Select list: %s", fwkFrame,
             vectorToString(selectList).c_str());
    return true;
}
