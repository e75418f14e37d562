// A case file that grows by whole requests. What is written is in the kernel's hands at once: it outlives the process,
// though not a loss of power. Everything throws std::system_error.

#pragma once

#include <string>
#include <string_view>

#include "recorder/Recorder.h"

namespace recorder {

class CaseFile {
public:
    // Makes the recording's next file, "zsl-<process>-<number>.yaml". Where more than 16 such files are in the folder,
    // whichever process wrote them, the oldest goes.
    explicit CaseFile(Recorder& recorder);
    CaseFile(const CaseFile&) = delete;
    CaseFile& operator=(const CaseFile&) = delete;
    ~CaseFile();  // removes a file that nothing whole was written to

    size_t size() const { return mSize; }
    void append(std::string_view text);  // a failure may leave some of it, for a replay to leave out

private:
    std::string mPath;
    int mFile;
    size_t mSize = 0;
};

}  // namespace recorder
