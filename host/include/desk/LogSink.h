// Where this desk's Android log goes. A device's goes to logd.

#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace desk {

struct LogLine {
    int64_t realtimeNs;
    int pid;
    int tid;
    int priority;
    std::string tag;
    std::string message;  // cut at 1,023 bytes, as the device's log cuts
};

// Sees every message of the Android log; an empty function restores the default, which prints to standard error. Set it
// before threads log.
void setLogSink(std::function<void(const LogLine&)> sink);

// What logcat -v threadtime prints for a message: a line, without its end, for each line of the message.
std::string threadtime(const LogLine& line);

// A line that is logged here and now.
LogLine logLineNow(int priority, std::string tag, std::string message);

}  // namespace desk
