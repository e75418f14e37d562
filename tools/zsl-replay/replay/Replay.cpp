#include "replay/Replay.h"

#include <algorithm>
#include <memory>

#include "account/LogRequests.h"
#include "replay/Differ.h"
#include "replay/Expect.h"
#include "replay/Explain.h"
#include "replay/LogReplay.h"

namespace replay {

namespace {

constexpr size_t kBatch = 256;  // requests of a log that are kept for the second build

template <typename T>
bool contains(const std::vector<T>& all, const T& one) {
    return std::find(all.begin(), all.end(), one) != all.end();
}

void count(Served& served, std::optional<uint32_t> fwkFrame) {
    ++served.requests;
    if (!fwkFrame) return;
    served.firstFrame = served.showsFrames ? std::min(served.firstFrame, *fwkFrame) : *fwkFrame;
    served.lastFrame = std::max(served.lastFrame, *fwkFrame);
    served.showsFrames = true;
}

}  // namespace

bool ReplayOptions::picks(std::optional<uint32_t> fwkFrame, size_t number) const {
    return (frames.empty() || (fwkFrame && contains(frames, *fwkFrame))) &&
           (numbers.empty() || contains(numbers, number));
}

// A case file

std::vector<Run> Replay::runAll(const Case& theCase, const std::string& plugin, bool offlineLog) {
    Session session(theCase, plugin, mOptions.vendorDir);
    std::vector<Run> runs;
    for (const Request& request : theCase.requests) {
        runs.push_back(session.serve(request, {true, offlineLog, mOptions.tracing()}));
    }
    return runs;
}

// What has been closed and is still there keeps its state.
void Replay::noteMapped(Finding& finding) {
    for (const std::string& build : {mOptions.plugin, mOptions.against}) {
        if (!halcore::SelectorPlugin::isMapped(build)) continue;
        finding.notes.push_back(build +
                                " stays in memory after it was closed: what it keeps there lasts, and the other "
                                "build may share it");
    }
}

Served Replay::serve(const Document& document) {
    const bool isChanged = !mOptions.changes.empty();
    const Case theCase = readCase(document);
    const Case shown = isChanged ? readCase(withChanges(document, mOptions.changes)) : theCase;
    std::vector<Run> before;
    if (isChanged) before = runAll(theCase, mOptions.plugin, false);
    std::vector<Run> runs = runAll(shown, mOptions.plugin, mOptions.offlineLog);
    std::vector<Run> others;
    if (!mOptions.against.empty()) others = runAll(shown, mOptions.against, mOptions.offlineLog);

    Served served;
    std::vector<Finding> findings;
    for (size_t i = 0; i < runs.size(); ++i) {
        const uint32_t fwkFrame = theCase.requests[i].fwkFrame;
        count(served, fwkFrame);
        if (!mOptions.picks(fwkFrame, i + 1)) continue;
        Finding& finding = findings.emplace_back();
        finding.file = theCase.file;
        finding.number = i + 1;
        finding.request = shown.requests[i];
        finding.recorded = theCase.recorded;
        finding.run = std::move(runs[i]);
        finding.account = accountOf(finding.run.log);
        workOut(finding);
        if (isChanged) {
            finding.unchanged = theCase.requests[i];
            finding.before = std::move(before[i]);
            finding.whatIf = differenceOf(*finding.before, finding.run);
        } else {
            finding.differences = differencesFromExpected(finding);
        }
        if (!others.empty()) {
            finding.other = std::move(others[i]);
            finding.against = differenceOf(finding.run, *finding.other);
        }
    }
    if (!others.empty() && !findings.empty()) noteMapped(findings.front());
    if (mOptions.explain) {
        // In a session of its own, so that trials change nothing of what is reported.
        Session session(shown, mOptions.plugin, mOptions.vendorDir);
        size_t at = 0;
        for (Finding& finding : findings) {
            for (; at < finding.number - 1; ++at) session.serve(shown.requests[at], {false, false, false});
            explain(session, finding);
            ++at;
        }
    }
    for (Finding& finding : findings) mSink(std::move(finding));
    return served;
}

// A log

// Requests on their way from the log's lines to findings.
struct Replay::LogServing {
    LogServing(Replay& replay, std::string name)
        : mReplay(replay),
          mOptions(replay.mOptions),
          mName(std::move(name)),
          mLogReplay([this](bool disabled) -> Session& { return session(mOptions.plugin, disabled); }) {}

    void add(const LoggedRequest& logged);
    void flush();

    Served served;

private:
    struct Entry {
        Finding finding;
        bool disabled;
        std::vector<FrameList> consistent;
    };

    Session& session(const std::string& plugin, bool disabled);
    Recording recording() const { return {true, mOptions.offlineLog, mOptions.tracing()}; }
    bool canServe(const Entry& entry) const { return entry.finding.log->obstacle.empty(); }
    void change();
    void finish(Entry& entry);
    void survey(Entry& entry);

    Replay& mReplay;
    const ReplayOptions& mOptions;
    std::string mName;
    LogReplay mLogReplay;
    std::unique_ptr<Session> mSession;
    std::string mBuild;
    bool mDisabled = false;
    std::vector<Entry> mBatch;
    bool mNoted = false;
};

Session& Replay::LogServing::session(const std::string& plugin, bool disabled) {
    if (!mSession || mBuild != plugin || mDisabled != disabled) {
        mSession.reset();  // only one at a time
        mSession = std::make_unique<Session>(platformOf(disabled), plugin, mOptions.vendorDir);
        mBuild = plugin;
        mDisabled = disabled;
    }
    return *mSession;
}

void Replay::LogServing::add(const LoggedRequest& logged) {
    count(served, logged.fwkFrame);
    if (!mOptions.picks(logged.fwkFrame, served.requests) && mOptions.changes.empty()) {
        const Rebuilt rebuilt = rebuild(logged);
        if (rebuilt.obstacle.empty())
            session(mOptions.plugin, rebuilt.disabled).serve(rebuilt.request, {false, false, false});
        return;
    }
    ReplayedRequest replayed = mLogReplay.replay(logged);
    Entry entry{{}, replayed.rebuilt.disabled, std::move(replayed.consistent)};
    Finding& finding = entry.finding;
    finding.file = mName;
    finding.number = served.requests;
    finding.request = std::move(replayed.rebuilt.request);
    finding.showsFrame = logged.fwkFrame.has_value();
    finding.log = std::move(replayed.evidence);
    if (!replayed.firstDifference.empty()) finding.differences.push_back(replayed.firstDifference);
    if (canServe(entry)) {
        finding.run = session(mOptions.plugin, entry.disabled).serve(finding.request, recording());
        finding.account = accountOf(finding.run.log);
        workOut(finding);
        for (Warning& warning : finding.warnings) warning.certain = replayed.warnings.count(warning.kind) > 0;
    }
    mBatch.push_back(std::move(entry));
    if (mOptions.changes.empty() && mBatch.size() >= (mOptions.against.empty() ? 1 : kBatch)) flush();
}

// The requests of the whole log are one case to the changes, which may be for one request or for all.
void Replay::LogServing::change() {
    Case whole;
    whole.file = mName;
    for (const Entry& entry : mBatch) whole.requests.push_back(entry.finding.request);
    const Case changed = readCase(withChanges(documentOf(whole), mOptions.changes));
    for (size_t i = 0; i < mBatch.size(); ++i) {
        if (!canServe(mBatch[i])) continue;
        Finding& finding = mBatch[i].finding;
        if (changed.requests[i].used != finding.request.used) mBatch[i].consistent = {changed.requests[i].used};
        finding.unchanged = std::move(finding.request);
        finding.before = std::move(finding.run);
        finding.request = changed.requests[i];
        finding.run = session(mOptions.plugin, mBatch[i].disabled).serve(finding.request, recording());
        finding.account = accountOf(finding.run.log);
        finding.whatIf = differenceOf(*finding.before, finding.run);
        workOut(finding);
        survey(mBatch[i]);
    }
}

// What is certain and possible of a changed request.
void Replay::LogServing::survey(Entry& entry) {
    Evidence& evidence = *entry.finding.log;
    if (evidence.open.empty()) {
        Survey survey;
        Request request = entry.finding.request;
        for (const FrameList& used : entry.consistent) {
            request.used = used;
            const Run run = session(mOptions.plugin, entry.disabled).serve(request);
            survey.add(request, run, accountOf(run.log));
        }
        evidence.certain = survey.certain();
        evidence.possible = survey.possible();
        for (Warning& warning : entry.finding.warnings) warning.certain = survey.warnings().count(warning.kind) > 0;
    } else {
        evidence.possible = listedFrames(entry.finding.request);
        for (Warning& warning : entry.finding.warnings) warning.certain = false;
    }
}

void Replay::LogServing::flush() {
    if (!mOptions.changes.empty()) {
        change();
        const auto isLeftOut = [this](const Entry& entry) {
            const Finding& finding = entry.finding;
            const Request& logged = finding.unchanged ? *finding.unchanged : finding.request;
            return !mOptions.picks(finding.showsFrame ? std::optional(logged.fwkFrame) : std::nullopt, finding.number);
        };
        mBatch.erase(std::remove_if(mBatch.begin(), mBatch.end(), isLeftOut), mBatch.end());
    }
    for (Entry& entry : mBatch) {
        if (mOptions.explain && canServe(entry)) explain(session(mOptions.plugin, entry.disabled), entry.finding);
    }
    if (!mOptions.against.empty()) {
        for (Entry& entry : mBatch) {
            if (!canServe(entry)) continue;
            entry.finding.other = session(mOptions.against, entry.disabled).serve(entry.finding.request, recording());
            entry.finding.against = differenceOf(entry.finding.run, *entry.finding.other);
        }
        mSession.reset();
        if (!mNoted && !mBatch.empty()) mReplay.noteMapped(mBatch.front().finding);
        mNoted = mNoted || !mBatch.empty();
    }
    for (Entry& entry : mBatch) mReplay.mSink(std::move(entry.finding));
    mBatch.clear();
}

RoundTrip Replay::roundTrip(const Case& theCase) {
    RoundTrip result;
    const std::vector<Run> runs = runAll(theCase, mOptions.plugin, false);
    for (size_t i = 0; i < runs.size(); ++i) {
        std::vector<Finding> back;
        Replay replay(mOptions, [&back](Finding&& finding) { back.push_back(std::move(finding)); });
        LogServing serving(replay, theCase.file);
        RequestCollector collector([&serving](const LoggedRequest& logged) { serving.add(logged); });
        for (const desk::LogLine& line : runs[i].log) {
            if (auto found = selectorLine({desk::threadtime(line), i + 1, false})) collector.add(std::move(*found));
        }
        collector.finish();
        if (back.empty() || theCase.requests[i].call) continue;  // a strategy called directly logs no lists
        ++result.requests;
        const Evidence& log = *back.front().log;
        FrameList chosen = runs[i].chosen();
        std::sort(chosen.begin(), chosen.end());
        chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
        const bool isAmong = std::includes(chosen.begin(), chosen.end(), log.certain.begin(), log.certain.end()) &&
                             std::includes(log.possible.begin(), log.possible.end(), chosen.begin(), chosen.end());
        const bool isWhole = back.size() == 1 && back.front().differences.empty();
        if (isWhole && isAmong) {
            ++(log.settled() ? result.settled : result.open);
        } else if (log.open.empty()) {
            result.failures.push_back(theCase.requests[i].name + ": " +
                                      (isWhole ? "its log leads to another selection" : "its log is not reproduced"));
        }
    }
    return result;
}

Served Replay::serve(InputFile& log) {
    LogServing serving(*this, log.name());
    RequestCollector collector([&serving](const LoggedRequest& logged) { serving.add(logged); });
    while (const auto line = log.next()) {
        if (auto found = selectorLine(*line)) collector.add(std::move(*found));
    }
    collector.finish();
    serving.flush();
    return serving.served;
}

}  // namespace replay
