#include "capture/Text.h"

#include <glib.h>

#include <cstdio>
#include <memory>

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
    const std::unique_ptr<gchar, void (*)(gpointer)> valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free);
    return valid.get();
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
            char escape[16];
            const unsigned value = isUtf8 ? c : static_cast<uint8_t>(text[0]);
            std::snprintf(escape, sizeof(escape), value < 0x100 ? "\\x%02x" : "\\u%04x", value);
            out += escape;
        }
        text.remove_prefix(length);
    }
    return out;
}

void append(std::string& list, const std::string& each, const char* between) {
    list += (list.empty() ? "" : between) + each;
}

std::string join(const std::vector<uint32_t>& frames) {
    std::string text;
    for (const uint32_t frame : frames) append(text, std::to_string(frame), " ");
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
