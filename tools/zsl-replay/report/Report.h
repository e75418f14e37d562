// Says what came out of a request: for a person, or for a program.

#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "capture/Text.h"
#include "account/Messages.h"
#include "replay/Session.h"

namespace replay {

enum class LogChannel { kNone, kOnline, kOffline };

struct ReportStyle {
    bool colour = false;
    LogChannel log = LogChannel::kNone;
};

// What the log tells of a run.
Facts factsOf(const Run& run);

// The anchor that the library searched out; absent when it found none or did not search.
std::optional<uint32_t> anchorFrame(const Request& request, const Facts& facts);

void reportText(std::ostream& out, const Request& request, const Run& run,
                const std::vector<std::string>& differences, const ReportStyle& style);

// One line of JSON, with the keys of `more` at its end.
void reportJson(std::ostream& out, const std::string& file, const Request& request, const Run& run,
                const std::vector<std::string>& differences, LogChannel channel, const nlohmann::ordered_json& more);

}  // namespace replay
