// The selector's lines among those of a log.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/Case.h"
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

// 'D' or 'I'.
char levelOf(const desk::LogLine& line);

// A message's text up to the selector's address, which no two runs share.
std::string_view withoutAddress(std::string_view text);

struct CatalogueEntry;

// A message of the selector, as a log shows it.
struct LoggedLine {
    int pid = 0;
    int tid = 0;
    char level = 'D';
    std::string time;        // as the log writes it; empty for a replay's line
    std::string text;        // without blanks at its end, which get lost where logs are copied
    std::string function{};  // that logs; empty: the log's own note on lines that it dropped ("chatty")
    size_t number = 0;       // in its file
    bool isCut = false;      // its end is missing
    bool isCheck = false;    // of the sensor-mode check, not of the selector itself

    // What it says, as the catalogue knows it.
    const CatalogueEntry* entry = nullptr;  // null: it is damaged or unknown
    std::vector<int64_t> numbers{};         // one beyond 63 bits as its 64-bit two's complement
    std::string name{};                     // of a queue
    FrameList frames{};                     // at its end; where it is cut, those that are whole

    // Numbers as they were before they were printed. A line that holds a larger one does not come out of a replay
    // again, which tells.
    uint32_t unsigned32(size_t i) const { return static_cast<uint32_t>(numbers[i]); }
    int32_t signed32(size_t i) const { return static_cast<int32_t>(numbers[i]); }

    bool isGate() const { return function == "isSelectorNeeded"; }
    bool isFirst() const;                      // of a selection, or of a frame's check
    std::optional<uint32_t> fwkFrame() const;  // where it shows that

    // Of the first line of a frame's check: the frame; else 0.
    uint32_t checkedFrame() const { return isCheck && isFirst() ? unsigned32(0) : 0; }
};

// The selector's line, or a note on dropped ones, that a line of a log holds; that a replay has logged.
std::optional<LoggedLine> selectorLine(const InputFile::Line& line);
std::optional<LoggedLine> selectorLine(const desk::LogLine& line);

}  // namespace replay
