// Selection by groups, for captures whose frames come in cycles of exposures: a frame whose number is a multiple of the
// cycle starts a group.

#pragma once

#include <cstdint>

#include "external/odm/policy/zsl/mtk/general/motion/StrategySteps.h"

namespace motion {

struct GroupScan {
    uint32_t fwkFrame;  // for the log
    const zohal::ZSLFrameQueue* metaQueue;
    int64_t zsdTs;          // the target moment, ns
    uint32_t lastZslFrame;  // groups that start at or below it are not considered
    uint32_t groupLength;
    uint32_t groupCycle;  // groups start at its multiples

    // Position in the list of all frames of the group whose reference frame is nearest to the target moment, and of two
    // equally near the earlier. The list's size when there is no such group. The reference frame stands at half the
    // position of the group's end, so for a later group it may stand ahead of the group. Groups that no frame
    // follows in the list, or whose reference frame the queue has lost, are passed over.
    uint32_t nearestGroup(const FrameList& allList, zolog::Caller caller) const;

    // Appends the nearest group's frames: the consumer list's at positions from the group's up to the group length,
    // which are fewer the later the group starts, down to none. False when there is no group.
    bool appendNearestGroup(FrameList& selectList, zolog::Caller caller = zolog::Caller::current()) const;
};

}  // namespace motion
