// Lines of a log against the catalogue's formats.

#include <algorithm>
#include <charconv>

#include "account/Catalogue.h"

namespace replay {

namespace {

// Takes a number off a text; false when there is none.
template <typename T>
bool takeNumber(std::string_view& text, T& number, int base = 10) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error == std::errc()) text.remove_prefix(static_cast<size_t>(end - text.data()));
    return error == std::errc();
}

// "5 17 ". The last number of a cut line may lack digits.
FrameList takeFrames(std::string_view& text, bool cut) {
    FrameList frames;
    uint32_t frame = 0;
    while (takeNumber(text, frame) && !(cut && text.empty())) {
        frames.push_back(frame);
        text.remove_prefix(!text.empty() && text[0] == ' ' ? 1 : 0);
    }
    return frames;
}

bool takeLiteral(std::string_view& text, std::string_view literal) {
    const size_t length = std::min(literal.size(), text.size());
    if (text.substr(0, length) != literal.substr(0, length)) return false;
    text.remove_prefix(length);
    return literal.find_first_not_of(' ', length) == std::string_view::npos;
}

// Text goes up to the literal that follows it, an address to the end.
bool takeConversion(std::string_view& text, char conversion, std::string_view literal, LoggedLine& line) {
    if (conversion == 's' || conversion == 'p') {
        const size_t end = conversion == 's' ? text.find(literal) : text.size();
        line.name = text.substr(0, end);
        text.remove_prefix(std::min(end, text.size()));
        return true;
    }
    const int base = conversion == 'x' ? 16 : 10;
    uint64_t large = 0;
    if (takeNumber(text, line.numbers.emplace_back(), base)) return true;
    if (!takeNumber(text, large, base)) return false;
    line.numbers.back() = static_cast<int64_t>(large);
    return true;
}

bool matches(const CatalogueEntry& entry, LoggedLine& line) {
    const auto& by = entry.functions;
    if (std::find(by.begin(), by.end(), line.function) == by.end()) return false;
    std::string_view format = entry.format;
    std::string_view text = line.text;
    line.numbers.clear();
    while (true) {
        const std::string_view literal = format.substr(0, format.find('%'));
        if (!takeLiteral(text, literal)) return false;
        if (literal.size() == format.size()) return text.empty();
        const size_t conversion = format.find_first_not_of('l', literal.size() + 1);
        const char kind = format[conversion];
        format.remove_prefix(conversion + 1);
        if (kind == 's' && format.size() <= 1) {  // "%s" or "[%s]" at the end
            line.frames = takeFrames(text, line.isCut);
            if (line.isCut) return text.empty();
        } else if (!takeConversion(text, kind, format.substr(0, format.find('%')), line)) {
            return false;
        }
    }
}

}  // namespace

bool LoggedLine::isFirst() const { return entry != nullptr && entry->isFirst; }

std::optional<uint32_t> LoggedLine::fwkFrame() const {
    const std::string_view format = entry != nullptr ? entry->format : "";
    if (format.find("fwkFrameNum = %d") != std::string_view::npos) return unsigned32(1);
    return format.find("fwkFrame:%u") != std::string_view::npos ? std::optional(unsigned32(0)) : std::nullopt;
}

void readMessage(LoggedLine& line) {
    const auto& all = catalogue();
    const auto found =
        std::find_if(all.begin(), all.end(), [&line](const auto& entry) { return matches(entry, line); });
    if (found != all.end()) line.entry = &*found;
}

}  // namespace replay
