// zsl-replay: a HAL core on a desk.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include <nlohmann/json.hpp>

#include "Canvas.h"
#include "CaseReader.h"
#include "Expect.h"
#include "Explain.h"
#include "Picture.h"
#include "Report.h"
#include "Session.h"
#include "WhatIf.h"

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
};

std::string readFile(const std::string& name) {
    std::ostringstream text;
    if (name == "-") {
        text << std::cin.rdbuf();
        return text.str();
    }
    std::ifstream file(name, std::ios::binary);
    if (file.peek() != EOF) text << file.rdbuf();
    if (!file.is_open() || file.bad()) throw InputError(name + ": expected a readable file, found none");
    return text.str();
}

std::string shownName(const std::string& file) { return file == "-" ? "<stdin>" : file; }

// Runs a case, or its variant, and reports it; returns whether all came out as expected. What a case expects is not
// held against its variant.
bool replayCase(const Case& theCase, const Variant* variant, const Options& options) {
    SessionOptions session = options.session;
    session.trace = variant != nullptr;
    const Case& shown = variant != nullptr ? variant->changed : theCase;
    const auto before = variant != nullptr ? runCase(theCase, session) : std::vector<RequestRun>();
    const std::vector<RequestRun> runs = runCase(shown, session);
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
    if (!options.saveCase.empty()) saveVariant(options.saveCase, *variant, runs, options.changes);
    if (options.summary && !options.json) {
        std::cout << theCase.file << ": " << runs.size() << (runs.size() == 1 ? " request, " : " requests, ")
                  << (differing == 0 ? "as expected" : std::to_string(differing) + " differ") << '\n';
    }
    return differing == 0;
}

int replayAll(const Options& options) {
    // Everything is read before anything runs.
    std::vector<Case> cases;
    std::vector<Variant> variants;
    for (const std::string& file : options.files) {
        const YAML::Node tree = parseCase(shownName(file), readFile(file));
        cases.push_back(readCase(shownName(file), tree));
        if (!options.changes.empty()) variants.push_back(makeVariant(cases.back(), tree, options.changes));
    }
    size_t differing = 0;
    for (size_t i = 0; i < cases.size(); ++i) {
        differing += replayCase(cases[i], variants.empty() ? nullptr : &variants[i], options) ? 0 : 1;
    }
    if (options.summary && !options.json) {
        std::cout << "total: " << cases.size() << " files, " << differing << " differ\n";
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
    app.add_option("--save-case", options.saveCase, "keep the changed case in a file; it expects what came out of it");
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
        "Runs the requests of case files through the selector plug-in and reports what it chose.\n"
        "Exit status: 0 as expected, 1 something differs, 2 usage or input error.",
        "zsl-replay"};
    std::string log;
    app.set_version_flag("--version", "zsl-replay " ZSL_VERSION);
    app.add_option("CASE", options.files, "case files; - reads standard input")->required();
    app.add_option("--log", log, "show the log lines of a channel: online (default) or offline")
        ->expected(0, 1)
        ->default_str("online")
        ->check(CLI::IsMember({"online", "offline"}));
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
    if (!options.saveCase.empty() && options.changes.empty())
        return usageError("--save-case: expected --set or --drop");
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
