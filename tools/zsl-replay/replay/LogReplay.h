// Replays requests from a log and proves, line by line, that they are what the log shows.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "replay/LogRebuild.h"
#include "replay/Session.h"

namespace replay {

// How a replay's lines and the log's own agree.
struct Agreement {
    size_t lines = 0;  // in the log
    size_t reproduced = 0;
    size_t unexpected = 0;             // lines of the replay that the log should have and has not
    size_t excused = 0;                // lines of the replay that the log lacks for a reason
    std::string firstDifference;       // empty when there is none
    std::vector<std::string> missing;  // what the log lacks, with the reason

    bool whole() const { return reproduced == lines && unexpected == 0; }
    size_t distance() const { return lines - reproduced + unexpected + excused; }
    std::string summary() const;  // "14 of 14 lines reproduced"
};
Agreement compare(const LoggedRequest& logged, const std::vector<desk::LogLine>& replayed);

struct ReplayedRequest {
    Rebuilt rebuilt;
    Run run;
    Agreement agreement;
};

class LogReplay {
public:
    explicit LogReplay(SessionOptions options) : mOptions(std::move(options)) { mOptions.offlineLog = true; }

    ReplayedRequest replay(const LoggedRequest& logged);
    Run run(const Rebuilt& rebuilt);

private:
    void attempt(const LoggedRequest& logged, const Rebuilt& rebuilt, ReplayedRequest& best);
    void searchAllList(const LoggedRequest& logged, ReplayedRequest& best);
    void searchLostFrames(const LoggedRequest& logged, ReplayedRequest& best);
    void searchLastUsedFrame(const LoggedRequest& logged, ReplayedRequest& best);

    SessionOptions mOptions;
    std::unique_ptr<Session> mSession;
    bool mDisabled = false;
};

}  // namespace replay
