// The text of a case, put together part by part.

#pragma once

#include <charconv>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

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

}  // namespace recorder
