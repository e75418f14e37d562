// Serves what an input holds and hands on one finding a request: what the plug-in was seen to do, and what follows.

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "capture/Document.h"
#include "capture/InputFile.h"
#include "replay/Finding.h"

namespace replay {

struct ReplayOptions {
    std::string plugin;
    std::string vendorDir;    // where the adapter library is
    std::string against;      // a second build of the plug-in; empty: none
    bool offlineLog = false;  // open the offline channel, too; Run::offlineLog is empty without
    bool explain = false;
    Changes changes;

    // Picks: everything is served, and what is picked by both is found out about. Empty: everything.
    FrameList frames;             // framework frames
    std::vector<size_t> numbers;  // of requests in their file, from 1

    bool picks(std::optional<uint32_t> fwkFrame, size_t number) const;
    bool tracing() const { return !changes.empty() || !against.empty(); }
};

using Sink = std::function<void(Finding&&)>;

// Requests that an input holds, whether they were picked or not: what "nothing matches" is answered with.
struct Served {
    size_t requests = 0;
    bool showsFrames = false;  // framework frames of which the lowest and the highest are:
    uint32_t firstFrame = 0;
    uint32_t lastFrame = 0;
};

// A case's requests whose own logs were fed back.
struct RoundTrip {
    size_t requests = 0;
    size_t settled = 0;                 // the log leaves nothing open, and leads to the selection
    size_t open = 0;                    // the selection is among those that are consistent with the log
    std::vector<std::string> failures;  // requests of which neither is true
};

// Findings come in the order of the requests. Of a case file they come when all of it has been served; of a log as it
// is read, with --against in batches, and with changes at its end. Throws InputError for an input that can't be served
// and halcore::PluginError for a build that can't be loaded; findings that were handed on before stand.
class Replay {
public:
    Replay(ReplayOptions options, Sink sink) : mOptions(std::move(options)), mSink(std::move(sink)) {}

    Served serve(const Document& document);  // a case file
    Served serve(InputFile& log);            // no request in it is no error

    // Hands on no finding.
    RoundTrip roundTrip(const Case& theCase);

private:
    struct LogServing;

    std::vector<Run> runAll(const Case& theCase, const std::string& plugin, bool offlineLog);
    void noteMapped(Finding& finding);

    ReplayOptions mOptions;
    Sink mSink;
};

}  // namespace replay
