// Says of every frame of a request why it was chosen or left out.

#pragma once

#include <string>
#include <vector>

#include "capture/Case.h"
#include "replay/Session.h"

namespace replay {

// One line for every place in the request's lists: consumer, producer, what only the list of all frames has; then what
// only other queues list. A line gives list and position, number, shutter time from the target moment ("-": unknown),
// who holds it, and a reason: what the library was seen to do, or what replays with one thing changed prove. No rule of
// the library is known here. `run` is what came out of the request.
std::vector<std::string> explain(const Case& theCase, size_t request, const Run& run,
                                 const SessionOptions& options);

}  // namespace replay
