// Reads the selector's log messages back.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "account/LogLine.h"
#include "capture/Case.h"

namespace replay {

// Matches text against a pattern in which every '%' stands for a run of characters up to the next literal one; returns
// the runs, or nothing where the pattern does not fit.
std::optional<std::vector<std::string_view>> match(std::string_view pattern, std::string_view text);

// The numbers in a text such as "5 17 "; nothing when it holds anything else.
std::optional<FrameList> parseFrames(std::string_view text);

// The same for numbers, which must all fit into 64 bits (a negative offset printed as unsigned is read as negative).
std::optional<std::vector<int64_t>> matchNumbers(std::string_view pattern, std::string_view text);

// What one request's messages tell.
struct ShutterTime {
    uint32_t frame;
    int64_t ns;
};
struct GroupStart {
    uint32_t position;
    ShutterTime reference;
    int64_t timeDiffNs;
    uint32_t nearestPosition;
};
struct GateValues {
    bool needed;
    int64_t enableZsl, forceOn, hdr, hdrsr, motionStrategy, banding;
};
struct Facts {
    bool disabled = false;
    std::optional<GateValues> gate;
    std::optional<int64_t> anchorTimestampNs;
    std::optional<int64_t> targetNs;
    std::optional<int64_t> anchorOffset;
    std::vector<ShutterTime> shutterTimes;  // as the search met them
    std::vector<GroupStart> groups;
    std::optional<FrameList> beforeThinning;
    std::optional<FrameList> afterThinning;
};
void gather(const Message& message, Facts& facts);

}  // namespace replay
