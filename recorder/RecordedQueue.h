// The core's queues as the real selector sees them while it is recorded: every operation passed on, every answer noted.

#pragma once

#include <optional>

#include "recorder/CaseFile.h"

namespace recorder {

using Queues = std::vector<std::shared_ptr<zohal::ZSLFrameQueue>>;

// What one queue answered in the calls of a request. Of several answers to one question the last one stands.
struct QueueNotes {
    const zohal::ZSLFrameQueue* const queue;  // only followed during a call, in which the core holds it
    std::string identity{};                   // its id, type and name, which stay; empty until the rest was asked
    std::map<int32_t, FrameList> lists{};     // by kind
    std::map<uint32_t, std::optional<std::pair<int64_t, uint32_t>>> frames{};  // shutter time and mode of what it holds
    bool isSure = true;  // every question had one answer, and none is missing for want of memory
};
using Notes = std::vector<std::shared_ptr<QueueNotes>>;

// The queues of one call, by position: null where the core's handle is, and one that is handed in twice is one here
// too. `notes` of the same queues in an earlier call are continued.
Queues recordedQueues(const Queues& queues, Notes& notes);

// After a call: asks once for what it left out.
void askForRest(const Notes& notes);

// A queue as a case has it.
std::string textOf(const QueueNotes& notes);

}  // namespace recorder
