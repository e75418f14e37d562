// What was found out about one request: everything that a report prints, and nothing that it has to work out.

#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "account/Account.h"
#include "account/LogLine.h"
#include "capture/Case.h"
#include "replay/Session.h"

namespace replay {

// A question for the engineer. About the selection shown.
struct Warning {
    std::string kind;  // "fallback", "nothing", "short", "repeated", "not held", "no anchor"; each at most once
    bool certain;      // holds for every last used frame that is consistent with the log; in a case file always
    std::string text;
};

// Those that hold for a request served so, all of them certain. `account` is of the run's lines.
std::vector<Warning> warningsOf(const Request& request, const Run& run, const Account& account);

// What differs between two runs of one request.
struct Difference {
    struct Step {
        size_t number;  // from 1, calls and log lines counted together
        std::string before;
        std::string after;
    };
    FrameList gained;
    FrameList lost;
    bool reordered = false;
    std::vector<std::string> answers;  // of the gate, a strategy called directly, the checks
    std::optional<Step> firstStep;

    bool none() const { return gained.empty() && lost.empty() && !reordered && answers.empty() && !firstStep; }
};

// Why a frame was chosen or left out, at one place of the metadata queue's lists.
struct FrameReason {
    uint32_t frame;
    std::string list;  // "consumer", "producer", "all" (what neither has)
    size_t position;
    std::optional<int64_t> offsetNs;  // from the target moment; absent without it, or a shutter time
    std::vector<uint32_t> queues;     // the queues that hold it
    std::string reason;
};

// Of a request rebuilt from a log: how far the log supports it.
struct Evidence {
    LoggedLine firstLine;
    Account account;   // of the log's lines, which may show less than the replay's
    size_t lines = 0;  // in the log
    size_t reproduced = 0;
    std::vector<std::string> assumptions;  // for what the log does not hold
    std::vector<std::string> missing;      // what the log should hold and does not
    std::string obstacle;                  // why there is nothing to replay; else empty

    // Ascending, no number twice. Certain frames are chosen whatever the last used frame was, as far as the log's lines
    // allow it; possible ones for some.
    FrameList certain;
    FrameList possible;
    std::string open;                   // why more than the last used frame is open; else empty
    std::vector<FrameList> consistent;  // used frames (one or none) that bring out the log's lines

    bool settled() const { return open.empty() && certain == possible; }
};

struct Finding {
    std::string file;
    size_t number = 0;  // of the request in its file, from 1
    Case platform;      // of its file, without requests
    Request request;
    bool isPicked = true;  // else served all the same, since state lasts, and not reported
    Run run;

    // Worked out from these.
    Account account;                  // of the run's own lines
    std::optional<int64_t> targetNs;  // absent where there is none (0 stands for none), or it was not worked out
    std::optional<uint32_t> anchor;   // only a frame met after the target
    std::optional<int64_t> anchorDistanceNs;  // from the target; absent without an anchor or a target
    std::optional<uint32_t> spanBegin;  // first frame of the span where the library put it, after the presence check
    std::vector<Warning> warnings;

    // Those that a queue holds or has lost: as the metadata queue has them, else the first of the others.
    std::map<uint32_t, FrameData> frames;

    std::vector<std::string> differences;  // from what is expected, or from the log
    std::optional<Evidence> log;           // for a request from a log
    std::optional<Run> before;             // with --set or --drop: of the unchanged request
    std::optional<Request> unchanged;      // with --set or --drop
    std::optional<Difference> whatIf;      // from `before` to `run`
    std::optional<Run> other;              // with --against: of the same request, served by the second build
    std::optional<Difference> against;     // from `run` to `other`
    std::vector<FrameReason> explain;
    std::vector<std::string> notes;  // on how this was found out: a build that stays in memory, a trial that misleads

    // A frame of the selection that is not certain.
    bool isOpen(uint32_t frame) const;

    // Of its shutter time from the target; absent without either.
    std::optional<int64_t> offsetNs(uint32_t frame) const;

    // Whether frames were to be selected at all.
    bool isAsked() const { return run.outcome.selected || request.call; }

    // Whether these are known: all are in a case file, and in a log where a line shows them.
    bool showsFrame() const { return !log || log->account.fwkFrame; }
    bool showsGate() const { return !log || log->account.showsGate(); }

    bool canServe() const { return !log || log->obstacle.empty(); }

    // As expected, or as logged; with --against, the same from both builds.
    bool passes() const { return differences.empty() && !(against && !against->none()); }
};

// Fills in what is worked out from request and run; the warnings as certain.
void workOut(Finding& finding);

}  // namespace replay
