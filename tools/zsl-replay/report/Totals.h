// What many findings come to.

#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "replay/Finding.h"

namespace replay {

class Totals {
public:
    void addFile(bool isEmptyLog);
    void add(const Finding& finding);

    size_t requests() const { return mRequests; }

    // One line for a file: "a.log: 3 requests, 26 of 26 lines reproduced, consistent with the log".
    std::string line(const std::string& name) const;
    std::string block() const;
    std::string json() const;  // one line

private:
    // The least distance that so many percent of all do not exceed; there must be one.
    int64_t distanceNs(size_t percent) const;

    bool mCompares = false;  // two builds
    size_t mFiles = 0;
    size_t mEmptyLogs = 0;
    size_t mRequests = 0;
    size_t mFailing = 0;  // against what is expected, or logged
    size_t mDiffer = 0;   // between two builds
    std::map<std::string, size_t> mStrategies;
    std::map<std::string, size_t> mWarnings;  // by kind
    std::multiset<int64_t> mDistancesNs;      // of anchors from their targets
    size_t mLogged = 0;                       // requests from logs
    size_t mCertain = 0;
    size_t mLines = 0;
    size_t mReproduced = 0;
};

}  // namespace replay
