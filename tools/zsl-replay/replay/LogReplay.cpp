#include "replay/LogReplay.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "account/Messages.h"
#include "capture/Queues.h"
#include "report/Report.h"

namespace replay {

namespace {

constexpr size_t kLookahead = 256;  // lines

// A line as far as a replay can have the same: without group, source line and addresses.
struct ComparedLine {
    std::string text;
    bool debug;
    bool gate;
    bool cut;
};

std::vector<ComparedLine> compared(const std::vector<LoggedLine>& lines) {
    std::vector<ComparedLine> result;
    for (const LoggedLine& line : lines) {
        const auto message = splitMessage(line.message);
        std::string text = line.level + (' ' + std::string(message->function)) + ": " + std::string(message->text);
        text.erase(std::min(text.find(" this = "), text.find_last_not_of(' ') + 1));
        result.push_back({std::move(text), line.level == 'D', message->function == "isSelectorNeeded", line.cut});
    }
    return result;
}

bool isSame(const ComparedLine& logged, const ComparedLine& replayed) {
    return logged.cut ? replayed.text.compare(0, logged.text.size(), logged.text) == 0 : logged.text == replayed.text;
}

// Walks two sequences of lines side by side, and skips what only one of them has.
class Comparison {
public:
    Comparison(const LoggedRequest& logged, Agreement& out) : mLogged(logged), mOut(out) {
        for (const LoggedLine& line : logged.lines) mHasDebug |= line.level == 'D';
    }

    void compare(const std::vector<LoggedLine>& loggedLines, const std::vector<LoggedLine>& replayedLines) {
        const auto logged = compared(loggedLines);
        const auto replayed = compared(replayedLines);
        mHasGate = !logged.empty() && logged.front().gate;
        auto at = replayed.begin();
        for (auto line = logged.begin(); line != logged.end(); ++line) {
            ++mOut.lines;
            const auto end =
                replayed.end() - at > static_cast<std::ptrdiff_t>(kLookahead) ? at + kLookahead : replayed.end();
            const auto found = std::find_if(at, end, [line](const ComparedLine& each) { return isSame(*line, each); });
            if (found != end) {
                while (at != found) lack(*at++, false);
                ++mOut.reproduced;
                ++at;
            } else if (line != logged.begin() && std::prev(line)->text == line->text) {
                --mOut.lines;
                mOut.missing.push_back("the log repeats a line: \"" + line->text + '"');
            } else {
                differ("the log has \"" + line->text + "\", the replay " +
                       (at != replayed.end() ? '"' + at->text + '"' : "ends"));
            }
        }
        while (at != replayed.end()) lack(*at++, true);
    }

private:
    // A line that only the replay has.
    void lack(const ComparedLine& line, bool atEnd) {
        const char* reason = line.gate && !mHasGate             ? ""
                             : !mLogged.selection && !line.gate ? "the selection is not in the log"
                             : !mLogged.notes.empty()           ? "the log says that it lost lines"
                             : line.debug && !mHasDebug         ? "the log has no debug lines"
                             : atEnd && !mLogged.ended          ? "the log ends within the request"
                                                                : nullptr;
        if (reason == nullptr) {
            ++mOut.unexpected;
            differ("the log lacks \"" + line.text + '"');
            return;
        }
        if (*reason == '\0') return;
        ++mOut.excused;
        if (mReasons.insert(reason).second) {
            mOut.missing.push_back(std::string(reason) + ", from \"" + line.text + "\" on");
        }
    }

    void differ(const std::string& what) {
        if (mOut.firstDifference.empty()) mOut.firstDifference = what;
    }

    const LoggedRequest& mLogged;
    Agreement& mOut;
    bool mHasDebug = false;
    bool mHasGate = false;
    std::set<std::string> mReasons;
};

}  // namespace

std::string Agreement::summary() const {
    return std::to_string(reproduced) + " of " + std::to_string(lines) + (lines == 1 ? " line" : " lines") +
           " reproduced";
}

Agreement compare(const LoggedRequest& logged, const std::vector<desk::LogLine>& replayedLines) {
    LoggedRequest replayed;
    for (const desk::LogLine& line : replayedLines) replayed.add(loggedLine(line));
    Agreement agreement;
    Comparison comparison(logged, agreement);
    comparison.compare(logged.lines, replayed.lines);
    // Which frames are checked, and how often, is the core's choice.
    for (const LoggedRequest::Check& check : logged.checks) {
        const auto same = std::find_if(replayed.checks.begin(), replayed.checks.end(),
                                       [&check](const auto& each) { return each.frame == check.frame; });
        comparison.compare(check.lines, same != replayed.checks.end() ? same->lines : std::vector<LoggedLine>());
    }
    return agreement;
}

Run LogReplay::run(const Rebuilt& rebuilt) {
    if (!mSession || mDisabled != rebuilt.disabled) {
        mSession.reset();  // only one at a time
        mSession = std::make_unique<Session>(platformOf(rebuilt), mOptions);
        mDisabled = rebuilt.disabled;
    }
    return mSession->serve(rebuilt.request);
}

ReplayedRequest LogReplay::replay(const LoggedRequest& logged) {
    ReplayedRequest best{rebuild(logged), {}, {}};
    if (!best.rebuilt.obstacle.empty()) {
        best.agreement = compare(logged, {});
        best.agreement.firstDifference = "can't be rebuilt: " + best.rebuilt.obstacle;
        return best;
    }
    best.run = run(best.rebuilt);
    best.agreement = compare(logged, best.run.offlineLog);
    if (logged.selection) {
        searchAllList(logged, best);
        searchLostFrames(logged, best);
        searchLastUsedFrame(logged, best);
    }
    return best;
}

// Keeps a changed request when its lines are nearer to the log's.
void LogReplay::attempt(const LoggedRequest& logged, const Rebuilt& rebuilt, ReplayedRequest& best) {
    ReplayedRequest tried{rebuilt, run(rebuilt), {}};
    tried.agreement = compare(logged, tried.run.offlineLog);
    if (tried.agreement.distance() < best.agreement.distance()) best = std::move(tried);
}

namespace {

Facts factsOf(const LoggedRequest& logged) {
    Facts facts;
    for (const LoggedLine& line : logged.lines) gather(*splitMessage(line.message), facts);
    return facts;
}

}  // namespace

// The list of all frames is never logged. The reference frames tell whether it is as assumed.
void LogReplay::searchAllList(const LoggedRequest& logged, ReplayedRequest& best) {
    const std::vector<GroupStart> groups = factsOf(logged).groups;
    const Queue* meta = best.rebuilt.request.metaQueue();
    if (meta == nullptr || (groups.empty() && replay::factsOf(best.run).groups.empty())) return;
    const auto reference = [&](const GroupStart& group) {
        return (static_cast<size_t>(group.position) + best.rebuilt.request.need + 1) / 2;
    };
    const auto refuted = std::find_if(groups.begin(), groups.end(), [&](const GroupStart& group) {
        return reference(group) >= meta->all.size() || meta->all[reference(group)] != group.reference.frame;
    });
    const std::string assumed = "list of all frames: consumer, then producer, which ";
    if (refuted == groups.end()) {
        best.rebuilt.assumptions.push_back(assumed + std::to_string(groups.size()) +
                                           " reference frames in the log confirm");
        return;
    }
    best.rebuilt.assumptions.push_back(assumed + "reference frame " + std::to_string(refuted->reference.frame) +
                                       " refutes");
    // As long as the last group takes, and numbered so that the first reference frame is in its place.
    Rebuilt variant = best.rebuilt;
    FrameList all(std::min<size_t>(size_t{groups.back().position} + variant.request.need + 2, kMostFrames));
    std::iota(all.begin(), all.end(),
              static_cast<uint32_t>(groups.front().reference.frame - reference(groups.front())));
    variant.request.queues[meta - best.rebuilt.request.queues.data()].all = all;
    variant.assumptions.push_back("list of all frames instead: numbered on from the first reference frame");
    attempt(logged, variant, best);
}

// The library passes over some lost frames without a line: where a replay shows a shutter time and the log does not,
// the frame was lost. Groups ahead of the first one logged were left out for another reason.
void LogReplay::searchLostFrames(const LoggedRequest& logged, ReplayedRequest& best) {
    if (best.agreement.distance() == 0) return;
    std::set<uint32_t> seen;
    for (const ShutterTime& each : factsOf(logged).shutterTimes) seen.insert(each.frame);
    Rebuilt variant = best.rebuilt;
    std::set<uint32_t> lost;
    Facts facts = replay::factsOf(best.run);
    constexpr int kMostRounds = 64;  // each shows what the loss of the former brings to light
    size_t before = 1;
    for (int round = 0; round < kMostRounds && before != lost.size(); ++round) {
        before = lost.size();
        bool begun = facts.groups.empty();
        for (const ShutterTime& each : facts.shutterTimes) {
            begun = begun || seen.count(each.frame) > 0;
            if (begun && seen.count(each.frame) == 0) lost.insert(each.frame);
        }
        loseFrames(variant.request, lost);
        facts = replay::factsOf(run(variant));
    }
    if (lost.empty()) return;
    variant.assumptions.push_back("lost: " + join({lost.begin(), lost.end()}) + ", passed over without a line");
    attempt(logged, variant, best);
}

// The log never shows the last used frame; what it left out may show.
void LogReplay::searchLastUsedFrame(const LoggedRequest& logged, ReplayedRequest& best) {
    const Rebuilt start = best.rebuilt;
    FrameList candidates;
    if (best.agreement.distance() != 0) {
        const Facts facts = replay::factsOf(best.run);
        candidates = facts.beforeThinning.value_or(best.run.chosen());
        const Queue* meta = start.request.metaQueue();
        for (const GroupStart& group : facts.groups) {
            if (group.position < meta->all.size()) candidates.push_back(meta->all[group.position]);
        }
        std::sort(candidates.begin(), candidates.end());
    }
    const size_t most = std::min<size_t>(candidates.size(), 256);
    for (size_t i = 0; i < most && best.agreement.distance() != 0; ++i) {
        Rebuilt variant = start;
        variant.request.used = {candidates[i]};
        attempt(logged, variant, best);
    }
    const FrameList& used = best.rebuilt.request.used;
    best.rebuilt.assumptions.push_back(used.empty() ? "last used frame: none, as no line shows one"
                                                    : "last used frame: " + join(used) +
                                                          ", the lowest that brings out the log's lines");
}

}  // namespace replay
