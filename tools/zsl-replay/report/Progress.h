// How far the work is, for somebody who waits at a terminal.

#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace replay {

class Progress {
public:
    explicit Progress(size_t files);

    void beginFile(const std::string& file);
    // Shows the line when it is time to. `bytes`: of this file, so far.
    void update(uint64_t bytes, size_t requests);

private:
    using Clock = std::chrono::steady_clock;

    bool mIsShown;
    size_t mFiles;
    size_t mFile = 0;
    uint64_t mFileSize = 0;  // 0: not known, as of a pipe
    Clock::time_point mNext;
};

}  // namespace replay
