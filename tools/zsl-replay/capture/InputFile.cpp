#include "capture/InputFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "capture/CaseFile.h"
#include "capture/LogFormat.h"
#include "capture/Text.h"

namespace replay {

namespace {

constexpr size_t kBlockSize = 256 * 1024;
constexpr size_t kLongestLine = 64 * 1024;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// How what is no text begins, and what makes text of it.
constexpr std::pair<std::string_view, const char*> kNoText[] = {
    {"\xFF\xFE", "UTF-16; try: iconv -f UTF-16 -t UTF-8"},
    {"\xFE\xFF", "UTF-16; try: iconv -f UTF-16 -t UTF-8"},
    {"\x1F\x8B", "gzip; try: zcat"},
    {"PK\x03\x04", "zip; try: unzip -p"},
};

}  // namespace

InputFile::InputFile(const std::string& file)
    : mName(file == "-" ? "<stdin>" : file),
      mFile(file == "-" ? fdopen(dup(STDIN_FILENO), "r") : std::fopen(file.c_str(), "re"), std::fclose),
      mBlock(kBlockSize) {
    if (!mFile) refuse(std::string("a readable file, found ") + std::strerror(errno));
    while (mEnd < mBlock.size() && fill()) {
    }
    for (const auto& [begin, found] : kNoText) {
        const bool isSo = unread().substr(0, begin.size()) == begin;
        if (isSo) refuse(std::string("a case file or a log, found ") + found + " FILE | zsl-replay -");
    }
    if (unread().substr(0, kByteOrderMark.size()) == kByteOrderMark) mBegin += kByteOrderMark.size();
}

void InputFile::refuse(const std::string& expected) const {
    throw InputError(printable(mName) + ": expected " + expected);
}

bool InputFile::fill() {
    std::memmove(mBlock.data(), mBlock.data() + mBegin, mEnd - mBegin);
    mEnd -= mBegin;
    mBegin = 0;
    const ssize_t size = read(fileno(mFile.get()), mBlock.data() + mEnd, mBlock.size() - mEnd);
    if (size < 0) refuse(std::string("a readable file, found ") + std::strerror(errno));
    mEnd += static_cast<size_t>(size);
    mBytesRead += static_cast<uint64_t>(size);
    if (mObserver) mObserver(mBytesRead);
    return size > 0;
}

bool InputFile::looksLikeLog() {
    std::string_view head = unread();
    if (head.empty()) return true;  // one that holds nothing yet
    bool hasSections = false;
    while (!head.empty()) {
        const std::string_view line = head.substr(0, head.find('\n'));
        head.remove_prefix(std::min(line.size() + 1, head.size()));
        LogHeader header;
        // Bug reports begin with the latter.
        if (parseHeader(line, header) || line.substr(0, 6) == "======") return true;
        if (isOtherLogFormat(line)) {
            refuse("a log in logcat's threadtime format, found another of its formats; try: adb logcat -v threadtime");
        }
        hasSections = hasSections || line.substr(0, 6) == "------";
    }
    return hasSections;
}

std::string InputFile::readAll() {
    if (unread().find('\0') != std::string_view::npos) refuse("a case file or a log, found binary data");
    std::string text;
    do {
        text += unread();
        mBegin = mEnd = 0;
    } while (text.size() <= kLongestCase && fill());
    return text;
}

std::optional<InputFile::Line> InputFile::next() {
    while (true) {
        const std::string_view line = unread().substr(0, unread().find('\n'));
        const bool hasEnd = line.size() < unread().size();
        if (!hasEnd && line.size() < kLongestLine && fill()) continue;
        if (!hasEnd && line.empty()) return std::nullopt;
        // What has no end yet is the file's last line, or too long to be kept whole.
        mBegin += line.size() + (hasEnd ? 1 : 0);
        if (std::exchange(mSkipping, !hasEnd)) continue;
        std::string_view text = line.substr(0, kLongestLine);
        if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
        return Line{text, ++mLineNumber, line.size() >= kLongestLine};
    }
}

}  // namespace replay
