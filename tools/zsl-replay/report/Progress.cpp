#include "report/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "report/Output.h"

namespace replay {

using namespace std::chrono_literals;

Progress::Progress(size_t files)
    : mIsShown(isatty(STDERR_FILENO) == 1), mFiles(files), mNext(Clock::now() + 1s) {}

void Progress::beginFile(const std::string& file) {
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    mFileSize = error ? 0 : size;
    ++mFile;
}

void Progress::update(uint64_t bytes, size_t requests) {
    if (!mIsShown || Clock::now() < mNext) return;
    mNext = Clock::now() + 200ms;
    std::string line = "file " + std::to_string(mFile) + " of " + std::to_string(mFiles) + ", ";
    if (mFileSize > 0) line += std::to_string(std::min<uint64_t>(100, bytes * 100 / mFileSize)) + " % of it, ";
    showProgress(line + std::to_string(requests) + " requests");
}

}  // namespace replay
