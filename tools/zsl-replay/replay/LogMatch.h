// Compares a request's lines in a log with those of a replay.

#pragma once

#include <string>
#include <vector>

#include "account/LogRequests.h"

namespace replay {

// How a replay's lines and the log's own agree.
struct Agreement {
    size_t lines = 0;  // in the log
    size_t reproduced = 0;
    size_t unexpected = 0;                 // lines of the replay that the log should have and has not
    size_t excused = 0;                    // lines of the replay that the log lacks for a reason
    std::string firstDifference;           // empty when there is none
    std::vector<std::string> missing;      // what the log lacks, with the reason
    std::vector<std::string> repetitions;  // lines that the log has once more than they were logged

    bool whole() const { return reproduced == lines && unexpected == 0; }
    size_t distance() const { return lines - reproduced + unexpected + excused; }
};

// Lines are the same in level, function and text, without addresses: group and source line need not be. `replayed` is
// of the offline channel, which cuts nothing.
Agreement agreementOf(const LoggedRequest& logged, const LoggedRequest& replayed);

// Whether any of a request's lines is at this level; is cut.
bool hasDebugLines(const LoggedRequest& logged);
bool hasCutLines(const LoggedRequest& logged);

}  // namespace replay
