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
std::array<char[PATH_MAX], 4> gTemporaries;
std::atomic<bool> gShowsProgress{false};

constexpr std::string_view kClearLine = "\r\033[K";

void onSignal(int signal) {
    for (const char* name : gTemporaries) {
        if (*name != '\0') unlink(name);
    }
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

bool OutputFile::Temporary::create(const std::string& folder, unsigned mode) {
    while (mSlot + 1 < gTemporaries.size() && *gTemporaries[mSlot] != '\0') ++mSlot;
    const std::string name = folder + "/.zsl-replay-" + std::to_string(getpid()) + '-' + std::to_string(mSlot);
    if (name.size() >= PATH_MAX) errno = ENAMETOOLONG;
    if (name.size() >= PATH_MAX) return false;
    const int file = open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file < 0) return false;
    close(file);
    mName = name;
    std::strcpy(gTemporaries[mSlot], name.c_str());
    return true;
}

void OutputFile::Temporary::wasRenamed() {
    if (!mName.empty()) *gTemporaries[mSlot] = '\0';
    mName.clear();
}

OutputFile::Temporary::~Temporary() {
    if (!mName.empty()) unlink(mName.c_str());
    wasRenamed();
}

OutputFile::OutputFile(const std::string& goal, const std::vector<std::string>& inputs)
    : mGoal(goal == "-" ? "/dev/stdout" : goal) {
    struct stat found {};
    const bool exists = stat(mGoal.c_str(), &found) == 0;
    if (!exists && errno != ENOENT) fail(errno);
    if (exists && isInput(found, inputs)) {
        throw OutputError(printable(mGoal) + ": expected a file that is not read as well, found an input");
    }
    for (const int standard : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat taken {};
        const bool isGoal = exists && mDirect < 0 && fstat(standard, &taken) == 0 && isSame(taken, found);
        if (isGoal && (mDirect = dup(standard)) < 0) fail(errno);
    }
    if (exists && mDirect < 0) openDirect(S_ISREG(found.st_mode));
    mReplaced = followed(mGoal);
    const fs::path folder = mDirect >= 0 ? fs::temp_directory_path() : fs::path(mReplaced).parent_path();
    if (!mTemporary.create(folder.empty() ? "." : folder.string(), exists ? 0600 : 0666)) fail(errno);
    mStream.open(mTemporary.name(), std::ios::in | std::ios::out | std::ios::binary);
    if (!exists || mDirect >= 0) return;
    // The owner first: a change of owner takes permissions away. Only root can give files away.
    if (chown(mTemporary.name().c_str(), found.st_uid, found.st_gid) != 0 && geteuid() == 0) fail(errno);
    if (chmod(mTemporary.name().c_str(), found.st_mode & 07777U) != 0) fail(errno);
}

// A file that may not be written is not replaced either.
void OutputFile::openDirect(bool isRegular) {
    mDirect = open(mGoal.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (mDirect < 0) fail(errno);
    if (!isRegular) return;
    close(mDirect);
    mDirect = -1;
}

OutputFile::~OutputFile() {
    if (mDirect >= 0) close(mDirect);
}

void OutputFile::keep() {
    mStream.flush();
    if (!mStream) fail(errno);
    if (mDirect >= 0) return copyToGoal();
    mStream.close();
    if (!mStream || rename(mTemporary.name().c_str(), mReplaced.c_str()) != 0) fail(errno);
    mTemporary.wasRenamed();
}

void OutputFile::copyToGoal() {
    clearProgress();
    mStream.seekg(0);
    std::array<char, 65536> block;
    while (mStream.read(block.data(), block.size()) || mStream.gcount() > 0) {
        const int error = writeAll(mDirect, {block.data(), static_cast<size_t>(mStream.gcount())});
        if (error != 0) fail(error);
    }
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
