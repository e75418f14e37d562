// Compares what came out of a request with what must come out, and with what came out of another run.

#pragma once

#include <string>
#include <vector>

#include "replay/Finding.h"

namespace replay {

// One line for each thing that differs; empty when all is as the request expects.
std::vector<std::string> differencesFromExpected(const Finding& finding);

// Both runs were traced. Log lines are the same when function and text are: builds differ in source lines and
// addresses.
Difference differenceOf(const Run& before, const Run& after);

}  // namespace replay
