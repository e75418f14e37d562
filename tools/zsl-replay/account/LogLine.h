// The selector's lines among those of a log.

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "capture/InputFile.h"
#include "desk/LogSink.h"

namespace replay {

// A message taken apart: "<group> <file>:<line> <function>()<text>".
struct Message {
    std::string_view file;
    std::string_view function;
    std::string_view text;
};
std::optional<Message> splitMessage(std::string_view logged);

// A message of the selector, as a log shows it.
struct LoggedLine {
    int pid = 0;
    int tid = 0;
    char level = 'D';
    std::string function;  // that logs; empty: the log's own note on lines that it dropped ("chatty")
    std::string text;      // without blanks at its end, which get lost where logs are copied
    std::string time;      // as the log writes it; empty for a replay's line
    size_t number = 0;     // in its file
    bool isCut = false;    // its end is missing
    bool isCheck = false;  // of the sensor-mode check, not of the selector itself
};

// The selector's line, or a note on dropped ones, that a line of a log holds; that a replay has logged.
std::optional<LoggedLine> selectorLine(const InputFile::Line& line);
std::optional<LoggedLine> selectorLine(const desk::LogLine& line);

}  // namespace replay
