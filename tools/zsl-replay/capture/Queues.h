// Frame lists and frame queues in case files.

#pragma once

#include <vector>

#include "capture/Case.h"
#include "capture/Value.h"

namespace replay {

// What is left of the frames that one file may name: a small file's runs, aliases and queues without lists of their own
// could fill all memory.
class FrameBudget {
public:
    // Throws PlacedError at `where`.
    void take(size_t frames, const Value& where) {
        if (frames > mLeft) where.fail("at most " + std::to_string(kMostFrames) + " frames in a file", "more");
        mLeft -= frames;
    }

private:
    size_t mLeft = kMostFrames;
};

// A run {first, count, step, except}, or a list of numbers and runs.
FrameList readFrameList(const Value& in, FrameBudget& budget);

// The queues of a request, what they leave out filled in.
std::vector<Queue> readQueues(const Value& in, FrameBudget& budget);

}  // namespace replay
