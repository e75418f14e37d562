// The core's queues as the real selector sees them while it is recorded: every operation passed on, every answer noted.

#pragma once

#include "recorder/CaseText.h"

namespace recorder {

using Queues = std::vector<std::shared_ptr<zohal::ZSLFrameQueue>>;
using Notes = std::vector<std::shared_ptr<QueueNotes>>;

// The queues of one call, by position: null where the core's handle is, and one that is handed in twice is one here
// too. `notes` are those of an earlier call with the same queues, to be continued, or become new ones. They end noting
// with their last owner, whoever keeps a queue.
Queues recordedQueues(const Queues& queues, Notes& notes);

// After a call: asks for what it left out.
void askForRest(const Queues& recorded, const Notes& notes);

}  // namespace recorder
