// What many findings come to.

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "replay/Finding.h"

namespace replay {

class Totals {
public:
    explicit Totals(bool compares) : mCompares(compares) {}  // two builds

    void add(const Finding& finding);
    void addFile() { ++mFiles; }
    void addFileWithoutRequests() { ++mFilesWithout; }

    size_t files() const { return mFiles; }
    size_t requests() const { return mRequests; }

    // One line for a file: "a.log: 3 requests, 26 of 26 lines reproduced, consistent with the log".
    std::string line(const std::string& name) const;
    std::string block() const;
    std::string json() const;  // one line

private:
    std::vector<int64_t> sortedDistances() const;

    size_t mFiles = 0;
    size_t mFilesWithout = 0;
    size_t mRequests = 0;
    size_t mFailing = 0;  // against what is expected, or logged
    size_t mWarned = 0;
    std::map<std::string, size_t> mStrategies;
    std::map<std::string, size_t> mWarnings;  // by kind
    std::vector<int64_t> mDistancesNs;        // of anchors from their targets
    size_t mLogged = 0;                       // requests from logs
    size_t mCertain = 0;
    size_t mLines = 0;
    size_t mReproduced = 0;
    bool mCompares;
    size_t mDiffer = 0;  // between two builds
};

}  // namespace replay
