// A request in each selection mode, on the platform that the host libraries make up: their frame queue, metadata,
// properties, clock and adapter.

#pragma once

#include <cstdint>
#include <vector>

#include "api/ZSLFrameRecords.h"

namespace bench {

using FrameList = std::vector<uint32_t>;

inline constexpr uint32_t kFirstFrame = 840;  // starts a group of every cycle
inline constexpr uint32_t kProducerFrames = 4;
inline constexpr uint32_t kNeededFrames = 8;

// The selection modes of a motion capture.
enum Mode { kPlain, kNormalFallback, kLbmfHdr, kBinningHdr, kBanding };
inline constexpr const char* kModeNames[] = {"plain", "normal fallback", "LBMF HDR", "binning HDR", "banding"};
inline constexpr Mode kModes[] = {kPlain, kNormalFallback, kLbmfHdr, kBinningHdr, kBanding};
inline bool choosesGroups(Mode mode) { return mode == kLbmfHdr || mode == kBinningHdr; }

// Every queue holds every frame; the anchor is the last consumer frame, or, for groups, what chooses the first group.
struct Capture {
    Capture(Mode captureMode, uint32_t frames, uint32_t queues);

    // What the platform adapter is to answer before the gate sees the request.
    void setPlatform() const;

    Mode mode;
    uint32_t frameCount;
    int64_t zsdTs;
    zohal::ZSLFrameSelectInfo request{};
    zohal::ZSLFrameCheckInfo check{};
};

}  // namespace bench
