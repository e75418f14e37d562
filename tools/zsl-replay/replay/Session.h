// Runs requests on the real plug-in and records what it was seen to do.

#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "desk/LogSink.h"

namespace replay {

// A call or a log line of the library, in the order they came.
struct TraceStep {
    enum Kind { kCall, kLog } kind;
    std::string text;
};

struct Run {
    halcore::RequestOutcome outcome;
    bool result = false;   // of a strategy called directly
    FrameList selectList;  // of a strategy called directly
    std::vector<desk::LogLine> log;
    std::vector<desk::LogLine> offlineLog;
    std::vector<TraceStep> trace;

    // The frames chosen: a strategy's list, or the list that every queue got; empty when nothing was selected.
    const FrameList& chosen() const;
};

struct SessionOptions {
    std::string plugin;
    std::string vendorDir;    // where the adapter library is
    bool offlineLog = false;  // open the offline channel too
    bool trace = false;
};

// A freshly loaded plug-in with one selector. One at a time: the platform is the process's.
class Session {
public:
    // `platform` gives properties and static metadata; its requests are not looked at. Throws halcore::PluginError.
    Session(const Case& platform, const SessionOptions& options);
    ~Session();

    Run serve(const Request& request);

private:
    zohal::ZSLFrameSelectInfo makeSelectInfo(const Request& request, Run& run) const;

    SessionOptions mOptions;
    Case mPlatform;  // without requests
    std::unique_ptr<halcore::SelectorPlugin> mPlugin;
};

// Every request of a case on one selector.
std::vector<Run> runCase(const Case& theCase, const SessionOptions& options);

}  // namespace replay
