#include "replay/LogReplay.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <numeric>

#include "capture/Text.h"

namespace replay {

namespace {

constexpr Recording kForComparison = {false, true, false};
constexpr size_t kMostListed = 500;  // frames that are tried as the last used one; time and memory grow by the square

FrameList sorted(FrameList frames) {
    std::sort(frames.begin(), frames.end());
    frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
    return frames;
}

bool logsTheSame(const std::vector<desk::LogLine>& a, const std::vector<desk::LogLine>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const desk::LogLine& x, const desk::LogLine& y) { return x.message == y.message; });
}

LoggedRequest replayedRequest(const Run& run) {
    LoggedRequest request;
    for (const desk::LogLine& line : run.offlineLog) request.add(loggedLine(line));
    return request;
}

std::string usedWords(const FrameList& shown, size_t consistent, size_t listed) {
    const std::string words = "last used frame: " + join(shown);
    if (listed == 0) return words + ", as no line shows one";
    if (consistent == 0) return words + ", which comes nearest to the log's lines";
    return words + (shown.empty() ? "" : ", the lowest that brings out the log's lines") + "; of the " +
           std::to_string(listed) + " listed, " + std::to_string(consistent - (shown.empty() ? 1 : 0)) +
           " bring them out";
}

}  // namespace

FrameList listedFrames(const Request& request) {
    const Queue* meta = request.metaQueue();
    if (meta == nullptr) return {};
    FrameList frames = meta->deliveryOrder();
    frames.insert(frames.end(), meta->all.begin(), meta->all.end());
    return sorted(std::move(frames));
}

void Survey::add(const Request& request, const Run& run, const Account& account) {
    const FrameList chosen = sorted(run.chosen());
    std::set<std::string> warnings;
    for (const Warning& warning : warningsOf(request, run, account)) {
        if (!mBegun || mWarnings.count(warning.kind) > 0) warnings.insert(warning.kind);
    }
    mWarnings = std::move(warnings);
    FrameList certain;
    FrameList possible;
    const FrameList& all = mBegun ? mCertain : chosen;
    std::set_intersection(all.begin(), all.end(), chosen.begin(), chosen.end(), std::back_inserter(certain));
    std::set_union(mPossible.begin(), mPossible.end(), chosen.begin(), chosen.end(), std::back_inserter(possible));
    mCertain = std::move(certain);
    mPossible = std::move(possible);
    mBegun = true;
}

LogReplay::Attempt LogReplay::attempt(Rebuilt rebuilt, const LoggedRequest& logged) {
    Attempt result{std::move(rebuilt), {}, {}, {}};
    result.run = mSessions(result.rebuilt.disabled).serve(result.rebuilt.request, kForComparison);
    result.replayed = replayedRequest(result.run);
    result.agreement = agreementOf(logged, result.replayed);
    return result;
}

ReplayedRequest LogReplay::replay(const LoggedRequest& logged) {
    ReplayedRequest out;
    Attempt best{rebuild(logged), {}, {}, {}};
    const std::string obstacle = best.rebuilt.obstacle;
    if (obstacle.empty()) {
        best = attempt(std::move(best.rebuilt), logged);
        if (logged.selection) {
            searchAllList(logged, best);
            searchLostFrames(logged, best);
        }
        tryLastUsedFrames(logged, best, out);
    } else {
        best.agreement = agreementOf(logged, {});
        best.agreement.firstDifference = "can't be rebuilt: " + obstacle;
    }

    const LoggedLine& first = logged.firstLine();
    const Agreement& agreement = best.agreement;
    Evidence& evidence = out.evidence;
    evidence.process = first.pid;
    evidence.thread = first.tid;
    evidence.firstLine = first.number;
    evidence.time = first.time;
    evidence.lines = agreement.lines;
    evidence.reproduced = agreement.reproduced;
    evidence.assumptions = best.rebuilt.assumptions;
    evidence.missing = best.rebuilt.gaps;
    evidence.missing.insert(evidence.missing.end(), agreement.missing.begin(), agreement.missing.end());
    evidence.obstacle = obstacle;
    evidence.open = !obstacle.empty()           ? obstacle
                    : out.consistent.empty()    ? "no last used frame tried brings out the log's lines"
                    : hasCutLines(logged)       ? "a line of it is cut"
                    : !evidence.missing.empty() ? evidence.missing.front()
                    : !hasDebugLines(logged)    ? "the log has no debug lines"
                                                : evidence.open;
    evidence.missing.insert(evidence.missing.end(), agreement.repetitions.begin(), agreement.repetitions.end());
    if (!evidence.open.empty()) {
        evidence.certain.clear();
        evidence.possible = listedFrames(best.rebuilt.request);
        out.warnings.clear();
    }
    out.firstDifference = agreement.firstDifference;
    out.rebuilt = std::move(best.rebuilt);
    return out;
}

// The list of all frames is never logged. The reference frames tell whether it is as assumed.
void LogReplay::searchAllList(const LoggedRequest& logged, Attempt& best) {
    const std::vector<GroupLine>& groups = logged.account.groups;
    const Queue* meta = best.rebuilt.request.metaQueue();
    if (meta == nullptr || (groups.empty() && best.replayed.account.groups.empty())) return;
    const auto reference = [&](const GroupLine& group) {
        return (static_cast<size_t>(group.position) + best.rebuilt.request.need + 1) / 2;
    };
    const auto refuted = std::find_if(groups.begin(), groups.end(), [&](const GroupLine& group) {
        return reference(group) >= meta->all.size() || meta->all[reference(group)] != group.referenceFrame;
    });
    const std::string assumed = "list of all frames: consumer, then producer, which ";
    if (refuted == groups.end()) {
        best.rebuilt.assumptions.push_back(assumed + std::to_string(groups.size()) +
                                           " reference frames in the log confirm");
        return;
    }
    best.rebuilt.assumptions.push_back(assumed + "reference frame " + std::to_string(refuted->referenceFrame) +
                                       " refutes");
    // As long as the last group takes, and numbered so that the first reference frame is in its place.
    Rebuilt variant = best.rebuilt;
    FrameList all(std::min<size_t>(size_t{groups.back().position} + variant.request.need + 2, kMostFrames));
    std::iota(all.begin(), all.end(), static_cast<uint32_t>(groups.front().referenceFrame - reference(groups.front())));
    variant.request.queues[meta - best.rebuilt.request.queues.data()].all = all;
    variant.assumptions.push_back("list of all frames instead: numbered on from the first reference frame");
    Attempt tried = attempt(std::move(variant), logged);
    if (tried.agreement.distance() < best.agreement.distance()) best = std::move(tried);
}

// The library passes over some lost frames without a line: where a replay shows a shutter time and the log does not,
// the frame was lost. Groups ahead of the first one logged were left out for another reason.
void LogReplay::searchLostFrames(const LoggedRequest& logged, Attempt& best) {
    if (best.agreement.distance() == 0) return;
    // Frames that an account shows a time of, in the order of its lines.
    const auto timed = [](const Account& account) {
        FrameList frames;
        for (const FrameMet& met : account.met) {
            if (met.shutterTimeNs) frames.push_back(met.frame);
        }
        for (const GroupLine& group : account.groups) frames.push_back(group.referenceFrame);
        return frames;
    };
    const FrameList seenFrames = timed(logged.account);
    const std::set<uint32_t> seen(seenFrames.begin(), seenFrames.end());
    Rebuilt variant = best.rebuilt;
    std::set<uint32_t> lost;
    Account account = best.replayed.account;
    constexpr int kMostRounds = 64;  // each shows what the loss of the former brings to light
    size_t before = 1;
    for (int round = 0; round < kMostRounds && before != lost.size(); ++round) {
        before = lost.size();
        bool begun = account.groups.empty();
        for (const uint32_t frame : timed(account)) {
            begun = begun || seen.count(frame) > 0;
            if (begun && seen.count(frame) == 0) lost.insert(frame);
        }
        loseFrames(variant.request, lost);
        account = accountOf(mSessions(variant.disabled).serve(variant.request, kForComparison).offlineLog);
    }
    if (lost.empty()) return;
    variant.assumptions.push_back("lost: " + join({lost.begin(), lost.end()}) + ", passed over without a line");
    Attempt tried = attempt(std::move(variant), logged);
    if (tried.agreement.distance() < best.agreement.distance()) best = std::move(tried);
}

// No line shows the last used frame: none, and each listed one, are tried. The one that is shown is none if that is
// consistent, else the lowest that is, else the one that comes nearest.
void LogReplay::tryLastUsedFrames(const LoggedRequest& logged, Attempt& best, ReplayedRequest& out) {
    Request& request = best.rebuilt.request;
    FrameList candidates = best.run.outcome.selected ? listedFrames(request) : FrameList();
    if (candidates.size() > kMostListed) {
        out.evidence.open = "too many frames are listed to try each as the last used one";
        candidates.clear();
    }
    // Most candidates log what another did.
    struct Lines {
        std::vector<desk::LogLine> lines;
        LoggedRequest replayed;
        Agreement agreement;
    };
    struct Candidate {
        FrameList used;
        Run run;
        const Lines* lines;
    };
    std::deque<Lines> known;
    known.push_back({best.run.offlineLog, best.replayed, best.agreement});
    std::vector<Candidate> tried;
    tried.push_back({{}, best.run, &known.front()});
    Session& session = mSessions(best.rebuilt.disabled);
    Capture capture = session.prepare(request);
    for (const uint32_t frame : candidates) {
        capture.info.usedZslFrames = {frame};
        Run run = session.serve(capture, kForComparison);
        auto same = std::find_if(known.begin(), known.end(),
                                 [&run](const Lines& each) { return logsTheSame(each.lines, run.offlineLog); });
        if (same == known.end()) {
            LoggedRequest replayed = replayedRequest(run);
            Agreement agreement = agreementOf(logged, replayed);
            same = known.insert(same, {std::move(run.offlineLog), std::move(replayed), std::move(agreement)});
        }
        run.offlineLog.clear();
        tried.push_back({{frame}, std::move(run), &*same});
    }

    // Excuses are for what the log lacks; where one candidate needs fewer of them, the log does not lack so much.
    const auto isNearer = [](const Candidate& a, const Candidate& b) {
        const Agreement& x = a.lines->agreement;
        const Agreement& y = b.lines->agreement;
        return x.whole() != y.whole() ? x.whole() : x.distance() < y.distance();
    };
    const Candidate& shown = *std::min_element(tried.begin(), tried.end(), isNearer);
    Survey survey;
    bool wouldEnd = false;
    for (const Candidate& each : tried) {
        if (!each.lines->agreement.whole()) continue;
        const bool isConsistent = !isNearer(shown, each);
        wouldEnd |= !isConsistent;
        if (!isConsistent) continue;
        out.consistent.push_back(each.used);
        survey.add(request, each.run, each.lines->replayed.account);
    }
    out.evidence.certain = survey.certain();
    out.evidence.possible = survey.possible();
    out.warnings = survey.warnings();
    best.agreement = shown.lines->agreement;
    best.rebuilt.assumptions.push_back(usedWords(shown.used, out.consistent.size(), candidates.size()));
    if (wouldEnd) best.rebuilt.assumptions.push_back("the log does not end within the request");
    request.used = shown.used;
}

}  // namespace replay
