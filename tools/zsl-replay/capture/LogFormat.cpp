#include "capture/LogFormat.h"

#include <algorithm>
#include <cstring>

#include "capture/Text.h"

namespace replay {

namespace {

constexpr char kLevels[] = "VDIWEFS";

bool isOneOf(char c, const char* set) { return c != '\0' && std::strchr(set, c) != nullptr; }

// Takes the last word off a text.
std::string_view takeWord(std::string_view& text) {
    text = text.substr(0, text.find_last_not_of(' ') + 1);
    const size_t begin = text.rfind(' ') + 1;  // npos + 1 is 0
    const std::string_view word = text.substr(begin);
    text = text.substr(0, begin);
    return word;
}

// "[year-]month-day time", and the zone where there is one.
std::string_view timeIn(std::string_view left) {
    size_t end = left.find(' ', left.find(' ') + 1);  // npos + 1 is 0
    if (end != std::string_view::npos && end + 1 < left.size() && isOneOf(left[end + 1], "+-")) {
        end = left.find(' ', end + 1);
    }
    return left.substr(0, end);
}

}  // namespace

// Read from the right: what precedes the pid varies.
bool parseHeader(std::string_view line, LogHeader& header) {
    if (line.empty() || !isOneOf(line[0], "0123456789")) return false;
    const size_t colon = line.find(": ");
    if (colon == std::string_view::npos) return false;
    header.message = line.substr(colon + 2);
    std::string_view left = line.substr(0, colon);
    header.tag = takeWord(left);
    const std::string_view level = takeWord(left);
    if (level.size() != 1 || !isOneOf(level[0], kLevels)) return false;
    header.level = level[0];
    if (!parseNumber(takeWord(left), header.tid) || !parseNumber(takeWord(left), header.pid)) return false;
    header.time = timeIn(left);
    return left.size() > 5 && (left[2] == '-' || left[4] == '-');
}

// Behind a date and a time, a moment, or nothing stands the level, and with it the tag, or the process, or a blank.
bool isOtherLogFormat(std::string_view line) {
    const size_t level = std::min(line.find_first_not_of("[ 0123456789-.:"), line.size());
    const bool hasTime = line.substr(0, level).find('.') != std::string_view::npos;
    if (level + 2 >= line.size() || !isOneOf(line[level], kLevels)) return false;
    const char next = line[level + 1];
    if (next == '/' || next == '(') return hasTime || level == 0;
    return next == ' ' && hasTime && line.find(": ", level) != std::string_view::npos;
}

}  // namespace replay
