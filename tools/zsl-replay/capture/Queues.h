// Frame lists and frame queues in case files.

#pragma once

#include <vector>

#include "capture/Case.h"
#include "capture/Value.h"

namespace replay {

// Reads those of one file, and no more frames than a file may name: a small one's runs, aliases and queues without
// lists of their own could fill all memory.
class FrameReader {
public:
    // A run {first, count}, or a list of numbers and runs.
    FrameList list(const Value& in);

    // The queues of a request, what they leave out filled in.
    std::vector<Queue> queues(const Value& in);

private:
    FrameList run(const Value& in);
    void addHeld(const Value& in, Queue& queue);
    Queue queue(const Value& in, size_t position);
    void copyFrames(const Queue& meta, const Value& in, Queue& queue);
    void lose(const Value& in, Queue& queue);
    void take(size_t frames, const Value& where);

    size_t mLeft = kMostFrames;
};

}  // namespace replay
