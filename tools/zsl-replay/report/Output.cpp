#include "report/Output.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "capture/Text.h"

namespace replay {

namespace {

namespace fs = std::filesystem;

constexpr char kClearLine[] = "\r\033[K";
volatile std::sig_atomic_t gShowsProgress = 0;

// As the rest here does, says in errno why it could not.
bool writeAll(std::FILE* file, std::string_view text) {
    return std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
}

bool writeAndClose(std::FILE* file, std::string_view text) {
    if (file == nullptr) return false;
    const bool isWritten = writeAll(file, text);
    return std::fclose(file) == 0 && isWritten;
}

[[noreturn]] void fail(const std::string& goal) {
    constexpr char kWhat[] = "{}: expected a file that can be written, found: {}";
    throw std::runtime_error(fmt::format(kWhat, printable(goal), std::strerror(errno)));
}

void onInterrupt(int signal) {
    if (gShowsProgress != 0 && write(STDERR_FILENO, kClearLine, std::strlen(kClearLine)) < 0) _exit(2);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// Where a chain of symbolic links leads, whether there is something or not.
fs::path followed(const fs::path& name) {
    const fs::path path = fs::absolute(name);
    return fs::is_symlink(path) ? followed(path.parent_path() / fs::read_symlink(path)) : path;
}

bool isSame(const std::string& one, const std::string& other) {
    struct stat a {};
    struct stat b {};
    return stat(one.c_str(), &a) == 0 && stat(other.c_str(), &b) == 0 && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

void refuseInputAt(const std::string& goal, const std::vector<std::string>& inputs) {
    if (!fs::is_regular_file(goal) && !fs::is_fifo(goal)) return;  // a terminal may well be both
    for (const std::string& input : inputs) {
        if (!isSame(goal, input == "-" ? "/dev/stdin" : input)) continue;
        throw std::runtime_error(printable(goal) + ": expected a file that is not read as well, found an input");
    }
}

OutputFile::OutputFile(const std::string& goal, const std::vector<std::string>& inputs)
    : mGoal(goal == "-" ? kStandardOutput : goal) {
    refuseInputAt(mGoal, inputs);
    // A file that may not be written is not replaced either. Better said before the work than after.
    if (access(mGoal.c_str(), W_OK) == 0) return;
    if (errno != ENOENT || access(followed(mGoal).parent_path().c_str(), W_OK) != 0) fail(mGoal);
}

void OutputFile::keep() {
    if (isSame(mGoal, kStandardOutput)) return writeStandardOutput(mText.str());
    Progress::clear();
    const bool isDirect = fs::exists(mGoal) && !fs::is_regular_file(mGoal);
    if (!(isDirect ? writeAndClose(std::fopen(mGoal.c_str(), "we"), mText.str()) : replace())) fail(mGoal);
}

bool OutputFile::replace() const {
    const fs::path goal = followed(mGoal);
    const fs::path temporary = goal.parent_path() / (".zsl-replay-" + std::to_string(getpid()));
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);  // one that would end the tool waits until nothing is left behind
    std::FILE* file = std::fopen(temporary.c_str(), "wxe");
    struct stat old {};
    if (file != nullptr && stat(goal.c_str(), &old) == 0) fchmod(fileno(file), old.st_mode & 07777U);
    const bool isReplaced = writeAndClose(file, mText.str()) && rename(temporary.c_str(), goal.c_str()) == 0;
    const int error = errno;
    if (file != nullptr && !isReplaced) unlink(temporary.c_str());
    sigprocmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return isReplaced;
}

void writeStandardOutput(std::string_view text) {
    Progress::clear();
    if (!writeAll(stdout, text)) fail("standard output");
}

void Progress::beginFile(const std::string& file) {
    std::error_code error;
    const auto size = fs::file_size(file, error);
    mFileSize = error ? 0 : size;
    ++mFile;
}

void Progress::update(uint64_t bytes, size_t requests) {
    if (Clock::now() < mNext || isatty(STDERR_FILENO) == 0) return;
    mNext = Clock::now() + std::chrono::milliseconds(200);
    const uint64_t percent = mFileSize > 0 ? std::min<uint64_t>(100, bytes * 100 / mFileSize) : 0;
    const std::string share = mFileSize > 0 ? fmt::format("{} % of it, ", percent) : "";
    writeAll(stderr, fmt::format("{}file {} of {}, {}{} requests", kClearLine, mFile, mFiles, share, requests));
    gShowsProgress = 1;
    std::signal(SIGINT, onInterrupt);
}

void Progress::clear() {
    if (gShowsProgress != 0) writeAll(stderr, kClearLine);
    gShowsProgress = 0;
}

}  // namespace replay
