#include "replay/LogFit.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "capture/Text.h"
#include "replay/LogMatch.h"
#include "replay/Rebuild.h"

namespace replay {

namespace {

constexpr Recording kForComparison = {false, true, false};
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

// None, and each listed frame.
std::vector<FrameList> usedCandidates(const Request& request) {
    std::vector<FrameList> candidates = {{}};
    const FrameList listed = listedFrames(request);
    if (listed.size() > kMostListed) return candidates;
    for (const uint32_t frame : listed) candidates.push_back({frame});
    return candidates;
}

Queue* metaQueueOf(Request& request) {
    const Queue* meta = request.metaQueue();
    return meta != nullptr ? &request.queues[meta - request.queues.data()] : nullptr;
}

bool logsTheSame(const std::vector<desk::LogLine>& a, const std::vector<desk::LogLine>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const desk::LogLine& x, const desk::LogLine& y) { return x.message == y.message; });
}

std::string usedWords(const Request& request, const std::vector<FrameList>& consistent) {
    const std::string words = "last used frame: " + join(request.used);
    const size_t listed = usedCandidates(request).size() - 1;
    if (listed == 0) return words;
    const auto others =
        std::count_if(consistent.begin(), consistent.end(), [](const FrameList& used) { return !used.empty(); });
    return words + "; of the " + std::to_string(listed) + " listed, " + std::to_string(others) + " bring them out";
}

// A rebuilt request with the last used frame that comes nearest to the log's lines.
struct Attempt {
    Finding finding;
    Agreement agreement;
    std::vector<FrameList> consistent;  // the last used frames that bring out the lines
    bool isEndRuledOut = false;         // others would, if the log ended within the request
};

// What no line shows is assumed otherwise where the replay then comes nearer to the log.
class LogFit {
public:
    LogFit(Session& session, const LoggedRequest& logged, Finding rebuilt)
        : mSession(session), mLogged(logged), mBest(attempt(std::move(rebuilt))) {}
    Attempt find();

private:
    Attempt attempt(Finding finding);
    void tryOut(Finding variant, std::string assumption);
    void tryOtherList();
    void tryLostFrames();
    void tryCheckedAsLogged();

    Session& mSession;
    const LoggedRequest& mLogged;
    Attempt mBest;
};

Attempt LogFit::find() {
    tryOtherList();
    if (mBest.agreement.distance() > 0) tryLostFrames();
    if (mBest.consistent.empty()) tryCheckedAsLogged();
    return std::move(mBest);
}

void LogFit::tryOut(Finding variant, std::string assumption) {
    variant.log->assumptions.push_back(std::move(assumption));
    Attempt other = attempt(std::move(variant));
    if (other.agreement.isNearerThan(mBest.agreement)) mBest = std::move(other);
}

// No line shows the last used frame: none, and each listed one, are tried. The one that is shown is none if that is
// consistent, else the lowest that is, else the one that comes nearest.
Attempt LogFit::attempt(Finding finding) {
    Attempt best;
    Capture capture = mSession.prepare(finding.request);
    std::vector<desk::LogLine> lines;
    Agreement agreement = agreementOf(mLogged, {});
    for (const FrameList& used : usedCandidates(finding.request)) {
        capture.info.usedZslFrames = used;
        Run run = mSession.serve(capture, kForComparison);
        // Most candidates log what the one before did.
        if (!logsTheSame(run.offlineLog, lines)) agreement = agreementOf(mLogged, loggedRequest(run.offlineLog));
        lines = std::move(run.offlineLog);
        if (used.empty() || agreement.isNearerThan(best.agreement)) {
            best.isEndRuledOut |= !best.consistent.empty();
            best.consistent.clear();
            best.agreement = agreement;
            finding.request.used = used;
        }
        const bool isFurther = best.agreement.isNearerThan(agreement);
        best.isEndRuledOut |= agreement.whole() && isFurther;
        if (agreement.whole() && !isFurther) best.consistent.push_back(used);
    }
    best.finding = std::move(finding);
    return best;
}

// The list of all frames is never logged, but the place in it of a group's reference frame is.
void LogFit::tryOtherList() {
    const std::vector<GroupLine>& groups = mLogged.account.groups;
    Finding variant = mBest.finding;
    Queue* const meta = metaQueueOf(variant.request);
    if (meta == nullptr) return;
    const auto place = [&](const GroupLine& group) { return (size_t{group.position} + variant.request.need + 1) / 2; };
    const auto isInPlace = [&](const GroupLine& group) {
        return place(group) < meta->all.size() && meta->all[place(group)] == group.referenceFrame;
    };
    if (std::all_of(groups.begin(), groups.end(), isInPlace)) return;
    meta->all.resize(std::min<size_t>(size_t{groups.back().position} + variant.request.need + 2, kMostFrames));
    const size_t begin = groups.front().referenceFrame - place(groups.front());
    std::iota(meta->all.begin(), meta->all.end(), static_cast<uint32_t>(begin));
    tryOut(std::move(variant), "list of all frames instead: numbered on from the first reference frame");
}

// The library passes over some lost frames without a line: where a replay shows a shutter time and the log does not,
// the frame was lost. Groups ahead of the first one logged were left out for another reason.
void LogFit::tryLostFrames() {
    std::set<uint32_t> seen;
    for (const FrameMet& met : mLogged.account.met) seen.insert(met.frame);
    std::set<uint32_t> lost;
    Finding variant = mBest.finding;
    variant.request.used.clear();
    for (int round = 0; round < kMostRounds; ++round) {
        const Account replayed = accountOf(mSession.serve(variant.request, kForComparison).offlineLog);
        const size_t before = lost.size();
        bool begun = replayed.groups.empty();
        for (const FrameMet& met : replayed.met) {
            const bool isSeen = seen.count(met.frame) > 0;
            begun |= isSeen;
            if (begun && !isSeen) lost.insert(met.frame);
        }
        if (lost.size() == before) break;
        lose(*metaQueueOf(variant.request), lost);
    }
    if (!lost.empty())
        tryOut(std::move(variant), "lost: " + join({lost.begin(), lost.end()}) + ", passed over without a line");
}

// A core may have frames checked that were not chosen; then checks say nothing of the choice.
void LogFit::tryCheckedAsLogged() {
    if (mLogged.checks.empty()) return;
    Finding variant = mBest.finding;
    FrameList& frames = variant.request.check.of.emplace();
    for (const CheckLine& check : mLogged.account.checks) frames.push_back(check.frame);
    tryOut(std::move(variant), "frames checked: those in the log, whether they were chosen or not");
}

}  // namespace

void fitToLog(Session& session, const LoggedRequest& logged, Finding& finding) {
    Attempt best = LogFit(session, logged, std::move(finding)).find();
    finding = std::move(best.finding);
    const Agreement& agreement = best.agreement;
    Evidence& evidence = *finding.log;
    evidence.lines = agreement.lines;
    evidence.reproduced = agreement.reproduced;
    evidence.consistent = std::move(best.consistent);
    evidence.assumptions.push_back(usedWords(finding.request, evidence.consistent));
    if (best.isEndRuledOut) evidence.assumptions.push_back("the log does not end within the request");
    evidence.missing.insert(evidence.missing.end(), agreement.excuses.begin(), agreement.excuses.end());
    if (evidence.consistent.empty()) {
        evidence.open = "no last used frame tried brings out the log's lines";
    } else if (!evidence.missing.empty()) {
        evidence.open = evidence.missing.front();
    } else if (listedFrames(finding.request).size() > kMostListed) {
        evidence.open = "too many frames are listed to try each as the last used one";
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
        for (const Warning& each : warningsOf(request, run, accountOf(run.log))) ++warnings[each.kind];
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
