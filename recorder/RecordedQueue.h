// The core's queues as the real selector sees them while it is recorded: every operation passed on, every answer noted.

#pragma once

#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "api/ZSLFrameRecords.h"
#include "recorder/CaseFile.h"

namespace recorder {

// What one queue answered in the calls of a request. Of several answers to one question the last one stands.
struct QueueNotes {
    const zohal::ZSLFrameQueue* queue = nullptr;  // to tell queues apart, never followed
    std::string identity;                         // its id, type and name, which stay; empty until the rest was asked
    std::map<int32_t, FrameList> lists;           // by kind
    std::map<uint32_t, std::optional<std::pair<int64_t, uint32_t>>> frames;  // shutter time and mode of what it holds
    int32_t type = 0;
    bool changed = false;  // a question had two answers
    bool failed = false;   // memory was short: an answer is missing
};
using Notes = std::vector<std::shared_ptr<QueueNotes>>;
using Queues = std::vector<std::shared_ptr<zohal::ZSLFrameQueue>>;

// The queues of one call, by position: null where the core's handle is, and one that is handed in twice is one here
// too. `notes` are those of an earlier call with the same queues, to be continued, or become new ones.
Queues recordedQueues(const Queues& queues, Notes& notes);

// After a call: asks for what it left out.
void askForRest(const Queues& recorded, const Notes& notes);

void append(std::string& text, const Notes& queues);

}  // namespace recorder
