#include "replay/LogFit.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <set>

#include "capture/Text.h"
#include "replay/LogMatch.h"
#include "replay/Rebuild.h"

namespace replay {

namespace {

constexpr size_t kMostServed = 2'000'000;  // frames listed and held, by all tries of a last used one for one request
constexpr int kMostRounds = 64;  // in search of lost frames: each shows what the loss of the former brings to light

// The frames that a request's metadata queue lists; ascending, no number twice.
FrameList listedFrames(const Request& request) {
    const Queue* meta = request.metaQueue();
    if (meta == nullptr) return {};
    std::set<uint32_t> frames(meta->all.begin(), meta->all.end());
    for (const uint32_t frame : meta->deliveryOrder()) frames.insert(frame);
    return {frames.begin(), frames.end()};
}

// Last used frames that can make a difference: none, and each listed one, where that would not take too long.
std::vector<FrameList> usedCandidates(const Request& request) {
    const FrameList listed = listedFrames(request);
    size_t served = listed.size();
    for (const Queue& queue : request.queues) served += queue.held.size();
    std::vector<FrameList> candidates = {{}};
    if (listed.size() * served > kMostServed) return candidates;
    for (const uint32_t frame : listed) candidates.push_back({frame});
    return candidates;
}

// A request with the last used frame that comes nearest to the log's lines.
struct Attempt {
    Request request;
    Agreement agreement;
    std::vector<FrameList> consistent;  // the last used frames that bring out the lines
    bool isEndRuledOut = false;         // others would, if the log ended within the request
};

// No line shows the last used frame: none, and each listed one, are tried. The one that is shown is none if that is
// consistent, else the lowest that is, else the one that comes nearest.
Attempt tryUsedFrames(Session& session, const LoggedRequest& logged, Request request) {
    Attempt best;
    size_t whole = 0;
    for (const FrameList& used : usedCandidates(request)) {
        request.used = used;
        const Agreement agreement = agreementOf(logged, loggedRequest(session.serve(request).offlineLog));
        if (used.empty() || agreement.isNearerThan(best.agreement)) best = {request, agreement, {}, false};
        whole += agreement.whole() ? 1 : 0;
        if (agreement.whole() && !best.agreement.isNearerThan(agreement)) best.consistent.push_back(used);
    }
    best.isEndRuledOut = whole > best.consistent.size();
    return best;
}

// What no line shows may be assumed otherwise. Each of these changes a request so, where there is reason to, and says
// what it assumes.

Queue& metaQueueOf(Request& request) { return request.queues[request.metaQueue() - request.queues.data()]; }

// The list of all frames is never logged, but the place in it of a group's reference frame is.
std::string assumeOtherList(const Account& log, Request& request) {
    if (request.metaQueue() == nullptr) return "";
    FrameList& all = metaQueueOf(request).all;
    const auto place = [&](const GroupLine& group) { return (size_t{group.position} + request.need + 1) / 2; };
    const auto isInPlace = [&](const GroupLine& group) {
        return place(group) < all.size() && all[place(group)] == group.referenceFrame;
    };
    if (std::all_of(log.groups.begin(), log.groups.end(), isInPlace)) return "";
    all.resize(std::min<size_t>(size_t{log.groups.back().position} + request.need + 2, kMostFrames));
    const size_t first = log.groups.front().referenceFrame - place(log.groups.front());
    std::iota(all.begin(), all.end(), static_cast<uint32_t>(first));
    return "list of all frames instead: numbered on from the first reference frame";
}

// The library passes over some lost frames without a line: where a replay shows a shutter time and the log does not,
// the frame was lost. Groups ahead of the first one logged were left out for another reason.
std::string assumeLostFrames(Session& session, const Account& log, Request& request) {
    std::set<uint32_t> seen;
    for (const FrameMet& met : log.met) seen.insert(met.frame);
    std::set<uint32_t> lost;
    request.used.clear();
    for (int round = 0; round < kMostRounds; ++round) {
        const Account replayed = loggedRequest(session.serve(request).offlineLog).account;
        const size_t before = lost.size();
        bool begun = replayed.groups.empty();
        for (const FrameMet& met : replayed.met) {
            const bool isSeen = seen.count(met.frame) > 0;
            begun |= isSeen;
            if (begun && !isSeen) lost.insert(met.frame);
        }
        if (lost.size() == before) break;
        lose(metaQueueOf(request), lost);
    }
    return lost.empty() ? "" : "lost: " + join({lost.begin(), lost.end()}) + ", passed over without a line";
}

// A core may have frames checked that were not chosen; then checks say nothing of the choice.
std::string assumeChecks(const LoggedRequest& logged, Request& request) {
    if (logged.checks.empty()) return "";
    FrameList& frames = request.check.of.emplace();
    for (const LoggedRequest::Lines& check : logged.checks) frames.push_back(check.front().checkedFrame());
    return "frames checked: those in the log, whether they were chosen or not";
}

// Whatever brings the replay nearer to the log is assumed.
Attempt nearest(Session& session, const LoggedRequest& logged, Finding& finding) {
    const Account& log = logged.account;
    Attempt best = tryUsedFrames(session, logged, std::move(finding.request));
    const auto tryOut = [&](const auto& change) {
        Request changed = best.request;
        const std::string assumption = change(changed);
        if (assumption.empty()) return;
        Attempt other = tryUsedFrames(session, logged, std::move(changed));
        if (!other.agreement.isNearerThan(best.agreement)) return;
        best = std::move(other);
        finding.log->assumptions.push_back(assumption);
    };
    if (best.agreement.distance() == 0) return best;
    tryOut([&](Request& request) { return assumeOtherList(log, request); });
    tryOut([&](Request& request) { return assumeLostFrames(session, log, request); });
    if (best.consistent.empty()) tryOut([&](Request& request) { return assumeChecks(logged, request); });
    return best;
}

}  // namespace

void fitToLog(Session& session, const LoggedRequest& logged, Finding& finding) {
    Attempt best = nearest(session, logged, finding);
    finding.request = std::move(best.request);
    const Agreement& agreement = best.agreement;
    Evidence& evidence = *finding.log;
    evidence.lines = agreement.lines;
    evidence.reproduced = agreement.reproduced;
    evidence.consistent = std::move(best.consistent);
    const FrameList& used = finding.request.used;
    const size_t listed = listedFrames(finding.request).size();
    const size_t tried = usedCandidates(finding.request).size() - 1;
    std::string& words = evidence.assumptions.emplace_back("last used frame: " + join(used));
    if (tried > 0 && evidence.consistent.empty()) {
        words += ", which comes nearest to the log's lines";
    } else if (tried > 0) {
        const size_t others = evidence.consistent.size() - (used.empty() ? 1 : 0);
        words += fmt::format("; of the {} listed, {} bring them out", tried, others);
    }
    if (best.isEndRuledOut && agreement.excuses.empty())
        evidence.assumptions.push_back("the log does not end within the request");
    evidence.missing.insert(evidence.missing.end(), agreement.excuses.begin(), agreement.excuses.end());
    if (evidence.consistent.empty()) {
        evidence.open = "no last used frame tried brings out the log's lines";
    } else if (!logged.hasDebug) {
        evidence.open = "the log has no debug lines, which would tell what the presence check met";
    } else if (!evidence.missing.empty()) {
        evidence.open = evidence.missing.front();
    } else if (tried < listed) {
        evidence.open = "too many frames are listed to try each as the last used one";
    }
    evidence.missing.insert(evidence.missing.end(), agreement.repetitions.begin(), agreement.repetitions.end());
    if (!agreement.whole()) finding.differences.push_back(agreement.firstDifference);
}

void survey(Session& session, Finding& finding) {
    Evidence& evidence = *finding.log;
    std::map<uint32_t, size_t> chosen;       // by how many
    std::map<std::string, size_t> warnings;  // kinds, of how many
    Request request = finding.request;
    if (!evidence.open.empty()) {
        evidence.consistent.clear();
        evidence.possible = listedFrames(request);
    }
    const size_t all = evidence.consistent.size();
    for (const FrameList& used : evidence.consistent) {
        request.used = used;
        const Run run = session.serve(request);
        for (const uint32_t frame : std::set<uint32_t>(run.chosen().begin(), run.chosen().end())) ++chosen[frame];
        const Account account = loggedRequest(run.offlineLog).account;
        for (const Warning& each : warningsOf(request, run, account)) ++warnings[each.kind];
    }
    for (const auto& [frame, count] : chosen) {
        evidence.possible.push_back(frame);
        if (count == all) evidence.certain.push_back(frame);
    }
    for (Warning& each : finding.warnings) each.certain = all > 0 && warnings[each.kind] == all;
}

}  // namespace replay
