#include "recorder/CaseFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace recorder {

namespace {

namespace fs = std::filesystem;

constexpr size_t kFilesKept = 16;

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

void removeOldest(const std::string& folder) {
    std::vector<std::pair<fs::file_time_type, fs::path>> files;
    std::error_code ignored;  // another thread may remove a file just now
    for (const auto& entry : fs::directory_iterator(folder)) {
        int end = 0;
        const std::string name = entry.path().filename();
        std::sscanf(name.c_str(), "zsl-%*u-%*u.yaml%n", &end);
        const bool ours = end > 0 && name.size() == static_cast<size_t>(end) && entry.is_regular_file(ignored);
        if (ours && !entry.is_symlink(ignored)) files.emplace_back(entry.last_write_time(ignored), entry.path());
    }
    std::sort(files.begin(), files.end());
    for (size_t i = 0; i + kFilesKept < files.size(); ++i) fs::remove(files[i].second, ignored);
}

}  // namespace

CaseFile::CaseFile(Recorder& recorder, std::string_view head) : mHeadSize(head.size()) {
    do {  // a file of the name is an earlier process's that had the same number
        mPath = recorder.folder + "/zsl-" + std::to_string(getpid()) + '-' + std::to_string(++recorder.files) + ".yaml";
        mFile = open(mPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0640);
    } while (mFile < 0 && errno == EEXIST);
    if (mFile < 0) fail(mPath.c_str());
    removeOldest(recorder.folder);
    rewrite(0, head);
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
