#include "replay/LogFit.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "capture/Text.h"
#include "replay/LogMatch.h"
#include "replay/Rebuild.h"

namespace replay {

namespace {

constexpr size_t kMostListed = 500;  // frames that are tried as the last used one: time grows by the square
constexpr int kMostRounds = 64;      // in search of lost frames: each shows what the loss of the former brings to light

// The frames that a request's metadata queue lists; ascending, no number twice.
FrameList listedFrames(const Request& request) {
    const Queue* meta = request.metaQueue();
    if (meta == nullptr) return {};
    const FrameList order = meta->deliveryOrder();
    std::set<uint32_t> frames(order.begin(), order.end());
    frames.insert(meta->all.begin(), meta->all.end());
    return {frames.begin(), frames.end()};
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

// Frames that an account shows a time of, in the order of its lines.
FrameList timedFrames(const Account& account) {
    FrameList frames;
    for (const FrameMet& met : account.met) {
        if (met.shutterTimeNs) frames.push_back(met.frame);
    }
    for (const GroupLine& group : account.groups) frames.push_back(group.referenceFrame);
    return frames;
}

std::string usedWords(const FrameList& shown, size_t consistent, size_t listed) {
    const std::string words = "last used frame: " + join(shown);
    if (listed == 0) return words + ", as no line shows one";
    if (consistent == 0) return words + ", which comes nearest to the log's lines";
    return words + "; of the " + std::to_string(listed) + " listed, " +
           std::to_string(consistent - (shown.empty() ? 1 : 0)) + " bring them out";
}

// A rebuilt request, replayed.
struct Attempt {
    Finding finding;
    LoggedRequest replayed;  // the replay's lines
    Agreement agreement;
};

class LogFit {
public:
    LogFit(Session& session, const LoggedRequest& logged, Finding rebuilt)
        : mSession(session), mLogged(logged), mBest(attempt(std::move(rebuilt))) {}
    Attempt find();

private:
    Attempt attempt(Finding finding);
    void takeIfNearer(Attempt tried, const std::string& assumption);
    void searchAllList();
    void searchLostFrames();
    void tryLastUsedFrames(Attempt& attempt);
    void checkAsLogged(Attempt tried);

    Session& mSession;
    const LoggedRequest& mLogged;
    Attempt mBest;
};

Attempt LogFit::attempt(Finding finding) {
    finding.run = mSession.serve(finding.request);
    Attempt result{std::move(finding), {}, {}};
    result.replayed = replayedRequest(result.finding.run);
    result.agreement = agreementOf(mLogged, result.replayed);
    return result;
}

void LogFit::takeIfNearer(Attempt tried, const std::string& assumption) {
    if (tried.agreement.distance() >= mBest.agreement.distance()) return;
    mBest = std::move(tried);
    mBest.finding.log->assumptions.push_back(assumption);
}

Attempt LogFit::find() {
    if (mLogged.selection) {
        searchAllList();
        searchLostFrames();
    }
    Attempt untried = mBest;
    tryLastUsedFrames(mBest);
    if (mBest.finding.log->consistent.empty() && !mLogged.checks.empty()) checkAsLogged(std::move(untried));
    return std::move(mBest);
}

// The list of all frames is never logged. The reference frames tell whether it is as assumed.
void LogFit::searchAllList() {
    const std::vector<GroupLine>& groups = mLogged.account.groups;
    const Request& request = mBest.finding.request;
    const Queue* meta = request.metaQueue();
    if (meta == nullptr || (groups.empty() && mBest.replayed.account.groups.empty())) return;
    const auto reference = [&](const GroupLine& group) { return (size_t{group.position} + request.need + 1) / 2; };
    const auto refuted = std::find_if(groups.begin(), groups.end(), [&](const GroupLine& group) {
        return reference(group) >= meta->all.size() || meta->all[reference(group)] != group.referenceFrame;
    });
    std::vector<std::string>& assumptions = mBest.finding.log->assumptions;
    const std::string assumed = "list of all frames: consumer, then producer, which ";
    if (refuted == groups.end()) {
        assumptions.push_back(assumed + std::to_string(groups.size()) + " reference frames in the log confirm");
        return;
    }
    assumptions.push_back(assumed + "reference frame " + std::to_string(refuted->referenceFrame) + " refutes");
    // As long as the last group takes, and numbered so that the first reference frame is in its place.
    Finding variant = mBest.finding;
    FrameList all(std::min<size_t>(size_t{groups.back().position} + request.need + 2, kMostFrames));
    std::iota(all.begin(), all.end(), static_cast<uint32_t>(groups.front().referenceFrame - reference(groups.front())));
    variant.request.queues[meta - request.queues.data()].all = std::move(all);
    takeIfNearer(attempt(std::move(variant)), "list of all frames instead: numbered on from the first reference frame");
}

// The library passes over some lost frames without a line: where a replay shows a shutter time and the log does not,
// the frame was lost. Groups ahead of the first one logged were left out for another reason.
void LogFit::searchLostFrames() {
    if (mBest.agreement.distance() == 0) return;
    const FrameList logged = timedFrames(mLogged.account);
    const std::set<uint32_t> seen(logged.begin(), logged.end());
    std::set<uint32_t> lost;
    Attempt tried = mBest;
    for (int round = 0; round < kMostRounds; ++round) {
        const size_t before = lost.size();
        bool begun = tried.replayed.account.groups.empty();
        for (const uint32_t frame : timedFrames(tried.replayed.account)) {
            begun = begun || seen.count(frame) > 0;
            if (begun && seen.count(frame) == 0) lost.insert(frame);
        }
        if (lost.size() == before) break;
        for (Queue& queue : tried.finding.request.queues) {
            if (&queue == tried.finding.request.metaQueue()) lose(queue, lost);
        }
        tried = attempt(std::move(tried.finding));
    }
    takeIfNearer(std::move(tried), "lost: " + join({lost.begin(), lost.end()}) + ", passed over without a line");
}

// A core may have frames checked that were not chosen; then checks say nothing of the choice.
void LogFit::checkAsLogged(Attempt tried) {
    FrameList& frames = tried.finding.request.check.of.emplace();
    for (const CheckAccount& check : mLogged.account.checks) frames.push_back(check.frame);
    tried.finding.log->assumptions.push_back("frames checked: those in the log, whether they were chosen or not");
    tried = attempt(std::move(tried.finding));
    tryLastUsedFrames(tried);
    if (!tried.finding.log->consistent.empty()) mBest = std::move(tried);
}

// No line shows the last used frame: none, and each listed one, are tried. The one that is shown is none if that is
// consistent, else the lowest that is, else the one that comes nearest.
void LogFit::tryLastUsedFrames(Attempt& attempt) {
    struct Candidate {
        FrameList used;
        Agreement agreement;
    };
    Request& request = attempt.finding.request;
    Evidence& evidence = *attempt.finding.log;
    FrameList listed = attempt.finding.run.outcome.selected ? listedFrames(request) : FrameList();
    if (listed.size() > kMostListed) {
        evidence.open = "too many frames are listed to try each as the last used one";
        listed.clear();
    }
    std::vector<Candidate> candidates = {{{}, attempt.agreement}};
    std::vector<desk::LogLine> lines = attempt.finding.run.offlineLog;
    for (const uint32_t frame : listed) {
        request.used = {frame};
        Run run = mSession.serve(request);
        // Most candidates log what the one before did.
        const bool isKnown = logsTheSame(run.offlineLog, lines);
        candidates.push_back(
            {{frame}, isKnown ? candidates.back().agreement : agreementOf(mLogged, replayedRequest(run))});
        lines = std::move(run.offlineLog);
    }

    // Excuses are for what the log lacks; where one candidate needs fewer of them, the log does not lack so much.
    const auto isNearer = [](const Candidate& a, const Candidate& b) {
        const bool whole = a.agreement.whole();
        return whole != b.agreement.whole() ? whole : a.agreement.distance() < b.agreement.distance();
    };
    const Candidate& shown = *std::min_element(candidates.begin(), candidates.end(), isNearer);
    bool wouldEnd = false;
    for (const Candidate& each : candidates) {
        if (!each.agreement.whole()) continue;
        if (!isNearer(shown, each)) evidence.consistent.push_back(each.used);
        wouldEnd |= isNearer(shown, each);
    }
    evidence.assumptions.push_back(usedWords(shown.used, evidence.consistent.size(), listed.size()));
    if (wouldEnd) evidence.assumptions.push_back("the log does not end within the request");
    request.used = shown.used;
    attempt.agreement = shown.agreement;
}

}  // namespace

void fitToLog(Session& session, const LoggedRequest& logged, Finding& finding) {
    Attempt found = LogFit(session, logged, std::move(finding)).find();
    finding = std::move(found.finding);
    const Agreement& agreement = found.agreement;
    Evidence& evidence = *finding.log;
    evidence.lines = agreement.lines;
    evidence.reproduced = agreement.reproduced;
    evidence.missing.insert(evidence.missing.end(), agreement.missing.begin(), agreement.missing.end());
    if (evidence.consistent.empty()) {
        evidence.open = "no last used frame tried brings out the log's lines";
    } else if (hasCutLines(logged)) {
        evidence.open = "a line of it is cut";
    } else if (!evidence.missing.empty()) {
        evidence.open = evidence.missing.front();
    } else if (!hasDebugLines(logged)) {
        evidence.open = "the log has no debug lines";
    }
    evidence.missing.insert(evidence.missing.end(), agreement.repetitions.begin(), agreement.repetitions.end());
    if (!agreement.firstDifference.empty()) finding.differences.push_back(agreement.firstDifference);
}

void survey(Session& session, Finding& finding) {
    Evidence& evidence = *finding.log;
    std::map<uint32_t, size_t> chosen;       // by how many
    std::map<std::string, size_t> warnings;  // kinds, of how many
    Request request = finding.request;
    if (!evidence.open.empty()) evidence.consistent.clear();
    for (const FrameList& used : evidence.consistent) {
        request.used = used;
        const Run run = session.serve(request);
        for (const uint32_t frame : std::set<uint32_t>(run.chosen().begin(), run.chosen().end())) ++chosen[frame];
        for (const Warning& each : warningsOf(request, run, accountOf(run.offlineLog))) ++warnings[each.kind];
    }
    const size_t all = evidence.consistent.size();
    for (const auto& [frame, count] : chosen) {
        evidence.possible.push_back(frame);
        if (count == all) evidence.certain.push_back(frame);
    }
    if (!evidence.open.empty()) evidence.possible = listedFrames(finding.request);
    for (Warning& each : finding.warnings) each.certain = all > 0 && warnings[each.kind] == all;
}

}  // namespace replay
