// What the tool writes: files, standard output, and a line that shows how far it is. What can't be written is a
// std::runtime_error, ready to print.

#pragma once

#include <chrono>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace replay {

constexpr char kStandardOutput[] = "/dev/stdout";

// Throws where writing to the goal would destroy what is read, by whatever name.
void refuseInputAt(const std::string& goal, const std::vector<std::string>& inputs);

// A file that appears whole or not at all. What is written is kept in memory; then it is written beside the goal, with
// the goal's permissions, and takes its place, where a symbolic link leads. What can't be replaced (a terminal,
// standard output by any name, a pipe) is written directly.
class OutputFile {
public:
    // "-" is standard output. Throws where the goal can't be written, or is a file that is read as well.
    OutputFile(const std::string& goal, const std::vector<std::string>& inputs);

    std::ostream& stream() { return mText; }
    void keep();  // without it the goal stays as it was

private:
    bool replace() const;  // says in errno why it could not

    std::string mGoal;
    std::ostringstream mText;
};

// All of it at once.
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
