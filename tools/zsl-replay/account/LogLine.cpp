#include "account/LogLine.h"

#include <android/log.h>

#include <cstring>

#include "account/Catalogue.h"
#include "capture/LogFormat.h"
#include "capture/Text.h"

namespace replay {

namespace {

constexpr size_t kLogCut = 1023;  // where the Android log cuts a message

std::optional<LoggedLine> selectorLine(const LogHeader& header, bool isCut) {
    LoggedLine line{header.pid, header.tid, header.level, std::string(header.time), std::string(header.message)};
    if (header.tag == "chatty") return line;
    const auto message = splitMessage(header.message);
    if (!message) return std::nullopt;
    line.isCheck = message->file.find("ZSLSelectorExt") != std::string_view::npos;  // the motion selector inherits it
    if (!line.isCheck && message->file.find("MotionZSLSelector") == std::string_view::npos) return std::nullopt;
    line.isCut = isCut || (header.tag != "ZoOffline" && header.message.size() == kLogCut);
    line.function = message->function;
    line.text = message->text;
    if (!line.isCut) line.text.erase(line.text.find_last_not_of(' ') + 1);
    readMessage(line);
    return line;
}

}  // namespace

// Read backwards from the function: a group may be of several words.
std::optional<Message> splitMessage(std::string_view logged) {
    size_t end = logged.find("()");
    if (end == std::string_view::npos) return std::nullopt;
    if (logged.substr(end, 4) == "()()") end += 2;                 // "operator()"
    const size_t function = logged.substr(0, end).rfind(' ') + 1;  // npos + 1 is 0
    const size_t colon = logged.substr(0, function).rfind(':');
    uint32_t line = 0;
    if (colon == std::string_view::npos || !parseNumber(logged.substr(colon + 1, function - colon - 2), line)) {
        return std::nullopt;
    }
    const size_t file = logged.substr(0, colon).rfind(' ') + 1;
    return Message{logged.substr(file, colon - file), logged.substr(function, end - function), logged.substr(end + 2)};
}

char levelOf(const desk::LogLine& line) { return line.priority == ANDROID_LOG_DEBUG ? 'D' : 'I'; }

std::string_view withoutAddress(std::string_view text) { return text.substr(0, text.find(" this = ")); }

std::optional<LoggedLine> selectorLine(const desk::LogLine& line) {
    return selectorLine({"", line.pid, line.tid, levelOf(line), line.tag, line.message}, false);
}

std::optional<LoggedLine> selectorLine(const InputFile::Line& line) {
    // Most lines of a log are somebody else's.
    const auto has = [&line](std::string_view word) {
        return memmem(line.text.data(), line.text.size(), word.data(), word.size()) != nullptr;
    };
    LogHeader header;
    if ((!has("ZSLSelector") && !has("chatty")) || !parseHeader(line.text, header)) return std::nullopt;
    auto logged = selectorLine(header, line.cut);
    if (logged) logged->number = line.number;
    return logged;
}

}  // namespace replay
