#include "capture/Text.h"

#include <fmt/format.h>
#include <glib.h>

namespace replay {

namespace {

// Control characters do not show, nor do marks such as those that turn the direction of writing.
bool isShown(gunichar c) {
    const GUnicodeType type = g_unichar_type(c);
    return type != G_UNICODE_CONTROL && type != G_UNICODE_FORMAT && type != G_UNICODE_LINE_SEPARATOR &&
           type != G_UNICODE_PARAGRAPH_SEPARATOR;
}

}  // namespace

std::string validUtf8(std::string_view text) {
    g_autofree gchar* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    return valid;
}

std::string printable(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const gunichar c = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
        const bool isUtf8 = g_unichar_validate(c) != 0;
        const size_t length = isUtf8 ? g_utf8_skip[static_cast<uint8_t>(text[0])] : 1;
        if (isUtf8 && isShown(c)) {
            out += text.substr(0, length);
        } else {
            const unsigned value = isUtf8 ? c : static_cast<uint8_t>(text[0]);
            out += value < 0x100 ? fmt::format("\\x{:02x}", value) : fmt::format("\\u{:04x}", value);
        }
        text.remove_prefix(length);
    }
    return out;
}

void append(std::string& list, const std::string& each, const char* between) {
    list += (list.empty() ? "" : between) + each;
}

std::string join(const std::vector<uint32_t>& frames) {
    return frames.empty() ? "none" : fmt::format("{}", fmt::join(frames, " "));
}

std::string milliseconds(int64_t ns, int64_t fromNs) {
    const __int128 difference = static_cast<__int128>(ns) - fromNs;
    const auto us = static_cast<uint64_t>(((difference < 0 ? -difference : difference) + 500) / 1000);
    return fmt::format("{}{}.{:03} ms", difference < 0 ? '-' : '+', us / 1000, us % 1000);
}

}  // namespace replay
