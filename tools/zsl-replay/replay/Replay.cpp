#include "replay/Replay.h"

#include <algorithm>
#include <set>

#include "account/LogRequests.h"
#include "capture/Text.h"
#include "replay/Compare.h"
#include "replay/Explain.h"
#include "replay/LogFit.h"
#include "replay/Rebuild.h"

namespace replay {

namespace {

constexpr size_t kBatch = 256;  // requests of a log that are kept for the second build

template <typename T>
bool isAmong(const std::vector<T>& all, const T& one) {
    return all.empty() || std::find(all.begin(), all.end(), one) != all.end();
}

}  // namespace

Served Replay::serve(const Document& document) {
    begin();
    Case platform = readCase(document);
    const std::vector<Request> requests = std::move(platform.requests);
    platform.requests.clear();
    for (const Request& request : requests) {
        Finding finding;
        finding.file = platform.file;
        finding.recorded = platform.recorded;
        finding.platform = platform;
        finding.request = request;
        add(std::move(finding));
    }
    if (!mOptions.changes.empty()) change(document);
    serveBatch();
    return mServed;
}

Served Replay::serve(InputFile& log) {
    return serve([&log] { return log.next(); }, log.name());
}

Served Replay::serve(const Lines& nextLine, const std::string& name) {
    begin();
    RequestCollector collector([&](const LoggedRequest& logged) {
        addLogged(logged, name);
        // Changes may name any request of the log.
        const bool isFull = mBatch.size() >= (mOptions.against.empty() ? 1 : kBatch);
        if (isFull && mOptions.changes.empty()) serveBatch();
    });
    while (const auto line = nextLine()) {
        if (auto found = selectorLine(*line)) collector.add(std::move(*found));
    }
    collector.finish();
    if (!mOptions.changes.empty() && !mBatch.empty()) {
        Case whole;
        whole.file = name;
        for (const Finding& finding : mBatch) whole.requests.push_back(finding.request);
        change(documentOf(whole));
    }
    serveBatch();
    return mServed;
}

void Replay::begin() {
    mSession.reset();
    mServed = {};
    mBatch.clear();
    mIsMappedNoted = false;
}

void Replay::addLogged(const LoggedRequest& logged, const std::string& name) {
    Finding finding = rebuild(logged);
    finding.file = name;
    finding.number = mServed.requests + 1;
    if (picks(finding) && finding.canServe()) fitToLog(session(mOptions.plugin, finding.platform), logged, finding);
    add(std::move(finding));
}

void Replay::add(Finding finding) {
    finding.number = ++mServed.requests;
    if (finding.showsFrame) {
        mServed.firstFrame = std::min(mServed.firstFrame, finding.request.fwkFrame);
        mServed.lastFrame = std::max(mServed.lastFrame, finding.request.fwkFrame);
    }
    mBatch.push_back(std::move(finding));
}

bool Replay::picks(const Finding& finding) const {
    const uint32_t fwkFrame = (finding.unchanged ? *finding.unchanged : finding.request).fwkFrame;
    return (mOptions.frames.empty() || (finding.showsFrame && isAmong(mOptions.frames, fwkFrame))) &&
           isAmong(mOptions.numbers, finding.number);
}

Session& Replay::session(const std::string& plugin, const Case& platform) {
    if (!mSession || !mSession->isOf(plugin, platform)) {
        mSession.reset();  // only one at a time
        mSession = std::make_unique<Session>(platform, plugin, mOptions.vendorDir);
    }
    return *mSession;
}

Run Replay::run(const Finding& finding, const std::string& plugin) {
    return session(plugin, finding.platform)
        .serve(finding.request, {true, mOptions.offlineLog, !mOptions.changes.empty() || !mOptions.against.empty()});
}

// Serves the batch, which is all that `document` holds, as it is, and changes it.
void Replay::change(const Document& document) {
    std::vector<Request> changed = readCase(withChanges(document, mOptions.changes)).requests;
    for (size_t i = 0; i < mBatch.size(); ++i) {
        Finding& finding = mBatch[i];
        if (!finding.canServe()) continue;
        finding.before = run(finding, mOptions.plugin);
        finding.unchanged = std::exchange(finding.request, std::move(changed[i]));
        const bool isOtherUsed = finding.request.used != finding.unchanged->used;
        if (finding.log && isOtherUsed) finding.log->consistent = {finding.request.used};
    }
    mSession.reset();
}

void Replay::serveBatch() {
    for (Finding& finding : mBatch) {
        if (finding.canServe()) serve(finding);
    }
    if (!mOptions.against.empty()) {
        for (Finding& finding : mBatch) {
            if (!finding.canServe()) continue;
            finding.other = run(finding, mOptions.against);
            finding.against = differenceOf(finding.run, *finding.other);
        }
        mSession.reset();
    }
    for (Finding& finding : mBatch) {
        if (!picks(finding)) continue;
        if (!mOptions.against.empty()) noteMapped(finding);
        mSink(std::move(finding));
    }
    mBatch.clear();
}

void Replay::serve(Finding& finding) {
    finding.run = run(finding, mOptions.plugin);
    if (!picks(finding)) return;
    finding.account = accountOf(finding.run.log);
    workOut(finding);
    Session& session = this->session(mOptions.plugin, finding.platform);
    if (finding.log) survey(session, finding);
    if (finding.before) {
        finding.whatIf = differenceOf(*finding.before, finding.run);
    } else if (!finding.log) {
        finding.differences = differencesFromExpected(finding);
    }
    if (mOptions.explain) explain(session, finding);
}

// Once a file: what has been closed and is still there keeps its state.
void Replay::noteMapped(Finding& finding) {
    if (std::exchange(mIsMappedNoted, true)) return;
    for (const std::string& build : {mOptions.plugin, mOptions.against}) {
        if (!halcore::SelectorPlugin::isMapped(build)) continue;
        finding.notes.push_back(build +
                                " stays in memory after it was closed: what it keeps there lasts, and the other "
                                "build may share it");
    }
}

Served Replay::roundTrip(const Document& document) {
    Served served;
    const auto feedBack = [&](const Finding& given) {
        if (given.request.call) return;  // a strategy called directly logs no lists
        const FrameList& list = given.run.chosen();
        const std::set<uint32_t> chosen(list.begin(), list.end());
        const auto judge = [&](Finding&& back) {
            const Evidence& log = *back.log;
            if (!std::includes(chosen.begin(), chosen.end(), log.certain.begin(), log.certain.end()) ||
                !std::includes(log.possible.begin(), log.possible.end(), chosen.begin(), chosen.end())) {
                back.differences.push_back("its log leads to another selection than " + join(list));
            }
            back.number = given.number;
            back.request.name = given.request.name;
            ++served.requests;
            mSink(std::move(back));
        };
        size_t count = 0;
        std::string text;
        const auto nextLine = [&]() -> std::optional<InputFile::Line> {
            if (count == given.run.log.size()) return std::nullopt;
            text = desk::threadtime(given.run.log[count]);
            return InputFile::Line{text, ++count, false};
        };
        Replay(mOptions, judge).serve(nextLine, given.file);
    };
    std::vector<Finding> all;
    Replay(mOptions, [&all](Finding&& given) { all.push_back(std::move(given)); }).serve(document);
    std::for_each(all.begin(), all.end(), feedBack);
    return served;
}

}  // namespace replay
