#include "report/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "report/Output.h"

namespace replay {

using namespace std::chrono_literals;

Progress::Progress(const std::vector<std::string>& files)
    : mIsShown(isatty(STDERR_FILENO) == 1), mFiles(files.size()), mNext(Clock::now() + 1s) {
    for (const std::string& file : files) {
        std::error_code error;
        const auto size = std::filesystem::file_size(file, error);
        // One pipe among the files, and there is no share of all.
        if (error) {
            mBytesInAll = 0;
            return;
        }
        mBytesInAll += size;
    }
}

void Progress::update(uint64_t bytes, size_t requests) {
    if (!mIsShown || Clock::now() < mNext) return;
    mNext = Clock::now() + 200ms;
    std::string line = "file " + std::to_string(mFile) + " of " + std::to_string(mFiles) + ", ";
    if (mBytesInAll > 0) {
        const uint64_t percent = std::min<uint64_t>(100, (mBytesBefore + bytes) * 100 / mBytesInAll);
        line += std::to_string(percent) + " %, ";
    }
    showProgress(line + std::to_string(requests) + " requests");
}

void Progress::endFile(uint64_t bytes) { mBytesBefore += bytes; }

}  // namespace replay
