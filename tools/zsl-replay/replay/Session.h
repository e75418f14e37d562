// Serves requests with the real plug-in and records what it was seen to do.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "desk/LogSink.h"

namespace replay {

// What came of one request, served once.
struct Run {
    halcore::RequestOutcome outcome;
    bool result = false;   // of a strategy called directly
    FrameList selectList;  // of a strategy called directly
    std::vector<desk::LogLine> log;
    std::vector<desk::LogLine> offlineLog;

    // The library's calls and log lines in the order they came, without what differs from build to build.
    std::vector<std::string> trace;

    // The frames chosen: a strategy's list, or the list that every queue got; empty when nothing was selected.
    const FrameList& chosen() const;
};

// What is kept of a run beside its outcome: the offline log, which cuts nothing, or that, the online one and the trace.
enum class Recording { kOfflineLog, kAll };

// A freshly loaded plug-in with one selector. One at a time: the platform is the process's.
class Session {
public:
    // `platform` has no requests. Throws halcore::PluginError.
    Session(Case platform, std::string plugin, std::string vendorDir);
    ~Session();
    bool isOf(const std::string& plugin, const Case& platform) const {
        return mBuild == plugin && mPlatform.properties == platform.properties;
    }

    // Throws halcore::PluginError where the plug-in lacks a strategy that is called directly.
    Run serve(const Request& request, Recording recording = Recording::kOfflineLog);

private:
    std::string mVendorDir;
    std::string mBuild;
    Case mPlatform;
    std::unique_ptr<halcore::SelectorPlugin> mPlugin;
    Run mRun;  // under way
};

}  // namespace replay
