// A finding for a program: docs/json.md describes every key.

#pragma once

#include <string>

#include "replay/Finding.h"
#include "report/TextReport.h"

namespace replay {

// One line, with its end. The arrays `log` and `explain` are in it where they were asked for.
std::string jsonOf(const Finding& finding, LogChannel log, bool explains);

}  // namespace replay
