#define LOG_TAG "ZoCamHAL"

#include "external/odm/policy/zsl/mtk/general/motion/GroupScan.h"

#include <algorithm>
#include <limits>

namespace motion {

namespace {

constexpr int64_t kFarthest = std::numeric_limits<int64_t>::max();

// |a - b|, saturating.
int64_t distance(int64_t a, int64_t b) {
    int64_t difference = 0;
    const bool overflow = __builtin_sub_overflow(a > b ? a : b, a > b ? b : a, &difference);
    return overflow ? kFarthest : difference;
}

}  // namespace

uint32_t GroupScan::nearestGroup(const FrameList& allList, zolog::Caller caller) const {
    const auto allCount = static_cast<uint32_t>(allList.size());
    const uint32_t end = allCount - std::min(groupLength, allCount);
    uint32_t baseIndex = allCount;
    int64_t timeStampDiffMin = kFarthest;
    for (uint32_t i = 0; i < end; ++i) {
        if (allList[i] % groupCycle != 0 || allList[i] <= lastZslFrame) continue;

        const uint32_t referenceFrame = allList[(i + groupLength) / 2];
        const zohal::ZSLFrameEntry* entry = metaQueue->getFrame(referenceFrame);
        if (entry == nullptr) continue;  // a group that cannot be judged must not win

        const int64_t shutterTime = entry->metaInfo.shutterTime;
        ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u allList: %u shutter time:%ld", fwkFrame,
                referenceFrame, shutterTime);
        const int64_t timeDiff = distance(shutterTime, zsdTs);
        if (timeDiff < timeStampDiffMin) {
            baseIndex = i;
            timeStampDiffMin = timeDiff;
        }
        ZSL_LOG(zolog::kInfo, caller,
                "[ZSLSelector] fwkFrame:%u index: %d, timeDiff: %ldtimeStampDiffMin: %ldbaseIndex:%d", fwkFrame, i,
                timeDiff, timeStampDiffMin, baseIndex);
    }
    return baseIndex;
}

bool GroupScan::appendNearestGroup(FrameList& selectList, zolog::Caller caller) const {
    const FrameList consumer = frameList(metaQueue, zohal::kConsumerList);
    const FrameList allList = frameList(metaQueue, zohal::kAllFrames);
    const uint32_t baseIndex = nearestGroup(allList, caller);
    if (baseIndex == allList.size()) return false;

    // Consumer frames at positions counted in the list of all frames: the two lists need not begin alike.
    const auto end = std::min<int64_t>(groupLength, static_cast<int64_t>(consumer.size()));
    const auto begin = std::min<int64_t>(baseIndex, end);
    selectList.insert(selectList.end(), consumer.begin() + begin, consumer.begin() + end);
    return true;
}

}  // namespace motion
