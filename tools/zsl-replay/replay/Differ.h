// What differs between two runs of one request.

#pragma once

#include "replay/Finding.h"

namespace replay {

// Both runs were traced. Log lines are the same when function and text are: builds differ in source lines and
// addresses.
Difference differenceOf(const Run& before, const Run& after);

}  // namespace replay
