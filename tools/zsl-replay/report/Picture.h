// Draws requests: the queues as rows over time, and what was chosen.

#pragma once

#include <string>
#include <vector>

#include "capture/Case.h"
#include "replay/Session.h"

namespace replay {

// One panel a request, stacked in one file that canDrawTo(). Throws InputError where it can't be written.
void drawPicture(const std::string& file, const Case& theCase, const std::vector<Run>& runs);

}  // namespace replay
