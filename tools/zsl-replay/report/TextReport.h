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

// Whether there is a request to show: some in a log can't be rebuilt.
bool isRebuilt(const Finding& finding);

// The lines that a run logged to a channel.
const std::vector<desk::LogLine>& logOf(const Run& run, LogChannel channel);

}  // namespace replay
