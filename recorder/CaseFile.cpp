#include "recorder/CaseFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

namespace recorder {

namespace {

constexpr size_t kFilesKept = 16;

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

// By hand: where memory is short, directory iterators of the standard library end the process.
void removeOldest(const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(folder.c_str()), closedir);
    std::vector<std::pair<int64_t, std::string>> files;  // by the time of the last write, ns
    while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
        int end = 0;
        std::sscanf(entry->d_name, "zsl-%*u-%*u.yaml%n", &end);
        struct stat status {};
        if (end == 0 || entry->d_name[end] != '\0') continue;
        if (fstatat(dirfd(directory.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
        const int64_t written = status.st_mtim.tv_sec * 1'000'000'000LL + status.st_mtim.tv_nsec;
        if (S_ISREG(status.st_mode)) files.emplace_back(written, entry->d_name);
    }
    std::sort(files.begin(), files.end());
    for (size_t i = 0; i + kFilesKept < files.size(); ++i) {
        unlinkat(dirfd(directory.get()), files[i].second.c_str(), 0);
    }
}

}  // namespace

// Delegates, so that a file whose head can't be written is removed.
CaseFile::CaseFile(Recorder& recorder, std::string_view head) : CaseFile(recorder) {
    mHeadSize = head.size();
    removeOldest(recorder.folder);
    rewrite(0, head);
}

CaseFile::CaseFile(Recorder& recorder) {
    do {  // a file of the name is an earlier process's that had the same number
        mPath = recorder.folder + "/zsl-" + std::to_string(getpid()) + '-' + std::to_string(++recorder.files) + ".yaml";
        mFile = open(mPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0640);
    } while (mFile < 0 && errno == EEXIST);
    if (mFile < 0) fail(mPath.c_str());
}

CaseFile::~CaseFile() {
    close(mFile);
    if (mSize <= mHeadSize) unlink(mPath.c_str());
}

void CaseFile::rewrite(size_t offset, std::string_view text) {
    // The end goes first: what a crash leaves must not end with an old request's last lines.
    if (offset < mSize && ftruncate(mFile, static_cast<off_t>(offset)) != 0) fail("ftruncate");
    mSize = offset;
    for (size_t done = 0; done < text.size();) {
        const ssize_t written =
            pwrite(mFile, text.data() + done, text.size() - done, static_cast<off_t>(offset + done));
        if (written > 0) {
            done += static_cast<size_t>(written);
        } else if (errno != EINTR) {
            const std::system_error error(errno, std::generic_category(), mPath);
            if (ftruncate(mFile, static_cast<off_t>(offset)) != 0) return;
            throw error;
        }
    }
    mSize = offset + text.size();
}

}  // namespace recorder
