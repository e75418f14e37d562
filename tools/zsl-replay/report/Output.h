// What the tool writes: files, standard output, and a line that shows how far it is.

#pragma once

#include <sys/stat.h>

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

// From here on a signal that ends the tool leaves no temporary file and no progress line behind, and a reader that has
// gone away ends it without a word.
void cleanUpOnSignals();

// A file that appears whole or not at all. What is written is kept in memory; then it is written beside the goal, with
// the goal's permissions, and takes its place, where a symbolic link leads. What can't be replaced (a terminal, standard
// output by any name, a pipe) is written directly.
class OutputFile {
public:
    // "-" is standard output. Throws OutputError where the goal can't be written, or is a file that is read as well.
    OutputFile(const std::string& goal, const std::vector<std::string>& inputs);

    std::ostream& stream() { return mText; }
    void keep();  // throws OutputError; without it the goal stays as it was

private:
    bool replace(const struct stat* old) const;  // null: there is none
    [[noreturn]] void fail() const;              // errno says why

    std::string mGoal;
    std::ostringstream mText;
};

// Throws OutputError when standard output goes to a file that is read.
void refuseStandardOutputTo(const std::vector<std::string>& inputs);

// All of it at once. Throws OutputError.
void writeStandardOutput(std::string_view text);

// One line on standard error, in place of the last one, until it is cleared or anything else is written.
void showProgress(const std::string& line);
void clearProgress();

}  // namespace replay
