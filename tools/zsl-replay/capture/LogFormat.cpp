#include "capture/LogFormat.h"

#include <cstring>
#include <regex>
#include <vector>

#include "capture/Text.h"

namespace replay {

namespace {

constexpr size_t kLongestHeader = 200;  // of a line in another format

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

struct Format {
    const char* name;
    std::regex pattern;
};

// All at the beginning of a line.
const std::vector<Format>& otherFormats() {
    static const std::vector<Format> formats = {
        {"brief", std::regex("[VDIWEFS]/[^(]{1,80}\\( *[0-9]+\\): ")},
        {"process", std::regex("[VDIWEFS]\\( *[0-9]+\\) ")},
        {"thread", std::regex("[VDIWEFS]\\( *[0-9]+: *[0-9]+\\) ")},
        {"tag", std::regex("[VDIWEFS]/[^ :(]{1,80} *: ")},
        {"time", std::regex("[0-9-]{5,10} [0-9:.]{8,18} [VDIWEFS]/[^(]{1,80}\\( *[0-9]+\\): ")},
        {"long", std::regex("\\[ [0-9-]{5,10} [0-9:.]{8,18} +[0-9]+: *[0-9]+ [VDIWEFS]/")},
        {"epoch or monotonic", std::regex(" *[0-9]+\\.[0-9]{3,9} +[0-9]+ +[0-9]+ [VDIWEFS] [^ ]{1,80} *: ")},
        {"raw", std::regex("[A-Z]{2,8} [^ ]*ZSLSelector[^ ]*:[0-9]+ [A-Za-z0-9_()]+\\(\\)")},
    };
    return formats;
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
    if (level.size() != 1 || !isOneOf(level[0], "VDIWEFS")) return false;
    header.level = level[0];
    if (!parseNumber(takeWord(left), header.tid) || !parseNumber(takeWord(left), header.pid)) return false;
    header.time = timeIn(left);
    return left.size() > 5 && (left[2] == '-' || left[4] == '-');
}

const char* otherLogFormat(std::string_view line) {
    line = line.substr(0, kLongestHeader);
    for (const Format& format : otherFormats()) {
        const auto anchored = std::regex_constants::match_continuous;
        if (std::regex_search(line.begin(), line.end(), format.pattern, anchored)) return format.name;
    }
    return nullptr;
}

}  // namespace replay
