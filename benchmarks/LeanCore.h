// A HAL core with as little of its own as there can be, so that what a selector costs shows: queues that look a frame
// up by its distance from the first one, log sinks that discard, a property store and a clock that answer at once.
// These platform calls are this executable's own definitions, which take precedence over the host libraries'.

#pragma once

#include <cstdint>
#include <vector>

#include "api/ZSLFrameRecords.h"

namespace lean {

using FrameList = std::vector<uint32_t>;

inline constexpr uint32_t kFirstFrame = 840;  // starts a group of every cycle
inline constexpr uint32_t kProducerFrames = 4;
inline constexpr uint32_t kNeededFrames = 8;

// The selection modes of a motion capture.
enum Mode { kPlain, kNormalFallback, kLbmfHdr, kBinningHdr, kBanding };
inline constexpr Mode kModes[] = {kPlain, kNormalFallback, kLbmfHdr, kBinningHdr, kBanding};
const char* modeName(Mode mode);

// A request in one mode. Every queue holds every frame; the anchor is the last consumer frame, or, for groups, what
// chooses the first group.
struct Capture {
    Capture(Mode mode, uint32_t frames, uint32_t queues);

    // What the platform adapter is to answer before the gate sees the request.
    void setPlatform() const;

    Mode mode;
    uint32_t frameCount;
    int64_t zsdTs;
    zohal::ZSLFrameSelectInfo request{};
    zohal::ZSLFrameCheckInfo check{};
};

// Opens or shuts both log channels.
void openLog(bool open);

}  // namespace lean
