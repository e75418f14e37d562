// A case file that grows request by request. What is written is in the kernel's hands at once: it outlives the process,
// though not a loss of power. Everything throws std::system_error.

#pragma once

#include <string>
#include <string_view>

#include "recorder/Recorder.h"

namespace recorder {

class CaseFile {
public:
    // Makes the recording's next file, "zsl-<process>-<number>.yaml", with a head. Of more than 16 such files in the
    // folder, whichever process wrote them, the oldest go.
    CaseFile(Recorder& recorder, std::string_view head);
    CaseFile(const CaseFile&) = delete;
    CaseFile& operator=(const CaseFile&) = delete;
    ~CaseFile();  // removes a file that has nothing but a head

    size_t size() const { return mSize; }

    // Replaces what stands from an offset on. On failure nothing stands there.
    void rewrite(size_t offset, std::string_view text);

private:
    explicit CaseFile(Recorder& recorder);

    std::string mPath;
    int mFile;
    size_t mHeadSize = 0;
    size_t mSize = 0;
};

}  // namespace recorder
