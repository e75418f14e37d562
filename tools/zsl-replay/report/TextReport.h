// A finding for a person.

#pragma once

#include <string>
#include <vector>

#include "replay/Finding.h"

namespace replay {

// The lines of a run that are shown; null: none.
using LogChannel = std::vector<desk::LogLine> Run::*;

struct TextOptions {
    bool colour = false;
    bool namesFile = false;  // ahead of the request
    LogChannel log = nullptr;
};

// Lines, each with its end. Nothing in them that a terminal would obey but colours.
std::string textOf(const Finding& finding, const TextOptions& options);

// "a.log: line 27, process 10, thread 11 (request 5, 11-22 01:02:03.004, framework frame 7)".
std::string titleOf(const Finding& finding, bool namesFile);

// "short: 2 of 3 frames needed".
std::string textOf(const Warning& warning);

// "1 line", "2 lines".
std::string counted(size_t number, const std::string& what);

}  // namespace replay
