// Compares what came out of a request with what must come out.

#pragma once

#include <string>
#include <vector>

#include "replay/Finding.h"

namespace replay {

// One line for each thing that differs, and for each that there was nothing to compare with; empty when all is as the
// request expects.
std::vector<std::string> differencesFromExpected(const Finding& finding);

}  // namespace replay
