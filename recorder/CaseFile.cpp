#include "recorder/CaseFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <tuple>

namespace recorder {

namespace {

constexpr int kFilesKept = 16;

// By hand: where memory is short, directory iterators of the standard library end the process.
void removeOldest(const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(folder.c_str()), closedir);
    std::string oldest;
    timespec oldestTime{};
    int files = 0;
    while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
        int end = 0;
        struct stat status {};
        std::sscanf(entry->d_name, "zsl-%*u-%*u.yaml%n", &end);
        if (end == 0 || entry->d_name[end] != '\0') continue;
        if (fstatat(dirfd(directory.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
        const timespec time = status.st_mtim;
        const bool isOlder = std::tie(time.tv_sec, time.tv_nsec) < std::tie(oldestTime.tv_sec, oldestTime.tv_nsec);
        if (++files == 1 || isOlder) {
            oldest = entry->d_name;
            oldestTime = time;
        }
    }
    if (files > kFilesKept) unlinkat(dirfd(directory.get()), oldest.c_str(), 0);
}

}  // namespace

CaseFile::CaseFile(Recorder& recorder) {
    removeOldest(recorder.folder);
    do {  // a file of the name is an earlier process's that had the same number
        mPath = recorder.folder + "/zsl-" + std::to_string(getpid()) + '-' + std::to_string(++recorder.files) + ".yaml";
        mFile = open(mPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0640);
    } while (mFile < 0 && errno == EEXIST);
    if (mFile < 0) throw std::system_error(errno, std::generic_category(), mPath);
}

CaseFile::~CaseFile() {
    close(mFile);
    if (mSize == 0) unlink(mPath.c_str());
}

void CaseFile::append(std::string_view text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t written = write(mFile, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), mPath);
        if (written > 0) done += static_cast<size_t>(written);
    }
    mSize += text.size();
}

}  // namespace recorder
