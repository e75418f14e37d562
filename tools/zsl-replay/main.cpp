// zsl-replay: a HAL core on a desk.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "CaseReader.h"
#include "Expect.h"
#include "Report.h"
#include "Session.h"

namespace {

using namespace replay;

struct Options {
    std::vector<std::string> files;
    SessionOptions session;
    ReportStyle style;
    bool json = false;
    bool summary = false;  // one line a file
};

std::string readFile(const std::string& name) {
    std::ostringstream text;
    if (name == "-") {
        text << std::cin.rdbuf();
        return text.str();
    }
    std::ifstream file(name, std::ios::binary);
    if (!file || !(text << file.rdbuf())) throw InputError(name + ": expected a readable file, found none");
    return text.str();
}

std::string shownName(const std::string& file) { return file == "-" ? "<stdin>" : file; }

// Runs a case and reports it; returns whether all came out as expected.
bool replayCase(const Case& theCase, const Options& options) {
    size_t differing = 0;
    const std::vector<RequestRun> runs = runCase(theCase, options.session);
    for (size_t i = 0; i < runs.size(); ++i) {
        const Request& request = theCase.requests[i];
        const std::vector<std::string> found = differences(request, runs[i]);
        differing += found.empty() ? 0 : 1;
        if (options.json) {
            reportJson(std::cout, theCase.file, request, runs[i], found, options.style.log);
        } else if (!options.summary || !found.empty()) {
            if (i > 0 && !options.summary) std::cout << '\n';
            reportText(std::cout, request, runs[i], found, options.style);
        }
    }
    if (options.summary && !options.json) {
        std::cout << theCase.file << ": " << runs.size() << (runs.size() == 1 ? " request, " : " requests, ")
                  << (differing == 0 ? "as expected" : std::to_string(differing) + " differ") << '\n';
    }
    return differing == 0;
}

int replayAll(const Options& options) {
    // Everything is read before anything runs.
    std::vector<Case> cases;
    for (const std::string& file : options.files) cases.push_back(readCase(shownName(file), readFile(file)));
    size_t differing = 0;
    for (const Case& each : cases) differing += replayCase(each, options) ? 0 : 1;
    if (options.summary && !options.json) {
        std::cout << "total: " << cases.size() << " files, " << differing << " differ\n";
    }
    return differing == 0 ? 0 : 1;
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
    options.summary = options.files.size() > 1;

    try {
        return replayAll(options);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
}
