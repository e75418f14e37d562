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

// The lines of one request, taken apart once to be compared with those of many replays.
class LogMatch {
public:
    explicit LogMatch(const LoggedRequest& logged);

    // `replayed` holds lines of the offline channel, which cuts nothing.
    Agreement compare(const LoggedRequest& replayed) const;

    bool hasDebugLines() const { return mHasDebug; }
    bool hasCutLines() const { return mHasCut; }

private:
    // A line as far as a replay can have the same: level, function and text, without group, source line and addresses.
    struct Line {
        std::string text;
        bool debug;
        bool gate;
        bool cut;
    };
    static std::vector<Line> taken(const std::vector<LoggedLine>& lines);
    void walk(const std::vector<Line>& logged, const std::vector<Line>& replayed, Agreement& out) const;
    void lack(const Line& line, bool atEnd, Agreement& out) const;

    const LoggedRequest& mLogged;
    std::vector<Line> mLines;
    std::vector<std::pair<uint32_t, std::vector<Line>>> mChecks;  // by frame
    bool mHasDebug = false;
    bool mHasCut = false;
    bool mHasGate = false;
};

}  // namespace replay
