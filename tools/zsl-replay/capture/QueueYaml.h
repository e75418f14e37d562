// Frame lists and frame queues in case files.

#pragma once

#include <vector>

#include "capture/Case.h"
#include "capture/YamlInput.h"

namespace replay {

constexpr uint32_t kMostFrames = 100'000;  // of one run or one request; a guard against slips of the hand

// A run {first, count, step, except}, or a list of numbers and runs.
FrameList readFrameList(const Yaml& in);

// The queues of a request, what they leave out filled in.
std::vector<Queue> readQueues(const Yaml& in);

// Sets `value` where the key is given.
template <typename T>
void readNumber(const Yaml& in, T& value) {
    if (in) value = in.number<T>();
}

}  // namespace replay
