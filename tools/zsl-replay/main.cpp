// zsl-replay: a HAL core on a desk.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include <nlohmann/json.hpp>

#include "capture/Document.h"
#include "replay/Expect.h"
#include "replay/Explain.h"
#include "replay/Session.h"
#include "replay/WhatIf.h"
#include "report/Canvas.h"
#include "report/FieldLog.h"
#include "report/Picture.h"
#include "report/Report.h"

namespace {

using namespace replay;

struct Options {
    std::vector<std::string> files;
    SessionOptions session;
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

// Runs a case, or its variant, and reports it; returns whether all came out as expected. What a case expects is not
// held against its variant.
bool replayCase(const Case& theCase, const Variant* variant, const Options& options) {
    SessionOptions session = options.session;
    session.trace = variant != nullptr;
    const Case& shown = variant != nullptr ? variant->changed : theCase;
    const auto before = variant != nullptr ? runCase(theCase, session) : std::vector<Run>();
    const std::vector<Run> runs = runCase(shown, session);
    if (variant != nullptr && !options.json) std::cout << "what if: " << options.changes.words() << '\n';
    size_t differing = 0;
    for (size_t i = 0; i < runs.size(); ++i) {
        const Request& request = shown.requests[i];
        const auto found = variant != nullptr ? std::vector<std::string>() : differences(request, runs[i]);
        differing += found.empty() ? 0 : 1;
        if (!options.json && options.summary && found.empty()) continue;
        const auto why = options.explain ? explain(shown, i, runs[i], session) : std::vector<std::string>();
        if (options.json) {
            nlohmann::ordered_json more = nlohmann::ordered_json::object();
            if (variant != nullptr) more["whatIf"] = differenceJson(compareRuns(before[i], runs[i]));
            if (options.explain) more["explain"] = why;
            reportJson(std::cout, theCase.file, request, runs[i], found, options.style.log, more);
            continue;
        }
        if (i > 0 && !options.summary) std::cout << '\n';
        reportText(std::cout, request, runs[i], found, options.style);
        if (variant != nullptr) reportDifference(std::cout, compareRuns(before[i], runs[i]));
        for (const std::string& line : why) std::cout << line << '\n';
    }
    if (!options.picture.empty()) drawPicture(options.picture, shown, runs);
    if (variant != nullptr && !options.saveCase.empty()) {
        saveVariant(options.saveCase, *variant, runs, options.changes);
    }
    if (options.summary && !options.json) {
        std::cout << theCase.file << ": " << runs.size() << (runs.size() == 1 ? " request, " : " requests, ")
                  << (differing == 0 ? "as expected" : std::to_string(differing) + " differ") << '\n';
    }
    return differing == 0;
}

// A case, or a log that is yet to be read.
struct Input {
    std::string file;
    std::optional<Case> theCase;
    std::optional<Variant> variant;
    std::unique_ptr<LineReader> stdinLog;  // what was read ahead can't be read again
};

void readCaseInput(Input& input, const std::string& text, const Options& options) {
    const Document document = parseDocument(input.file, text);
    input.theCase = readCase(document);
    if (options.changes.empty()) return;
    const Document changed = withChanges(document, options.changes);
    input.variant = Variant{changed, readCase(changed)};
}

Input readInput(const std::string& file, const Options& options) {
    Input input{shownName(file), std::nullopt, std::nullopt, nullptr};
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
    readCaseInput(input, reader->readAll(), options);
    return input;
}

bool replayInput(const Input& input, const Options& options) {
    const Variant* variant = input.variant ? &*input.variant : nullptr;
    if (input.theCase && options.roundTrip) return roundTrip(std::cout, *input.theCase, options.session);
    return replayCase(*input.theCase, variant, options);
}

// What is asked of a log beyond its report is asked of the case that it is rebuilt into.
bool replayLogInput(Input& input, const Options& options) {
    const bool asksMore = options.explain || !options.picture.empty() || !options.changes.empty();
    const bool keeps = !options.saveCase.empty() && options.changes.empty();  // as rebuilt, not a variant of it
    std::ostringstream rebuilt;
    std::ofstream saved;
    if (keeps) saved.open(options.saveCase);
    FieldLogOptions logOptions{options.session, options.style, options.json, options.summary, nullptr};
    if (keeps) logOptions.saved = &saved;
    if (asksMore) logOptions.saved = &rebuilt;
    const auto reader = input.stdinLog ? std::move(input.stdinLog) : std::make_unique<LineReader>(input.file);
    const bool reproduced = replayLog(std::cout, input.file, *reader, logOptions);
    if (keeps && asksMore) saved << rebuilt.str();
    if (keeps && !saved.flush()) {
        throw InputError(options.saveCase + ": expected a file that can be written, found none");
    }
    if (!asksMore) return reproduced;
    readCaseInput(input, rebuilt.str(), options);
    return replayInput(input, options) && reproduced;
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
    options.session.plugin = root / "lib/com.nexaro.zsl.motion.so";
    options.session.vendorDir = root / "vendor/lib64";

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
    app.add_option("--plugin", options.session.plugin, "the plug-in to load")->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (app.count("--log") > 0) {
        options.style.log = log == "offline" ? LogChannel::kOffline : LogChannel::kOnline;
        options.session.offlineLog = log == "offline";
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
