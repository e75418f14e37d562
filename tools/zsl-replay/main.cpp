// zsl-replay: a HAL core on a desk.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include <nlohmann/json.hpp>

#include "report/Canvas.h"
#include "replay/Replay.h"
#include "report/Picture.h"
#include "report/Report.h"

namespace {

using namespace replay;

struct Options {
    std::vector<std::string> files;
    std::string plugin;
    std::string vendorDir;
    std::string against;
    ReportStyle style;
    bool json = false;
    bool summary = false;  // one line a file
    Changes changes;
    bool explain = false;
    std::string picture;
    std::string saveCase;
    bool roundTrip = false;
};

std::string shownName(const std::string& file) { return file == "-" ? "<stdin>" : file; }

// Reports findings as they come.
class Reporter {
public:
    explicit Reporter(const Options& options) : mOptions(options) {}

    void report(const Finding& finding) {
        ++mRequests;
        mDiffering += finding.passes() ? 0 : 1;
        if (!mOptions.picture.empty()) {
            mDrawn.requests.push_back(finding.request);
            mRuns.push_back(finding.run);
        }
        if (mOptions.json) {
            nlohmann::ordered_json more = nlohmann::ordered_json::object();
            if (finding.whatIf) more["whatIf"] = {{"gained", finding.whatIf->gained}, {"lost", finding.whatIf->lost}};
            reportJson(std::cout, finding.file, finding.request, finding.run, finding.differences, mOptions.style.log, more);
            return;
        }
        if (mOptions.summary && finding.passes()) return;
        reportText(std::cout, finding.request, finding.run, finding.differences, mOptions.style);
        for (const Warning& each : finding.warnings) {
            std::cout << "  warning    " << each.kind << ": " << each.text << (each.certain ? "" : " (not certain)") << '\n';
        }
        if (finding.log) {
            const Evidence& log = *finding.log;
            for (const std::string& each : log.assumptions) std::cout << "  assumed    " << each << '\n';
            for (const std::string& each : log.missing) std::cout << "  missing    " << each << '\n';
            if (!log.open.empty()) std::cout << "  open       " << log.open << '\n';
            std::cout << "  certain    " << join(log.certain) << "\n  possible   " << join(log.possible) << '\n';
            std::cout << "  log        " << log.reproduced << " of " << log.lines << " lines reproduced\n";
        }
        for (const auto& difference : {finding.whatIf, finding.against}) {
            if (!difference) continue;
            std::cout << "  gained     " << join(difference->gained) << "\n  lost       " << join(difference->lost) << '\n';
            for (const std::string& answer : difference->answers) std::cout << "  answer     " << answer << '\n';
            if (!difference->firstStep) continue;
            std::cout << "    before   " << difference->firstStep->before << "\n    after    " << difference->firstStep->after << '\n';
        }
        for (const FrameReason& each : finding.explain) {
            std::cout << "  " << each.list << '[' << each.position << "]  " << each.frame << "  " << each.reason << '\n';
        }
        for (const std::string& each : finding.notes) std::cout << "  note       " << each << '\n';
    }

    bool finish(const std::string& file) {
        if (!mOptions.json) std::cout << file << ": " << mRequests << " requests, " << mDiffering << " differ\n";
        if (!mOptions.picture.empty()) drawPicture(mOptions.picture, mDrawn, mRuns);
        return mDiffering == 0;
    }

private:
    const Options& mOptions;
    Case mDrawn;
    std::vector<Run> mRuns;
    size_t mRequests = 0;
    size_t mDiffering = 0;
};

ReplayOptions replayOptions(const Options& options) {
    return {options.plugin, options.vendorDir, options.against, options.style.log == LogChannel::kOffline,
            options.explain, options.changes, {}, {}};
}

// A case, or a log that is yet to be read.
struct Input {
    std::string file;
    std::optional<Document> theCase;
    std::unique_ptr<LineReader> stdinLog;  // what was read ahead can't be read again
};

Input readInput(const std::string& file, const Options& options) {
    Input input{shownName(file), std::nullopt, nullptr};
    auto reader = std::make_unique<LineReader>(file);
    const std::string_view head = reader->head();
    if (looksLikeLog(head)) {
        if (file == "-") input.stdinLog = std::move(reader);
        return input;
    }
    if (head.find('\0') != std::string_view::npos) {
        throw InputError(input.file + ": expected a case file or a log, found binary data");
    }
    if (!options.saveCase.empty() && options.changes.empty()) {
        throw InputError("--save-case: expected --set or --drop");
    }
    input.theCase = parseDocument(input.file, reader->readAll());
    readCase(*input.theCase);
    return input;
}

bool replayInput(const Input& input, const Options& options) {
    if (options.roundTrip) {
        const RoundTrip trip = Replay(replayOptions(options), nullptr).roundTrip(readCase(*input.theCase));
        std::cout << input.file << ": " << trip.requests << " requests, " << trip.settled << " settled, " << trip.open << " open\n";
        for (const std::string& each : trip.failures) std::cout << "  " << each << '\n';
        return trip.failures.empty();
    }
    Reporter reporter(options);
    Replay replay(replayOptions(options), [&reporter](Finding&& finding) { reporter.report(finding); });
    replay.serve(*input.theCase);
    return reporter.finish(input.file);
}

bool replayLogInput(Input& input, const Options& options) {
    Reporter reporter(options);
    Replay replay(replayOptions(options), [&reporter](Finding&& finding) { reporter.report(finding); });
    const auto reader = input.stdinLog ? std::move(input.stdinLog) : std::make_unique<LineReader>(input.file);
    if (replay.serve(*reader, input.file).requests == 0) {
        throw InputError(input.file + ": expected a log with lines of the selector, found none");
    }
    return reporter.finish(input.file);
}

int replayAll(const Options& options) {
    // Every case is read before anything runs; a log may be larger than memory.
    std::vector<Input> inputs;
    for (const std::string& file : options.files) inputs.push_back(readInput(file, options));
    size_t differing = 0;
    for (Input& each : inputs) {
        differing += (each.theCase ? replayInput(each, options) : replayLogInput(each, options)) ? 0 : 1;
    }
    if (options.summary && !options.json) {
        std::cout << "total: " << inputs.size() << " files, " << differing << " differ\n";
    }
    return differing == 0 ? 0 : 1;
}

int usageError(const char* what) {
    std::cerr << what << '\n';
    return 2;
}

void addWhatIfOptions(CLI::App& app, Options& options) {
    app.add_option("--set", options.changes.settings,
                   "KEY=VALUE: what if a request's key were different? KEY is a path (queues[0].lost counts from 0;\n"
                   "metadata.nexaro.hdr.enabled), in every request, or in request N (N:KEY=VALUE); repeatable.\n"
                   "What the case expects is not compared: exit status 0")
        ->allow_extra_args(false);
    app.add_option(
           "--drop", options.changes.drops,
           "FRAME[@QUEUE]: what if the queue with this id, or every queue, had lost the frame? Repeatable; after\n"
           "--set")
        ->allow_extra_args(false);
    app.add_option(
        "--save-case", options.saveCase,
        "keep the changed case, or the one that a log is rebuilt into, in a file; it expects what came out of it");
    app.add_flag("--explain", options.explain,
                 "one line a frame: why it was chosen or left out, as the library was seen to do, or as a replay with\n"
                 "one thing changed proves");
    app.add_option("--picture", options.picture, "draw the requests to a file, one panel each: .svg or .png")
        ->check([](const std::string& file) {
            return canDrawTo(file) ? std::string() : "expected a name ending in .svg or .png, found " + file;
        });
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path root = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
    Options options;
    options.plugin = root / "lib/com.nexaro.zsl.motion.so";
    options.vendorDir = root / "vendor/lib64";

    CLI::App app{
        "Runs the requests of case files, or of logs in logcat's threadtime format, through the selector plug-in and\n"
        "reports what it chose.\n"
        "Exit status: 0 as expected, 1 something differs, 2 usage or input error.",
        "zsl-replay"};
    std::string log;
    app.set_version_flag("--version", "zsl-replay " ZSL_VERSION);
    app.add_option("CASE", options.files, "case files or logs; - reads standard input")->required();
    app.add_option("--log", log, "show the log lines of a channel: online (default) or offline")
        ->expected(0, 1)
        ->default_str("online")
        ->check(CLI::IsMember({"online", "offline"}));
    app.add_flag("--round-trip", options.roundTrip, "feed every case's own log back and compare the selections");
    app.add_flag("--json", options.json, "print one JSON object a request");
    addWhatIfOptions(app, options);
    app.add_option("--plugin", options.plugin, "the plug-in to load")->capture_default_str();
    app.add_option("--against", options.against, "a second build of the plug-in");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (app.count("--log") > 0) {
        options.style.log = log == "offline" ? LogChannel::kOffline : LogChannel::kOnline;
    }
    options.style.colour = isatty(STDOUT_FILENO) == 1;
    options.summary = options.files.size() > 1 && !options.explain && options.changes.empty();
    if (options.files.size() > 1 && !(options.picture + options.saveCase).empty()) {
        return usageError("--picture and --save-case: expected one case, found several");
    }

    try {
        return replayAll(options);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
}
