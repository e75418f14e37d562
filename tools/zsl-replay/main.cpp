// zsl-replay: a HAL core on a desk.

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <optional>

#include "capture/CaseFile.h"
#include "capture/InputFile.h"
#include "capture/Text.h"
#include "replay/Replay.h"
#include "report/JsonReport.h"
#include "report/Output.h"
#include "report/PictureReport.h"
#include "report/SavedCase.h"
#include "report/TextReport.h"
#include "report/Totals.h"

namespace {

using namespace replay;
namespace fs = std::filesystem;

struct Options {
    std::vector<std::string> files;
    ReplayOptions replay;
    std::string log;  // "online", "offline"; empty: none
    bool json = false;
    bool totals = false;
    bool roundTrip = false;
    std::string picture;
    std::string saveCase;

    bool hasSeveralFiles() const { return files.size() > 1; }
    bool picks() const { return !replay.frames.empty() || !replay.numbers.empty(); }
    // Of several files only what is not as it should be is reported one by one, unless more is asked about requests.
    bool summarizes() const {
        return hasSeveralFiles() && !replay.explain && replay.changes.empty() && log.empty() && !picks();
    }
};

// Leads files through the rooms, and findings to whoever wants them.
class Desk {
public:
    explicit Desk(const Options& options)
        : mOptions(options),
          mProgress(options.files.size()),
          mText{isatty(STDOUT_FILENO) == 1, options.hasSeveralFiles(), nullptr} {
        if (!options.log.empty()) mText.log = options.log == "offline" ? &Run::offlineLog : &Run::log;
        refuseInputAt(kStandardOutput, options.files);
        std::vector<std::string> inputs = options.files;
        inputs.insert(inputs.end(), {options.replay.plugin, options.replay.against});
        if (!options.picture.empty()) mPicture.emplace(options.picture, inputs, options.hasSeveralFiles());
        if (!options.saveCase.empty()) {
            const Changes& changes = options.replay.changes;
            mSaved.emplace(options.saveCase, inputs,
                           fmt::format("Made of {}{}{}; it expects what came out", options.files.front(),
                                       changes.empty() ? "" : " with ", changes.words()));
        }
    }

    int run() {
        for (const std::string& file : mOptions.files) {
            try {
                serve(file);
            } catch (const InputError& error) {
                fail(error.what());
            }
        }
        if (mStatus != 2 && mOptions.picks() && mAll.requests() == 0) {
            std::string there = fmt::format("requests from 1 to {}", mServed.requests);
            if (mServed.firstFrame <= mServed.lastFrame) {
                there += fmt::format(" and framework frames from {} to {}", mServed.firstFrame, mServed.lastFrame);
            }
            fail(fmt::format("--frame and --request: expected {}, found none of those asked for", there));
        }
        if (mOptions.json && mOptions.totals) {
            writeStandardOutput(mAll.json());
        } else if (!mOptions.json && (mOptions.totals || mAll.requests() > 1)) {
            writeStandardOutput((mReported > 0 ? "\n" : "") + mAll.block());
        }
        if (mStatus == 2) return mStatus;  // nothing is kept
        if (mPicture) mPicture->finish();
        if (mSaved) mSaved->finish();
        return mStatus;
    }

private:
    void serve(const std::string& file) {
        mOfFile = Totals();
        mProgress.beginFile(file);
        InputFile input(file);
        input.setObserver([this](uint64_t bytes) { mProgress.update(bytes, mAll.requests()); });
        const std::string& name = input.name();
        const bool isLog = input.looksLikeLog() && !mOptions.roundTrip;
        const Served served =
            isLog ? serveLog(input, mOptions.replay, mSink) : serveRequests(readCase(name, input.readAll()));
        const bool isEmptyLog = isLog && served.requests == 0;
        if (isEmptyLog) {
            warn(name + ": expected a log with lines of the selector, found none");
            if (!mOptions.hasSeveralFiles()) mStatus = 2;  // one among many is no error
        }
        mAll.addFile(isEmptyLog);
        mServed.requests = std::max(mServed.requests, served.requests);
        mServed.firstFrame = std::min(mServed.firstFrame, served.firstFrame);
        mServed.lastFrame = std::max(mServed.lastFrame, served.lastFrame);
        if (!mOptions.json && mOptions.hasSeveralFiles() && mOfFile.requests() > 0) {
            writeStandardOutput(mOfFile.line(name));
        }
    }

    Served serveRequests(Case theCase) {
        if (mSaved && mOptions.replay.changes.empty()) throw InputError("--save-case: expected --set or --drop");
        if (!theCase.cutOff.empty()) warn(theCase.file + ": " + theCase.cutOff);
        return (mOptions.roundTrip ? serveRoundTrip : serveCase)(std::move(theCase), mOptions.replay, mSink);
    }

    void report(const Finding& finding) {
        mAll.add(finding);
        mOfFile.add(finding);
        if (!finding.passes() && mStatus == 0) mStatus = 1;
        if (!mOptions.totals && mOptions.json) {
            writeStandardOutput(jsonOf(finding, mText.log, mOptions.replay.explain));
        } else if (!mOptions.totals && !(mOptions.summarizes() && finding.passes())) {
            writeStandardOutput((mReported++ > 0 ? "\n" : "") + textOf(finding, mText));
        }
        if (mPicture) mPicture->add(finding);
        if (mSaved) mSaved->add(finding);
    }

    void warn(const std::string& what) const {
        Progress::clear();
        std::cerr << printable(what) << '\n';
    }

    void fail(const std::string& what) {
        warn(what);
        mStatus = 2;
    }

    const Options& mOptions;
    const Sink mSink = [this](Finding&& finding) { report(finding); };
    Progress mProgress;
    Totals mAll;
    Totals mOfFile;
    TextOptions mText;
    size_t mReported = 0;  // one by one
    Served mServed;        // the most that a file holds, and all framework frames
    std::optional<PictureReport> mPicture;
    std::optional<SavedCase> mSaved;
    int mStatus = 0;
};

void addOptions(CLI::App& app, Options& options) {
    ReplayOptions& replay = options.replay;
    app.set_version_flag("--version", "zsl-replay " ZSL_VERSION);
    app.add_option("FILE", options.files, "case files or logs; - reads standard input")->option_text("...")->required();
    const auto add = [&app](const char* name, auto& value, const char* text, const char* help) {
        const auto isGiven = [](const std::string& given) { return given.empty() ? "expected something" : ""; };
        return app.add_option(name, value, help)->option_text(text)->check(isGiven)->allow_extra_args(false);
    };
    add("--frame", replay.frames, "N", "only requests with this framework frame; repeatable");
    add("--request", replay.numbers, "N", "only request N of each file, from 1; repeatable")
        ->check(CLI::Range(1, 1'000'000'000));
    app.add_flag(
        "--explain", replay.explain,
        "one line a frame: why it was chosen or left out, as seen, or as a replay with one thing changed shows");
    add("--picture", options.picture, "FILE", "draw the requests to a file, one panel each: .svg or .png");
    add("--log", options.log, "[CHANNEL]", "show the log lines of a channel: online (default) or offline")
        ->expected(0, 1)
        ->default_str("online")
        ->check(CLI::IsMember({"online", "offline"}));
    app.add_flag("--json", options.json, "print one JSON object a request");
    app.add_flag("--totals", options.totals, "print only what all requests come to; with --json as one object");
    add("--set", replay.changes.settings, "KEY=VALUE",
        "what if KEY, a path such as queues[0].lost, were different in every request, or in request N\n"
        "(N:KEY=VALUE)? Repeatable; what the case expects is not compared");
    add("--drop", replay.changes.drops, "FRAME[@QUEUE]",
        "what if the queue with this id, or every queue, had lost the frame? Repeatable; after --set");
    add("--against", replay.against, "FILE",
        "serve every request with a second build of the plug-in, too: exit status 1 where the two differ")
        ->check(CLI::ExistingFile);
    add("--save-case", options.saveCase, "FILE",
        "keep the changed case, or the one that a log is rebuilt into: it expects what came out");
    add("--plugin", replay.plugin, "FILE", "the plug-in to load, instead of the one beside the tool");
    app.add_flag("--round-trip", options.roundTrip,
                 "feed every case's own log back and compare the selections; alone, or with --plugin");
}

// What would be ignored is refused.
void refuseTogether(const CLI::App& app, const char* option, const std::vector<const char*>& others) {
    for (const char* other : others) {
        if (app.count(option) == 0 || app.count(other) == 0) continue;
        throw InputError(fmt::format("{}: expected without {}, found both", option, other));
    }
}

int run(const CLI::App& app, Options& options) {
    refuseTogether(app, "--totals", {"--explain", "--log"});
    refuseTogether(app, "--round-trip",
                   {"--frame", "--request", "--explain", "--picture", "--log", "--json", "--totals", "--set", "--drop",
                    "--against", "--save-case"});
    if (options.hasSeveralFiles() && !options.saveCase.empty()) {
        throw InputError("--save-case: expected one file, found several");
    }
    if (options.json && (options.saveCase == "-" || options.saveCase == kStandardOutput)) {
        throw InputError("--json: expected standard output for itself, found --save-case " + options.saveCase);
    }
    if (!options.picture.empty() && options.picture == options.saveCase) {
        throw InputError("--picture: expected another file than that of --save-case, found the same");
    }
    // The plug-in and the desk's libraries lie beside the tool, built or installed, wherever that is moved to.
    const fs::path libraries = fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "lib/zsl-replay";
    ReplayOptions& replay = options.replay;
    replay.vendorDir = libraries / "vendor";
    // A bare name would be looked for where the system's libraries are.
    replay.plugin = replay.plugin.empty() ? libraries / "com.nexaro.zsl.motion.so" : fs::absolute(replay.plugin);
    if (!replay.against.empty()) replay.against = fs::absolute(replay.against);
    return Desk(options).run();
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_DFL);  // a reader that has gone away ends the tool quietly
    Options options;
    CLI::App app{
        "Runs the requests of case files, or of logs in logcat's threadtime format, through the selector plug-in and\n"
        "reports what it chose: [chosen], (lost by a queue), * the anchor, ? not certain.\n"
        "Exit status: 0 as expected, 1 something differs, 2 usage or input error.",
        "zsl-replay"};
    addOptions(app, options);
    try {
        app.parse(argc, argv);
        return run(app, options);
    } catch (const CLI::Success& asked) {
        app.exit(asked);
        return std::cout.flush() ? 0 : 2;
    } catch (const std::exception& error) {
        std::cerr << printable(error.what()) << '\n';
        return 2;
    }
}
