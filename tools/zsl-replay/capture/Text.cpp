#include "capture/Text.h"

#include <algorithm>
#include <cstdio>

namespace replay {

namespace {

struct CodePoint {
    uint32_t value;
    size_t length;  // in bytes; 0 where no UTF-8 starts
};

// The first code point of a text that is not empty: in its shortest form, and no half of a pair.
CodePoint firstCodePoint(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    if (byte(0) < 0x80) return {byte(0), 1};
    const size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
    if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() < length) return {0, 0};
    uint32_t value = byte(0) & (0xFFU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {0, 0};
        value = value << 6 | (byte(i) & 0x3F);
    }
    static constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isWhole = value >= kLeast[length] && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
    return isWhole ? CodePoint{value, length} : CodePoint{0, 0};
}

bool isControl(uint32_t c) {
    const bool turns = c == 0x61C || (c >= 0x200E && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) ||
                       (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF;
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || turns;
}

std::string escapeOf(uint32_t value) {
    char escape[16];
    std::snprintf(escape, sizeof(escape), value < 0x100 ? "\\x%02x" : "\\u%04x", value);
    return escape;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const CodePoint c = firstCodePoint(text);
        if (c.length == 0) {
            out += escapeOf(static_cast<unsigned char>(text[0]));
        } else if (isControl(c.value)) {
            out += escapeOf(c.value);
        } else {
            out += text.substr(0, c.length);
        }
        text.remove_prefix(std::max<size_t>(c.length, 1));
    }
    return out;
}

void append(std::string& list, const std::string& each, const char* between) {
    list += (list.empty() ? "" : between) + each;
}

std::string join(const FrameList& frames) {
    std::string text;
    for (const uint32_t frame : frames) text += (text.empty() ? "" : " ") + std::to_string(frame);
    return frames.empty() ? "none" : text;
}

std::string milliseconds(int64_t ns, int64_t fromNs) {
    const __int128 difference = static_cast<__int128>(ns) - fromNs;
    const auto magnitude = static_cast<unsigned __int128>(difference < 0 ? -difference : difference);
    const auto microseconds = static_cast<uint64_t>((magnitude + 500) / 1000);
    const std::string fraction = std::to_string(1000 + microseconds % 1000).substr(1);
    return (difference < 0 ? '-' : '+') + std::to_string(microseconds / 1000) + '.' + fraction + " ms";
}

}  // namespace replay
