// Compares a request's lines in a log with those of a replay.

#pragma once

#include <set>
#include <string>
#include <vector>

#include "account/LogRequests.h"

namespace replay {

// How a replay's lines and the log's own agree.
struct Agreement {
    size_t lines = 0;  // in the log
    size_t reproduced = 0;
    size_t differing = 0;  // lines that only one of the two has
    std::string firstDifference;
    size_t excused = 0;                    // lines of the replay that the log lacks for a reason
    std::set<std::string> excuses;         // the reasons
    std::vector<std::string> repetitions;  // lines that the log has once more than they were logged

    bool whole() const { return differing == 0; }
    size_t distance() const { return differing + excused; }

    // Excuses are for what the log lacks; where one replay needs fewer of them, the log does not lack so much.
    bool isNearerThan(const Agreement& other) const {
        return whole() != other.whole() ? whole() : distance() < other.distance();
    }
};

// Lines are the same in level, function and text, without addresses: group and source line need not be. `replayed` is
// of the offline channel, which cuts nothing.
Agreement agreementOf(const LoggedRequest& logged, const LoggedRequest& replayed);

}  // namespace replay
