#include "account/LogReader.h"

#include <android/log.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "account/Messages.h"
#include "capture/Text.h"

namespace replay {

namespace {

constexpr size_t kBlockSize = 256 * 1024;
constexpr size_t kLongestLine = 64 * 1024;
constexpr size_t kLogCut = 1023;  // where the Android log cuts a message

struct Header {
    int pid = 0;
    int tid = 0;
    char level = 0;
    std::string_view tag;
    std::string_view message;
    std::string_view time;
};

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

// "[year-]month-day time [zone] [uid] pid tid level tag : message". Read from the right: what precedes the pid varies.
bool parseHeader(std::string_view line, Header& header) {
    const size_t colon = line.find(": ");
    if (colon == std::string_view::npos || !isOneOf(line[0], "0123456789")) return false;
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

LineReader::LineReader(const std::string& file)
    : mFile(file), mFd(file == "-" ? dup(STDIN_FILENO) : open(file.c_str(), O_RDONLY | O_CLOEXEC)), mBlock(kBlockSize) {
    if (mFd < 0) throw InputError(mFile + ": expected a readable file, found none");
}

LineReader::~LineReader() { close(mFd); }

bool LineReader::fill() {
    std::memmove(mBlock.data(), mBlock.data() + mBegin, mEnd - mBegin);
    mEnd -= mBegin;
    mBegin = 0;
    const ssize_t size = read(mFd, mBlock.data() + mEnd, mBlock.size() - mEnd);
    if (size < 0) throw InputError(mFile + ": expected a readable file, found " + std::strerror(errno));
    mEnd += static_cast<size_t>(size);
    return size > 0;
}

std::string_view LineReader::head() {
    while (mEnd - mBegin < kLongestLine && fill()) {
    }
    return {mBlock.data() + mBegin, mEnd - mBegin};
}

std::string LineReader::readAll() {
    std::string text;
    do {
        text.append(mBlock.data() + mBegin, mEnd - mBegin);
        mBegin = mEnd = 0;
    } while (fill());
    return text;
}

std::optional<LineReader::Line> LineReader::next() {
    while (true) {
        const char* const begin = mBlock.data() + mBegin;
        const size_t size = mEnd - mBegin;
        const auto* const end = static_cast<const char*>(std::memchr(begin, '\n', size));
        if (end == nullptr && size < kLongestLine && fill()) continue;
        if (end == nullptr && size == 0) return std::nullopt;
        // What has no end yet is the file's last line, or too long to be kept whole.
        const size_t length = end != nullptr ? static_cast<size_t>(end - begin) : size;
        mBegin += end != nullptr ? length + 1 : length;
        const bool wasSkipping = mSkipping;
        mSkipping = end == nullptr;
        if (wasSkipping) continue;
        std::string_view text(begin, std::min(length, kLongestLine));
        if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
        return Line{text, ++mLineNumber, length >= kLongestLine};
    }
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

std::optional<LoggedLine> selectorLine(const LineReader::Line& line) {
    // Most lines of a log are somebody else's.
    const auto has = [&line](std::string_view word) {
        return memmem(line.text.data(), line.text.size(), word.data(), word.size()) != nullptr;
    };
    if (!has("ZSLSelector") && !has("chatty")) return std::nullopt;
    Header header;
    if (!parseHeader(line.text, header)) return std::nullopt;
    LoggedLine logged;
    logged.pid = header.pid;
    logged.tid = header.tid;
    logged.level = header.level;
    logged.tag = header.tag;
    logged.message = header.message;
    logged.number = line.number;
    logged.cut = line.cut || (header.tag != "ZoOffline" && header.message.size() == kLogCut);
    logged.time = header.time;
    if (logged.isChatty()) return logged;
    const bool isOurs = header.tag == "ZoCamHAL" || header.tag == "ZoAlgoEngine" || header.tag == "ZoOffline";
    return isOurs && takeApart(logged) ? std::optional(std::move(logged)) : std::nullopt;
}

bool looksLikeLog(std::string_view head) {
    while (!head.empty()) {
        const std::string_view line = head.substr(0, head.find('\n'));
        head.remove_prefix(std::min(line.size() + 1, head.size()));
        // Logcat and bug reports begin their sections so.
        if (line.substr(0, 6) == "------" || line.substr(0, 6) == "======") return true;
        Header header;
        if (parseHeader(line, header)) return true;
    }
    return false;
}

std::string_view fileStem(std::string_view path) {
    path.remove_prefix(path.rfind('/') + 1);  // npos + 1 is 0
    return path.substr(0, path.find('.'));
}

}  // namespace replay
