// A finding for a person.

#pragma once

#include <string>

#include "replay/Finding.h"

namespace replay {

enum class LogChannel { kNone, kOnline, kOffline };

struct TextOptions {
    bool colour = false;
    bool namesFile = false;  // ahead of the request
    LogChannel log = LogChannel::kNone;
};

// Lines, each with its end. Nothing in them that a terminal would obey but colours.
std::string textOf(const Finding& finding, const TextOptions& options);

// "short: 2 of 3 frames needed".
std::string textOf(const Warning& warning);

// "1 line", "2 lines".
std::string counted(size_t number, const std::string& what);

// The lines that a run logged to a channel.
const std::vector<desk::LogLine>& logOf(const Run& run, LogChannel channel);

}  // namespace replay
