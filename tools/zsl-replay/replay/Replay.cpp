#include "replay/Replay.h"

#include <algorithm>
#include <memory>
#include <set>
#include <utility>

#include "account/LogRequests.h"
#include "capture/Text.h"
#include "replay/Compare.h"
#include "replay/Explain.h"
#include "replay/LogFit.h"
#include "replay/Rebuild.h"
#include "replay/Session.h"

namespace replay {

namespace {

constexpr size_t kBatch = 256;  // requests of a log that are kept for the second build

// Whether a log leaves room for a selection.
bool allows(const Evidence& log, const FrameList& selection) {
    const std::set<uint32_t> chosen(selection.begin(), selection.end());
    return std::includes(chosen.begin(), chosen.end(), log.certain.begin(), log.certain.end()) &&
           std::includes(log.possible.begin(), log.possible.end(), chosen.begin(), chosen.end());
}

// Leads the requests of one file through the plug-in.
class Replay {
public:
    Replay(const ReplayOptions& options, const Sink& sink, std::string file)
        : mOptions(options), mSink(sink), mFile(std::move(file)) {}

    Finding& add(Finding finding) {
        const uint32_t frame = finding.request.fwkFrame;
        finding.file = mFile;
        finding.number = ++mServed.requests;
        finding.isPicked = (mOptions.numbers.empty() || mOptions.numbers.count(finding.number) > 0) &&
                           (mOptions.frames.empty() || (finding.showsFrame() && mOptions.frames.count(frame) > 0));
        if (finding.showsFrame()) {
            mServed.firstFrame = std::min(mServed.firstFrame, frame);
            mServed.lastFrame = std::max(mServed.lastFrame, frame);
        }
        mBatch.push_back(std::move(finding));
        return mBatch.back();
    }

    void addLine(const InputFile::Line& line) {
        if (auto found = selectorLine(line)) mCollector.add(std::move(*found));
    }

    Served finish() {
        mCollector.finish();
        if (!mOptions.changes.empty() && !mBatch.empty()) change();
        serveBatch();
        return mServed;
    }

private:
    Session& session(const std::string& plugin, const Case& platform) {
        if (!mSession || !mSession->isOf(plugin, platform)) {
            mSession.reset();  // only one at a time
            mSession = std::make_unique<Session>(platform, plugin, mOptions.vendorDir);
        }
        return *mSession;
    }

    void addLogged(const LoggedRequest& logged) {
        Finding& finding = add(rebuild(logged));
        if (finding.isPicked && finding.canServe()) {
            fitToLog(session(mOptions.plugin, finding.platform), logged, finding);
        }
        const bool isFull = mBatch.size() == (mOptions.against.empty() ? 1 : kBatch);
        if (isFull && mOptions.changes.empty()) serveBatch();  // changes may name any request of the log
    }

    // Serves the batch, which is all of the input, as it is, and changes it.
    void change() {
        std::vector<Request> requests;
        for (const Finding& finding : mBatch) requests.push_back(finding.request);
        std::vector<Request> changed = withChanges(std::move(requests), mOptions.changes);
        serveWith(mOptions.plugin, [&changed](Finding& finding, Run&& run) {
            finding.before = std::move(run);
            finding.unchanged = std::exchange(finding.request, std::move(changed[finding.number - 1]));
            const bool isOtherUsed = finding.request.used != finding.unchanged->used;
            if (finding.log && isOtherUsed) finding.log->consistent = {finding.request.used};
        });
        mSession.reset();
    }

    void serveBatch() {
        serveWith(mOptions.plugin, [this](Finding& finding, Run&& run) {
            finding.run = std::move(run);
            if (finding.isPicked) findOut(finding);
        });
        if (!mOptions.against.empty()) {
            mSession.reset();  // the second may be the same file
            serveWith(mOptions.against, [](Finding& finding, Run&& run) {
                finding.other = std::move(run);
                finding.against = differenceOf(finding.run, *finding.other);
            });
            mSession.reset();
        }
        for (Finding& finding : mBatch) {
            if (!finding.isPicked) continue;
            if (!mOptions.against.empty()) noteMapped(finding);
            mSink(std::move(finding));
        }
        mBatch.clear();
    }

    template <typename Visit>
    void serveWith(const std::string& plugin, const Visit& visit) {
        for (Finding& finding : mBatch) {
            if (!finding.canServe()) continue;
            visit(finding, session(plugin, finding.platform).serve(finding.request, Recording::kAll));
        }
    }

    void findOut(Finding& finding) {
        Session& session = this->session(mOptions.plugin, finding.platform);
        workOut(finding);
        if (finding.log) survey(session, finding);
        if (finding.before) {
            finding.whatIf = differenceOf(*finding.before, finding.run);
        } else if (!finding.log) {
            finding.differences = differencesFromExpected(finding);
        }
        if (mOptions.explain) explain(session, finding);
    }

    // Once a file: what has been closed and is still there keeps its state.
    void noteMapped(Finding& finding) {
        if (std::exchange(mIsMappedNoted, true)) return;
        for (const std::string& build : {mOptions.plugin, mOptions.against}) {
            if (!halcore::SelectorPlugin::isMapped(build)) continue;
            finding.notes.push_back(
                build + " stays in memory after it was closed: what it keeps lasts, and the other build may share it");
        }
    }

    const ReplayOptions& mOptions;
    const Sink& mSink;
    const std::string mFile;
    RequestCollector mCollector{[this](const LoggedRequest& logged) { addLogged(logged); }};
    Served mServed;
    std::vector<Finding> mBatch;  // not handed on yet
    bool mIsMappedNoted = false;
    std::unique_ptr<Session> mSession;
};

}  // namespace

Served serveCase(Case theCase, const ReplayOptions& options, const Sink& sink) {
    Replay replay(options, sink, theCase.file);
    for (Request& request : std::exchange(theCase.requests, {})) {
        Finding finding;
        finding.platform = theCase;
        finding.request = std::move(request);
        replay.add(std::move(finding));
    }
    return replay.finish();
}

Served serveLog(InputFile& log, const ReplayOptions& options, const Sink& sink) {
    Replay replay(options, sink, log.name());
    while (const auto line = log.next()) replay.addLine(*line);
    return replay.finish();
}

Served serveRoundTrip(Case theCase, const ReplayOptions& options, const Sink& sink) {
    std::vector<Finding> all;
    const Sink keep = [&all](Finding&& given) { all.push_back(std::move(given)); };
    const Served served = serveCase(std::move(theCase), options, keep);
    for (const Finding& given : all) {
        if (given.request.call) continue;  // a strategy called directly logs no lists
        const Sink judge = [&](Finding&& back) {
            if (!allows(*back.log, given.run.chosen())) {
                back.differences.push_back("its log leads to another selection than " + join(given.run.chosen()));
            }
            back.number = given.number;
            back.request.name = given.request.name;
            sink(std::move(back));
        };
        Replay replay(options, judge, given.file);
        size_t number = 0;
        for (const desk::LogLine& line : given.run.log) replay.addLine({desk::threadtime(line), ++number, false});
        replay.finish();
    }
    return served;
}

}  // namespace replay
