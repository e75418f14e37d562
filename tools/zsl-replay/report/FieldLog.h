// Logs on the command line: replays and reports what is in them.

#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "report/CaseWriter.h"
#include "replay/LogReplay.h"
#include "report/Report.h"

namespace replay {

struct FieldLogOptions {
    SessionOptions session;
    ReportStyle style;
    bool json = false;
    bool summary = false;  // only what differs, and one line a file
    std::ostream* saved = nullptr;
};

// Replays the requests in a log; returns whether every line of them was reproduced. Throws InputError when the log
// holds none.
bool replayLog(std::ostream& out, const std::string& file, InputFile& reader, const FieldLogOptions& options);

// Replays the cases' own logs, and says where the selection that a log leads to is another than the case's, and which
// assumption makes it so. Returns whether there is none that no assumption explains.
bool roundTrip(std::ostream& out, const Case& theCase, const SessionOptions& options);

}  // namespace replay
