// A file as it comes in: opened once and read once, so that a pipe gives what a file gives; line by line in bounded
// memory, or whole where it is small. What is no text, or is packed, is named with the command that remedies it.

#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace replay {

class InputFile {
public:
    // "-" is standard input. Throws InputError, as everything here that reads, when it can't be read as text.
    explicit InputFile(const std::string& file);

    const std::string& name() const { return mName; }  // as it is shown; not yet printable

    // Whether it is a log, or this tool's report with log lines in it, rather than a case file. Judged by how it
    // begins; a log in another of logcat's formats is refused.
    bool looksLikeLog();

    struct Line {
        std::string_view text;  // without its end; valid until the next call
        size_t number;          // from 1
        bool cut;               // longer than is kept
    };
    std::optional<Line> next();

    // All of it, of a case file's length at most.
    std::string readAll();

    // Hears of every block that is read: the bytes so far.
    void setObserver(std::function<void(uint64_t)> observer) { mObserver = std::move(observer); }

private:
    bool fill();
    std::string_view unread() const { return {mBlock.data() + mBegin, mEnd - mBegin}; }
    [[noreturn]] void refuse(const std::string& expected) const;

    std::string mName;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> mFile;  // read past its own buffer
    std::vector<char> mBlock;
    size_t mBegin = 0;
    size_t mEnd = 0;
    size_t mLineNumber = 0;
    bool mSkipping = false;  // inside the rest of a cut line
    uint64_t mBytesRead = 0;
    std::function<void(uint64_t)> mObserver;
};

}  // namespace replay
