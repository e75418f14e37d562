// The core's queues as the real selector sees them while it is recorded: every operation passed on, every answer noted.

#pragma once

#include <memory>

#include "recorder/CaseText.h"

namespace recorder {

// What one queue answered in the calls of a request.
struct QueueNotes {
    explicit QueueNotes(const zohal::ZSLFrameQueue* handle) : queue(handle) {}
    void note(uint32_t zslFrame, const zohal::ZSLFrameEntry* entry);
    std::string text() const;

    const zohal::ZSLFrameQueue* const queue;  // to tell queues apart, never followed
    Answers answers;
    std::map<uint32_t, std::string> frames;  // entries; empty where there is none
    FrameList listed;                        // by any of the lists
    int32_t type = 0;                        // of the queue; 0 while it was not asked
    bool failed = false;                     // memory was short, and an answer is missing
};
using Notes = std::vector<std::shared_ptr<QueueNotes>>;
using Queues = std::vector<std::shared_ptr<zohal::ZSLFrameQueue>>;

// The queues of one call, by position: null where the core's handle is, and one that is handed in twice is one here
// too. `notes` are those of an earlier call with the same queues, to be continued, or become new ones. They end noting
// with their last owner, whoever keeps a queue.
Queues recordedQueues(const Queues& queues, Notes& notes);

// After a call: asks for what it left out.
void askForRest(const Queues& recorded, const Notes& notes);

}  // namespace recorder
