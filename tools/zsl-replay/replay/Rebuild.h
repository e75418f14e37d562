// Rebuilds a request from its lines in a log.

#pragma once

#include <set>

#include "account/LogRequests.h"
#include "replay/Finding.h"

namespace replay {

// The request, its platform, and what of it is assumed or missing. One that can't be replayed differs.
Finding rebuild(const LoggedRequest& logged);

// Moves frames that the queue holds to the lost ones.
void lose(Queue& queue, const std::set<uint32_t>& frames);

}  // namespace replay
