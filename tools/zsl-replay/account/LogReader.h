// Reads files line by line in bounded memory, and picks the selector's lines out of logs in logcat's threadtime format.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/LogSink.h"

namespace replay {

class LineReader {
public:
    // "-" is standard input. Throws InputError when it can't be read.
    explicit LineReader(const std::string& file);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    struct Line {
        std::string_view text;  // without its end; valid until the next call
        size_t number;          // from 1
        bool cut;               // longer than is kept
    };
    std::optional<Line> next();

    // What comes next, up to a block; stays unread.
    std::string_view head();
    std::string readAll();

private:
    bool fill();

    std::string mFile;
    int mFd;
    std::vector<char> mBlock;
    size_t mBegin = 0;
    size_t mEnd = 0;
    size_t mLineNumber = 0;
    bool mSkipping = false;  // inside the rest of a cut line
};

// A message of the selector, as a log shows it.
struct LoggedLine {
    int pid = 0;
    int tid = 0;
    char level = 'D';
    std::string tag;
    std::string message;
    size_t number = 0;      // in its file
    bool cut = false;       // its end is missing
    std::string time;       // as the log writes it; empty for a replay's line
    size_t functionAt = 0;  // in the message
    size_t textAt = 0;
    bool isCheck = false;  // of the sensor-mode check, not of the selector itself

    bool isChatty() const { return tag == "chatty"; }  // the log's own note on lines that it dropped
    std::string_view function() const { return std::string_view(message).substr(functionAt, textAt - functionAt - 2); }
    std::string_view text() const { return std::string_view(message).substr(textAt); }
};
LoggedLine loggedLine(const desk::LogLine& line);

// The selector's line, or a note on dropped ones, that a line of a log holds.
std::optional<LoggedLine> selectorLine(const LineReader::Line& line);

// Whether a file that begins so is a log, or this tool's report with log lines in it, rather than a case file.
bool looksLikeLog(std::string_view head);

// The parts of a message's file name that tell who wrote it: the motion selector and the check it inherits.
constexpr char kSelectorFile[] = "MotionZSLSelector";
constexpr char kCheckFile[] = "ZSLSelectorExt";
std::string_view fileStem(std::string_view path);

}  // namespace replay
