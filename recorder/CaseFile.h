// A case as text: its parts, and the file that it grows in.

#pragma once

#include <cstdio>

#include "recorder/Recorder.h"

class ZoMetadata;

namespace recorder {

using FrameList = std::vector<uint32_t>;
using std::to_string;
std::string to_string(const FrameList& frames);

// Escaped, whatever a name consists of.
std::string quoted(const std::string& name);

// What is set of these tags, one a line, with type and values.
std::string tagsOf(const ZoMetadata* metadata, std::initializer_list<const char*> tags);

// Grows by whole requests. What is written is in the kernel's hands at once: it outlives the process, though not a loss
// of power. Throws std::system_error.
struct CaseFile {
    // Makes the recording's next file, "zsl-<process>-<number>.yaml". Where 16 such files are in the folder, whichever
    // process wrote them, the oldest goes.
    explicit CaseFile(Recorder& recorder);

    // A failure may leave some of it, for a replay to leave out; of the first request it leaves no file.
    void append(const std::string& request);
    bool isFull() const { return requests >= 1000 || bytes >= 4U << 20; }

    std::string path;
    std::unique_ptr<FILE, int (*)(FILE*)> file{nullptr, &fclose};
    size_t requests = 0;
    size_t bytes = 0;
};

}  // namespace recorder
