#include "report/Output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "capture/Text.h"

namespace replay {

namespace {

namespace fs = std::filesystem;

constexpr char kClearLine[] = "\r\033[K";
bool gShowsProgress = false;

// As the rest here does, says in errno why it could not.
bool writeAll(std::FILE* file, std::string_view text) {
    return std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
}

bool writeAndClose(std::FILE* file, std::string_view text) {
    if (file == nullptr) return false;
    const bool isWritten = writeAll(file, text);
    return std::fclose(file) == 0 && isWritten;
}

// Where a chain of symbolic links leads, whether there is something or not.
std::string followed(const std::string& name) {
    fs::path path = name;
    for (int links = 0; links < 40 && fs::is_symlink(fs::symlink_status(path)); ++links) {
        path = path.parent_path() / fs::read_symlink(path);
    }
    return path;
}

std::string folderOf(const std::string& name) {
    const fs::path folder = fs::path(name).parent_path();
    return folder.empty() ? "." : folder.string();
}

bool isSame(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

// Whether writing there would destroy, or wait for, what is read. A terminal may well be both.
bool isInput(const struct stat& goal, const std::vector<std::string>& inputs) {
    if (S_ISCHR(goal.st_mode) || S_ISSOCK(goal.st_mode)) return false;
    for (const std::string& input : inputs) {
        struct stat found {};
        const int status = input == "-" ? fstat(STDIN_FILENO, &found) : stat(input.c_str(), &found);
        if (status == 0 && isSame(found, goal)) return true;
    }
    return false;
}

}  // namespace

OutputFile::OutputFile(const std::string& goal, const std::vector<std::string>& inputs)
    : mGoal(goal == "-" ? "/dev/stdout" : goal) {
    struct stat found {};
    const bool exists = stat(mGoal.c_str(), &found) == 0;
    if (!exists && errno != ENOENT) fail();
    if (exists && isInput(found, inputs)) {
        throw OutputError(printable(mGoal) + ": expected a file that is not read as well, found an input");
    }
    // A file that may not be written is not replaced either. Better said before the work than after.
    const std::string written = exists ? mGoal : folderOf(followed(mGoal));
    if (access(written.c_str(), W_OK) != 0) fail();
}

void OutputFile::keep() {
    Progress::clear();
    struct stat found {};
    struct stat standard {};
    const bool exists = stat(mGoal.c_str(), &found) == 0;
    const bool isStandard = exists && fstat(STDOUT_FILENO, &standard) == 0 && isSame(found, standard);
    const bool isDirect = exists && !S_ISREG(found.st_mode);
    const bool isKept = isStandard ? writeAll(stdout, mText.str())
                        : isDirect ? writeAndClose(std::fopen(mGoal.c_str(), "we"), mText.str())
                                   : replace(exists ? &found : nullptr);
    if (!isKept) fail();
}

bool OutputFile::replace(const struct stat* old) const {
    const std::string goal = followed(mGoal);
    const std::string temporary = folderOf(goal) + "/.zsl-replay-" + std::to_string(getpid());
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);  // one that would end the tool waits until nothing is left behind
    std::FILE* file = std::fopen(temporary.c_str(), "wxe");
    if (file != nullptr && old != nullptr) fchmod(fileno(file), old->st_mode & 07777U);
    const bool isReplaced = writeAndClose(file, mText.str()) && rename(temporary.c_str(), goal.c_str()) == 0;
    const int error = errno;
    if (file != nullptr && !isReplaced) unlink(temporary.c_str());
    sigprocmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return isReplaced;
}

void OutputFile::fail() const {
    throw OutputError(printable(mGoal) + ": expected a file that can be written, found: " + std::strerror(errno));
}

void refuseStandardOutputTo(const std::vector<std::string>& inputs) {
    struct stat out {};
    if (fstat(STDOUT_FILENO, &out) != 0 || !S_ISREG(out.st_mode) || !isInput(out, inputs)) return;
    throw OutputError("standard output: expected a file that is not read as well, found an input");
}

void writeStandardOutput(std::string_view text) {
    Progress::clear();
    if (!writeAll(stdout, text)) {
        throw OutputError(std::string("standard output can't be written: ") + std::strerror(errno));
    }
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
    std::string line = "file " + std::to_string(mFile) + " of " + std::to_string(mFiles) + ", ";
    if (mFileSize > 0) line += std::to_string(std::min<uint64_t>(100, bytes * 100 / mFileSize)) + " % of it, ";
    writeAll(stderr, kClearLine + line + std::to_string(requests) + " requests");
    gShowsProgress = true;
}

void Progress::clear() {
    if (std::exchange(gShowsProgress, false)) writeAll(stderr, kClearLine);
}

}  // namespace replay
