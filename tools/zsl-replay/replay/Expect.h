// Compares what came out of a request with what must come out.

#pragma once

#include <string>
#include <vector>

#include "capture/Case.h"
#include "replay/Session.h"

namespace replay {

// One line for each thing that differs; empty when all is as expected.
std::vector<std::string> differences(const Request& request, const Run& run);

}  // namespace replay
