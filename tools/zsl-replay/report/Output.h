// What the tool writes: files, standard output, and a line that shows how far it is.

#pragma once

#include <chrono>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace replay {

// Output that can't be written; what() is ready to print.
class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A file that appears whole or not at all. What is written is kept in memory; then it is written beside the goal, with
// the goal's permissions, and takes its place, where a symbolic link leads. What can't be replaced (a terminal,
// standard output by any name, a pipe) is written directly.
class OutputFile {
public:
    // "-" is standard output. Throws OutputError where the goal can't be written, or is a file that is read as well.
    OutputFile(const std::string& goal, const std::vector<std::string>& inputs);

    std::ostream& stream() { return mText; }
    void keep();  // throws OutputError; without it the goal stays as it was

private:
    // Both say why they fail, or failed, in errno.
    bool replace() const;
    [[noreturn]] void fail() const;

    std::string mGoal;
    std::ostringstream mText;
};

// Throws OutputError when standard output goes to a file that is read.
void refuseStandardOutputTo(const std::vector<std::string>& inputs);

// All of it at once. Throws OutputError.
void writeStandardOutput(std::string_view text);

// A line on standard error, where that is a terminal, for work that takes longer than a second.
class Progress {
public:
    explicit Progress(size_t files) : mFiles(files) {}
    ~Progress() { clear(); }

    void beginFile(const std::string& file);
    // `bytes`: of this file, so far.
    void update(uint64_t bytes, size_t requests);
    // Whatever else is written to the terminal would stand behind the line.
    static void clear();

private:
    using Clock = std::chrono::steady_clock;

    size_t mFiles;
    size_t mFile = 0;
    uint64_t mFileSize = 0;  // 0: not known, as of a pipe
    Clock::time_point mNext = Clock::now() + std::chrono::seconds(1);
};

}  // namespace replay
