#define LOG_TAG "ZoCamHAL"

#include "external/odm/policy/zsl/mtk/general/motion/GroupScan.h"

#include <algorithm>
#include <limits>
#include <utility>

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

template <uint32_t kGroupCycle>
uint32_t GroupScan<kGroupCycle>::nearestGroup(const FrameList& allList, zolog::Caller caller) const {
    const auto allCount = static_cast<uint32_t>(allList.size());
    const uint32_t end = allCount - std::min(groupLength, allCount);
    uint32_t baseIndex = allCount;
    int64_t timeStampDiffMin = kFarthest;
    const uint32_t* const frames = allList.data();  // read once: no call of the queue can move it
    for (uint32_t i = 0; i < end; ++i) {
        if (frames[i] % kGroupCycle != 0 || frames[i] <= lastZslFrame) continue;

        const uint32_t referenceFrame = frames[(i + groupLength) / 2];
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

template <uint32_t kGroupCycle>
bool GroupScan<kGroupCycle>::appendNearestGroup(FrameList& selectList, zolog::Caller caller) const {
    FrameList consumer = frameList(metaQueue, zohal::kConsumerList);
    const FrameList allList = frameList(metaQueue, zohal::kAllFrames);
    const uint32_t baseIndex = nearestGroup(allList, caller);
    if (baseIndex == allList.size()) return false;

    consumer.resize(std::min<size_t>(consumer.size(), groupLength));
    consumer.erase(consumer.begin(), consumer.begin() + std::min<size_t>(consumer.size(), baseIndex));
    append(selectList, std::move(consumer));
    return true;
}

template struct GroupScan<4>;
template struct GroupScan<7>;

}  // namespace motion
