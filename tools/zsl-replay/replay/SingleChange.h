// Replays a request with one thing changed, to see which frames that brings in.

#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

#include "capture/Case.h"
#include "replay/Session.h"

namespace replay {

using FrameSet = std::set<uint32_t>;
using Reasons = std::map<uint32_t, std::string>;  // by frame

// As a queue has the frame, or had it before it lost it: the metadata queue, else any other.
std::optional<int64_t> shutterTimeNs(const Request& request, uint32_t frame);

// The target moment of a run; absent when it was not worked out.
std::optional<int64_t> targetOf(const Request& request, const Run& run);

// For frames in `open`, the first change that brings them in, as "chosen if ...": nothing had been used; a queue still
// held the frame, or all it has lost; more or fewer frames were needed; the target moment were earlier or later. Of a
// request that was not selected for: selection had been asked for. Gives up when that takes too long.
Reasons findSingleChanges(const Case& theCase, size_t request, const Run& run, const SessionOptions& options,
                          const FrameSet& open, bool& gaveUp);

}  // namespace replay
