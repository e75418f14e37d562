#include "report/FieldLog.h"

#include <functional>
#include <nlohmann/json.hpp>

namespace replay {

namespace {

// Reports the requests of one log as they come.
class LogReport {
public:
    LogReport(std::ostream& out, std::string file, const FieldLogOptions& options)
        : mOut(out), mFile(std::move(file)), mOptions(options), mReplay(options.session) {}

    void add(const LoggedRequest& logged) {
        const ReplayedRequest done = mReplay.replay(logged);
        const Agreement& agreement = done.agreement;
        ++mRequests;
        mLines += agreement.lines;
        mReproduced += agreement.reproduced;
        mDiffering += agreement.whole() ? 0 : 1;
        std::vector<std::string> differences;
        if (!agreement.firstDifference.empty()) differences.push_back(agreement.firstDifference);
        if (mOptions.json) {
            const nlohmann::ordered_json more = {{"lines", agreement.lines},
                                                 {"reproduced", agreement.reproduced},
                                                 {"assumptions", done.rebuilt.assumptions},
                                                 {"missing", missing(done)}};
            reportJson(mOut, mFile, done.rebuilt.request, done.run, differences, mOptions.style.log, more);
        } else if (!mOptions.summary || !differences.empty()) {
            reportText(mOut, done.rebuilt.request, done.run, differences, mOptions.style);
            for (const std::string& each : done.rebuilt.assumptions) mOut << "  assumed    " << each << '\n';
            for (const std::string& each : missing(done)) mOut << "  missing    " << each << '\n';
            mOut << "  log        " << agreement.summary() << "\n\n";
        }
        if (mOptions.saved != nullptr) save(done);
    }

    bool finish() {
        if (mRequests == 0) throw InputError(mFile + ": expected a log with lines of the selector, found none");
        if (!mOptions.json) {
            mOut << mFile << ": " << mRequests << (mRequests == 1 ? " request, " : " requests, ") << mReproduced
                 << " of " << mLines << " lines reproduced, "
                 << (mDiffering == 0 ? "as logged" : std::to_string(mDiffering) + " differ") << '\n';
        }
        if (mOptions.saved != nullptr && !mWriter) *mOptions.saved << "requests: []\n";
        return mDiffering == 0;
    }

private:
    static std::vector<std::string> missing(const ReplayedRequest& done) {
        std::vector<std::string> all = done.rebuilt.gaps;
        all.insert(all.end(), done.agreement.missing.begin(), done.agreement.missing.end());
        return all;
    }

    // All requests of a case run with the same switch: that of the first.
    void save(const ReplayedRequest& done) {
        const bool disabled = done.rebuilt.disabled;
        if (!done.rebuilt.obstacle.empty() || (mWriter && disabled != mDisabled)) {
            *mOptions.saved << "# left out: " << done.rebuilt.request.name << ": "
                            << (done.rebuilt.obstacle.empty() ? "other switch property" : done.rebuilt.obstacle)
                            << '\n';
            return;
        }
        if (!mWriter) {
            *mOptions.saved << "# Rebuilt from " << mFile << '\n';
            mWriter.emplace(*mOptions.saved, platformOf(done.rebuilt));
            mDisabled = disabled;
        }
        Request request = done.rebuilt.request;
        request.expect.gate = done.run.outcome.needed;
        if (done.run.outcome.selected) {
            request.expect.selection.emplace(done.run.outcome.selection.begin(), done.run.outcome.selection.end());
        }
        std::vector<std::string> comments = {done.agreement.summary()};
        for (const std::string& each : done.rebuilt.assumptions) comments.push_back("assumed: " + each);
        for (const std::string& each : missing(done)) comments.push_back("missing: " + each);
        mWriter->add(request, comments);
    }

    std::ostream& mOut;
    std::string mFile;
    const FieldLogOptions& mOptions;
    LogReplay mReplay;
    size_t mRequests = 0;
    size_t mLines = 0;
    size_t mReproduced = 0;
    size_t mDiffering = 0;
    std::optional<CaseWriter> mWriter;
    bool mDisabled = false;
};

// One thing that logs do not hold, taken from the original.
struct Restored {
    const char* what;
    std::function<void(Request& rebuilt, const Request& original)> restore;
};
const Restored kRestored[] = {
    {"the last used frame", [](Request& rebuilt, const Request& original) { rebuilt.used = original.used; }},
    {"frames of the queues", [](Request& rebuilt, const Request& original) { rebuilt.queues = original.queues; }},
    {"the gate's flags", [](Request& rebuilt, const Request& original) {
         rebuilt.metadata = original.metadata;
         rebuilt.adapter = original.adapter == "absent" ? "0" : original.adapter;
     }}};

// Names the assumption that makes the selection another; "" when the selection is the same.
std::string cause(LogReplay& replay, const ReplayedRequest& done, const Request& original, const FrameList& chosen) {
    if (!done.rebuilt.obstacle.empty()) return done.rebuilt.obstacle;
    if (done.run.chosen() == chosen) return "";
    Rebuilt all = done.rebuilt;
    for (const Restored& each : kRestored) {
        Rebuilt one = done.rebuilt;
        for (Rebuilt* rebuilt : {&one, &all}) {
            each.restore(rebuilt->request, original);
            if (replay.run(*rebuilt).chosen() == chosen) return std::string("assumed ") + each.what;
        }
    }
    return "NOT EXPLAINED";
}

}  // namespace

bool replayLog(std::ostream& out, const std::string& file, LineReader& reader, const FieldLogOptions& options) {
    LogReport report(out, file, options);
    RequestCollector collector([&report](const LoggedRequest& logged) { report.add(logged); });
    while (const auto line = reader.next()) {
        if (auto found = selectorLine(*line)) collector.add(std::move(*found));
    }
    collector.finish();
    return report.finish();
}

bool roundTrip(std::ostream& out, const Case& theCase, const SessionOptions& options) {
    const std::vector<Run> runs = runCase(theCase, options);
    LogReplay replay(options);
    size_t same = 0;
    bool explained = true;
    std::map<std::string, size_t> others;  // requests by cause
    for (size_t i = 0; i < runs.size(); ++i) {
        std::vector<std::string> causes;
        RequestCollector collector([&](const LoggedRequest& logged) {
            const ReplayedRequest done = replay.replay(logged);
            causes.push_back(cause(replay, done, theCase.requests[i], runs[i].chosen()));
            if (!done.agreement.whole() && causes.back().empty()) causes.back() = done.agreement.firstDifference;
        });
        for (const desk::LogLine& line : runs[i].log) {
            const std::string text = desk::threadtime(line);
            if (auto found = selectorLine({text, i + 1, false})) collector.add(std::move(*found));
        }
        collector.finish();
        if (runs[i].log.empty()) causes.push_back("nothing of it in the log");
        if (theCase.requests[i].call) causes = {"a strategy called directly, which logs no lists"};
        if (causes.size() != 1) causes = {"NOT EXPLAINED: one request is taken for several"};
        same += causes[0].empty() ? 1 : 0;
        if (!causes[0].empty()) ++others[causes[0]];
        explained = explained && causes[0].find("NOT EXPLAINED") == std::string::npos;
    }
    out << theCase.file << ": " << same << " of " << runs.size() << " requests come back from their logs the same\n";
    for (const auto& [cause, count] : others) out << "  " << count << ": " << cause << '\n';
    return explained;
}

}  // namespace replay
