// A case as text: its parts, and the file that it grows in.

#pragma once

#include <charconv>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "recorder/Recorder.h"

class ZoMetadata;

namespace recorder {

using FrameList = std::vector<uint32_t>;

inline void append(std::string& text, std::string_view part) { text += part; }
inline void append(std::string& text, int64_t number) {
    char digits[24];
    text.append(digits, std::to_chars(digits, digits + sizeof(digits), number).ptr);
}
inline void append(std::string& text, const FrameList& frames) {
    text += '[';
    for (size_t i = 0; i < frames.size(); ++i) {
        if (i != 0) text += ", ";
        append(text, frames[i]);
    }
    text += ']';
}
template <typename... Parts>
void put(std::string& text, const Parts&... parts) {
    (append(text, parts), ...);
}

// Escaped, whatever a name consists of.
std::string quoted(const std::string& name);

// The tags that are set, with type and count, up to the line's end: that a tag had to be cut is said in a comment.
std::string tagsOf(const ZoMetadata* metadata, std::initializer_list<const char*> tags);

// Grows by whole requests. What is written is in the kernel's hands at once: it outlives the process, though not a loss
// of power. Throws std::system_error.
struct CaseFile {
    // Makes the recording's next file, "zsl-<process>-<number>.yaml". Where 16 such files are in the folder, whichever
    // process wrote them, the oldest goes.
    explicit CaseFile(Recorder& recorder);
    CaseFile(const CaseFile&) = delete;
    CaseFile& operator=(const CaseFile&) = delete;
    ~CaseFile();  // removes a file that nothing whole was written to

    void append(std::string_view text);  // a failure may leave some of it, for a replay to leave out

    std::string path;
    int file;
    size_t size = 0;
};

}  // namespace recorder
