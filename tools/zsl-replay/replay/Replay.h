// Serves what an input holds and hands on one finding a request: what the plug-in was seen to do, and what follows.

#pragma once

#include <functional>
#include <set>
#include <string>

#include "capture/CaseFile.h"
#include "capture/InputFile.h"
#include "replay/Finding.h"

namespace replay {

struct ReplayOptions {
    std::string plugin;
    std::string vendorDir;  // where the adapter library is
    std::string against;    // a second build of the plug-in; empty: none
    bool explain = false;
    Changes changes;

    // Picks: everything is served, and what is picked by both is found out about. Empty: everything.
    std::set<uint32_t> frames;  // framework frames
    std::set<size_t> numbers;   // of requests in their file, from 1
};

using Sink = std::function<void(Finding&&)>;

// Requests that an input holds, whether they were picked or not: what "nothing matches" is answered with.
struct Served {
    size_t requests = 0;
    uint32_t firstFrame = UINT32_MAX;  // the lowest framework frame
    uint32_t lastFrame = 0;            // the highest
};

// Each serves one input and hands its findings on in the order of the requests: of a log as it is read, else when all
// of it, or with --against a batch, has been served. They throw InputError for an input that can't be served and
// halcore::PluginError for a build that can't be loaded; findings that were handed on before stand.
Served serveCase(Case theCase, const ReplayOptions& options, const Sink& sink);
Served serveLog(InputFile& log, const ReplayOptions& options, const Sink& sink);  // no request in it is no error

// Feeds the log of each of a case's requests back. Findings are of these logs, and differ where they lead to another
// selection.
Served serveRoundTrip(Case theCase, const ReplayOptions& options, const Sink& sink);

}  // namespace replay
