// Replays requests from a log, and finds out which last used frames are consistent with their lines.

#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "replay/Finding.h"
#include "replay/LogMatch.h"
#include "replay/Rebuild.h"

namespace replay {

// What several runs of a request, which differ in the last used frame, have in common.
class Survey {
public:
    void add(const Request& request, const Run& run, const Account& account);

    const FrameList& certain() const { return mCertain; }                // chosen by all of them; ascending
    const FrameList& possible() const { return mPossible; }              // chosen by some
    const std::set<std::string>& warnings() const { return mWarnings; }  // kinds that hold for all of them

private:
    bool mBegun = false;
    FrameList mCertain;
    FrameList mPossible;
    std::set<std::string> mWarnings;
};

// The frames that a request's metadata queue lists; ascending, no number twice.
FrameList listedFrames(const Request& request);

// A request as far as its lines allow to rebuild it.
struct ReplayedRequest {
    Rebuilt rebuilt;
    Evidence evidence;
    std::string firstDifference;        // of the replay's lines from the log's; empty when there is none
    std::vector<FrameList> consistent;  // used frames (one or none) that bring out the log's lines
    std::set<std::string> warnings;     // kinds that hold for all of these
};

class LogReplay {
public:
    // Hands out the session to serve a request on.
    using Sessions = std::function<Session&(bool disabled)>;
    explicit LogReplay(Sessions sessions) : mSessions(std::move(sessions)) {}

    ReplayedRequest replay(const LoggedRequest& logged);

private:
    struct Attempt {
        Rebuilt rebuilt;
        Run run;
        LoggedRequest replayed;  // its lines
        Agreement agreement;
    };
    Attempt attempt(Rebuilt rebuilt, const LoggedRequest& logged);
    void searchAllList(const LoggedRequest& logged, Attempt& best);
    void searchLostFrames(const LoggedRequest& logged, Attempt& best);
    void tryLastUsedFrames(const LoggedRequest& logged, Attempt& best, ReplayedRequest& out);

    Sessions mSessions;
};

}  // namespace replay
