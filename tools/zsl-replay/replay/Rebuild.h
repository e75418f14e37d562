// Rebuilds a request from its lines in a log.

#pragma once

#include <set>
#include <string>
#include <vector>

#include "account/LogRequests.h"
#include "capture/Case.h"

namespace replay {

struct Rebuilt {
    Request request;
    bool disabled = false;                 // by the switch property
    std::string obstacle;                  // why there is nothing to replay; else empty
    std::vector<std::string> assumptions;  // for what the log does not hold
    std::vector<std::string> gaps;         // what the log should hold and does not
};

Rebuilt rebuild(const LoggedRequest& logged);

// The metadata queue loses frames.
void loseFrames(Request& request, const std::set<uint32_t>& frames);

// The platform that rebuilt requests run on.
Case platformOf(bool disabled);

}  // namespace replay
