#include "report/Output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "capture/Text.h"

namespace replay {

namespace {

namespace fs = std::filesystem;

// Read by the signal handler.
char gTemporary[PATH_MAX];
std::atomic<bool> gShowsProgress{false};

constexpr std::string_view kClearLine = "\r\033[K";

void onSignal(int signal) {
    if (*gTemporary != '\0') unlink(gTemporary);
    if (gShowsProgress && write(STDERR_FILENO, kClearLine.data(), kClearLine.size()) < 0) _exit(2);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

int writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0 && errno == EPIPE) std::raise(SIGPIPE);  // where it is ignored, or blocked, this says no more
        if (written < 0) return errno;
        text.remove_prefix(static_cast<size_t>(written));
    }
    return 0;
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

void cleanUpOnSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        // What the caller had ignored (nohup) stays so.
        if (std::signal(signal, onSignal) == SIG_IGN && signal != SIGPIPE) std::signal(signal, SIG_IGN);
    }
}

OutputFile::OutputFile(const std::string& goal, const std::vector<std::string>& inputs)
    : mGoal(goal == "-" ? "/dev/stdout" : goal) {
    struct stat found {};
    const bool exists = stat(mGoal.c_str(), &found) == 0;
    if (!exists && errno != ENOENT) fail(errno);
    if (exists && isInput(found, inputs)) {
        throw OutputError(printable(mGoal) + ": expected a file that is not read as well, found an input");
    }
    // A file that may not be written is not replaced either. Better said before the work than after.
    const std::string written = exists ? mGoal : folderOf(followed(mGoal));
    if (access(written.c_str(), W_OK) != 0) fail(errno);
    std::string name = fs::temp_directory_path() / "zsl-replay-XXXXXX";
    const int file = mkstemp(name.data());
    if (file < 0) fail(errno);
    mStream.open(name, std::ios::in | std::ios::out | std::ios::binary);
    unlink(name.c_str());
    close(file);
}

void OutputFile::keep() {
    clearProgress();
    struct stat found {};
    struct stat standard {};
    const bool exists = stat(mGoal.c_str(), &found) == 0;
    const bool isStandard = exists && fstat(STDOUT_FILENO, &standard) == 0 && isSame(found, standard);
    if (!isStandard && (!exists || S_ISREG(found.st_mode))) return replace(exists ? &found : nullptr);
    const int file = isStandard ? dup(STDOUT_FILENO) : open(mGoal.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (file < 0) fail(errno);
    const int error = copyTo(file);
    close(file);
    if (error != 0) fail(error);
}

void OutputFile::replace(const struct stat* old) {
    const std::string goal = followed(mGoal);
    const std::string temporary = folderOf(goal) + "/.zsl-replay-" + std::to_string(getpid());
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, old != nullptr ? 0600 : 0666);
    if (file < 0) fail(errno);
    std::strcpy(gTemporary, temporary.c_str());
    int error = copyTo(file);
    if (error == 0 && old != nullptr && fchmod(file, old->st_mode & 07777U) != 0) error = errno;
    if (close(file) != 0 && error == 0) error = errno;
    if (error == 0 && rename(temporary.c_str(), goal.c_str()) != 0) error = errno;
    if (error != 0) unlink(temporary.c_str());
    *gTemporary = '\0';
    if (error != 0) fail(error);
}

int OutputFile::copyTo(int file) {
    if (!mStream.flush()) return EIO;
    mStream.seekg(0);
    std::array<char, 65536> block;
    while (mStream.read(block.data(), block.size()) || mStream.gcount() > 0) {
        const int error = writeAll(file, {block.data(), static_cast<size_t>(mStream.gcount())});
        if (error != 0) return error;
    }
    return mStream.bad() ? EIO : 0;
}

void OutputFile::fail(int error) const {
    throw OutputError(printable(mGoal) + ": expected a file that can be written, found: " + std::strerror(error));
}

void refuseStandardOutputTo(const std::vector<std::string>& inputs) {
    struct stat out {};
    if (fstat(STDOUT_FILENO, &out) != 0 || !S_ISREG(out.st_mode) || !isInput(out, inputs)) return;
    throw OutputError("standard output: expected a file that is not read as well, found an input");
}

void writeStandardOutput(std::string_view text) {
    clearProgress();
    const int error = writeAll(STDOUT_FILENO, text);
    if (error != 0) throw OutputError(std::string("standard output can't be written: ") + std::strerror(error));
}

void showProgress(const std::string& line) {
    gShowsProgress = true;
    writeAll(STDERR_FILENO, std::string(kClearLine) + line);
}

void clearProgress() {
    if (gShowsProgress.exchange(false)) writeAll(STDERR_FILENO, kClearLine);
}

}  // namespace replay
