#include "account/LogLine.h"

#include <android/log.h>

#include <cstring>

#include "capture/LogFormat.h"
#include "capture/Text.h"

namespace replay {

namespace {

constexpr size_t kLogCut = 1023;  // where the Android log cuts a message

// The parts of a message's file name that tell who wrote it: the motion selector and the check it inherits.
constexpr char kSelectorFile[] = "MotionZSLSelector";
constexpr char kCheckFile[] = "ZSLSelectorExt";

std::string_view fileStem(std::string_view path) {
    path.remove_prefix(path.rfind('/') + 1);  // npos + 1 is 0
    return path.substr(0, path.find('.'));
}

// Finds a message's function and text; false where it is none of the selector.
bool takeApart(LoggedLine& line) {
    const auto message = splitMessage(line.message);
    if (!message) return false;
    line.functionAt = static_cast<size_t>(message->function.data() - line.message.data());
    line.textAt = static_cast<size_t>(message->text.data() - line.message.data());
    const std::string_view stem = fileStem(message->file);
    line.isCheck = stem == kCheckFile;
    return line.isCheck || stem == kSelectorFile;
}

}  // namespace

// Read backwards from the function: a group may be of several words.
std::optional<Message> splitMessage(std::string_view logged) {
    const size_t end = logged.find("()");
    const size_t blank = logged.substr(0, end).rfind(' ');
    const size_t colon = logged.substr(0, blank).rfind(':');
    uint32_t line = 0;
    if (end == std::string_view::npos || blank == std::string_view::npos || colon == std::string_view::npos ||
        !parseNumber(logged.substr(colon + 1, blank - colon - 1), line)) {
        return std::nullopt;
    }
    const size_t file = logged.substr(0, colon).rfind(' ') + 1;  // npos + 1 is 0
    // A function may be "operator()".
    const size_t more =
        logged.substr(blank + 1, end - blank - 1) == "operator" && logged.substr(end + 2, 2) == "()" ? 2 : 0;
    return Message{logged.substr(file, colon - file), logged.substr(blank + 1, end + more - blank - 1),
                   logged.substr(end + more + 2)};
}

LoggedLine loggedLine(const desk::LogLine& line) {
    LoggedLine logged;
    logged.pid = line.pid;
    logged.tid = line.tid;
    logged.level = line.priority == ANDROID_LOG_DEBUG ? 'D' : 'I';
    logged.tag = line.tag;
    logged.message = line.message;
    takeApart(logged);
    return logged;
}

std::optional<LoggedLine> selectorLine(const InputFile::Line& line) {
    // Most lines of a log are somebody else's.
    const auto has = [&line](std::string_view word) {
        return memmem(line.text.data(), line.text.size(), word.data(), word.size()) != nullptr;
    };
    if (!has("ZSLSelector") && !has("chatty")) return std::nullopt;
    LogHeader header;
    if (!parseHeader(line.text, header)) return std::nullopt;
    LoggedLine logged;
    logged.pid = header.pid;
    logged.tid = header.tid;
    logged.level = header.level;
    logged.tag = header.tag;
    logged.message = header.message;
    logged.time = header.time;
    logged.number = line.number;
    logged.cut = line.cut || (header.tag != "ZoOffline" && header.message.size() == kLogCut);
    if (logged.isChatty()) return logged;
    const bool isOurs = header.tag == "ZoCamHAL" || header.tag == "ZoAlgoEngine" || header.tag == "ZoOffline";
    return isOurs && takeApart(logged) ? std::optional(std::move(logged)) : std::nullopt;
}

}  // namespace replay
