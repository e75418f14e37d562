// What the tool writes: files, standard output, and a line that shows how far it is.

#pragma once

#include <cstddef>
#include <fstream>
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

// A file that appears whole or not at all. What is written goes to a temporary file, which takes the goal's place when
// it is kept: beside the goal, so that it can be renamed, with the goal's permissions, and where a symbolic link leads.
// What can't be replaced (a terminal, standard output by any name, a pipe) gets the contents when they are whole.
class OutputFile {
public:
    // "-" is standard output. Throws OutputError where the goal can't be written, or is a file that is read as well.
    OutputFile(const std::string& goal, const std::vector<std::string>& inputs);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::ostream& stream() { return mStream; }
    void keep();  // throws OutputError; without it the goal stays as it was

private:
    // Its name is where a signal finds it.
    class Temporary {
    public:
        ~Temporary();
        bool create(const std::string& folder, unsigned mode);  // false: errno says why
        const std::string& name() const { return mName; }
        void wasRenamed();

    private:
        size_t mSlot = 0;
        std::string mName;
    };

    void openDirect(bool isRegular);
    void copyToGoal();
    [[noreturn]] void fail(int error) const;

    std::string mGoal;
    std::string mReplaced;  // where it leads
    int mDirect = -1;       // what can't be replaced
    Temporary mTemporary;
    std::fstream mStream;
};

// Throws OutputError when standard output goes to a file that is read.
void refuseStandardOutputTo(const std::vector<std::string>& inputs);

// All of it at once. Throws OutputError.
void writeStandardOutput(std::string_view text);

// One line on standard error, in place of the last one, until it is cleared or anything else is written.
void showProgress(const std::string& line);
void clearProgress();

}  // namespace replay
