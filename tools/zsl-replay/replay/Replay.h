// Serves what an input holds and hands on one finding a request: what the plug-in was seen to do, and what follows.

#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "account/LogRequests.h"
#include "capture/Document.h"
#include "capture/InputFile.h"
#include "replay/Finding.h"
#include "replay/Session.h"

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
};

using Sink = std::function<void(Finding&&)>;

// Requests that an input holds, whether they were picked or not: what "nothing matches" is answered with.
struct Served {
    size_t requests = 0;
    uint32_t firstFrame = UINT32_MAX;  // the lowest framework frame
    uint32_t lastFrame = 0;            // the highest
};

// Findings come in the order of the requests. Of a case file, which is one batch, they come when all of it has been
// served; of a log as it is read, with --against in batches, and with changes at its end. Throws InputError for an
// input that can't be served and halcore::PluginError for a build that can't be loaded; findings that were handed on
// before stand.
class Replay {
public:
    Replay(ReplayOptions options, Sink sink) : mOptions(std::move(options)), mSink(std::move(sink)) {}

    Served serve(const Document& document);  // a case file
    Served serve(InputFile& log);            // no request in it is no error

    // Feeds the log of each of a case's requests back. Findings are of these logs, and differ where they lead to
    // another selection.
    Served roundTrip(const Document& document);

private:
    using Lines = std::function<std::optional<InputFile::Line>()>;

    Served serve(const Lines& nextLine, const std::string& name);
    void begin();
    void addLogged(const LoggedRequest& logged, const std::string& name);
    void add(Finding finding);
    void change(const Document& document);
    void serveBatch();
    void serve(Finding& finding);
    void noteMapped(Finding& finding);
    Run run(const Finding& finding, const std::string& plugin);
    Session& session(const std::string& plugin, const Case& platform);
    bool picks(const Finding& finding) const;

    ReplayOptions mOptions;
    Sink mSink;
    Served mServed;               // of the file under way
    std::vector<Finding> mBatch;  // of it, not handed on yet
    bool mIsMappedNoted = false;  // in it
    std::unique_ptr<Session> mSession;
};

}  // namespace replay
