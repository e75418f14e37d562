// How far the work is, for somebody who waits at a terminal.

#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace replay {

class Progress {
public:
    explicit Progress(const std::vector<std::string>& files);

    void beginFile() { ++mFile; }
    // Shows the line when it is time to. `bytes`: of this file, so far.
    void update(uint64_t bytes, size_t requests);
    void endFile(uint64_t bytes);

private:
    using Clock = std::chrono::steady_clock;

    bool mIsShown;
    size_t mFiles;
    size_t mFile = 0;
    uint64_t mBytesInAll = 0;  // 0: not known
    uint64_t mBytesBefore = 0;
    Clock::time_point mNext;
};

}  // namespace replay
