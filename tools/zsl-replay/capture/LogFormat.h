// The formats that logcat writes.

#pragma once

#include <string_view>

namespace replay {

// The one that is read, threadtime: "[year-]month-day time [zone] [uid] pid tid level tag : message".
struct LogHeader {
    std::string_view time;  // date, time, and zone where there is one
    int pid = 0;
    int tid = 0;
    char level = 0;
    std::string_view tag;
    std::string_view message;
};
bool parseHeader(std::string_view line, LogHeader& header);

// Whether the line is in another: brief, process, thread, tag, time, long, epoch or monotonic.
bool isOtherLogFormat(std::string_view line);

}  // namespace replay
