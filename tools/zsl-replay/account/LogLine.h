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
    std::string tag;
    std::string message;
    std::string time;       // as the log writes it; empty for a replay's line
    size_t number = 0;      // in its file
    bool cut = false;       // its end is missing
    bool isCheck = false;   // of the sensor-mode check, not of the selector itself
    size_t functionAt = 0;  // in the message
    size_t textAt = 0;

    bool isChatty() const { return tag == "chatty"; }  // the log's own note on lines that it dropped
    std::string_view function() const { return std::string_view(message).substr(functionAt, textAt - functionAt - 2); }
    std::string_view text() const { return std::string_view(message).substr(textAt); }
};
LoggedLine loggedLine(const desk::LogLine& line);

// The selector's line, or a note on dropped ones, that a line of a log holds.
std::optional<LoggedLine> selectorLine(const InputFile::Line& line);

}  // namespace replay
