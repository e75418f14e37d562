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

// Whatever stands ahead of the literal that follows, or at the end.
bool takeText(std::string_view& text, std::string_view literal, std::string_view& taken) {
    const size_t length = literal.empty() ? text.size() : text.find(literal);
    if (length == std::string_view::npos) return false;
    taken = text.substr(0, length);
    text.remove_prefix(length);
    return true;
}

bool takeLiteral(std::string_view& text, std::string_view literal, bool cut) {
    const size_t length = std::min(literal.size(), text.size());
    if (text.substr(0, length) != literal.substr(0, length)) return false;
    text.remove_prefix(length);
    return cut || literal.find_first_not_of(' ', length) == std::string_view::npos;
}

// `format` is what follows the conversion.
bool takeConversion(std::string_view& text, char conversion, std::string_view format, MatchedLine& line) {
    if (conversion == 's' && format.size() <= 1) {  // "%s" or "[%s]" at the end
        line.frames = takeFrames(text, !line.isWhole);
        return true;
    }
    if (conversion == 's' || conversion == 'p') return takeText(text, format.substr(0, format.find('%')), line.name);
    const int base = conversion == 'x' ? 16 : 10;
    uint64_t large = 0;
    if (takeNumber(text, line.numbers.emplace_back(), base)) return true;
    if (!takeNumber(text, large, base)) return false;
    line.numbers.back() = static_cast<int64_t>(large);
    return true;
}

bool matches(std::string_view text, MatchedLine& line) {
    std::string_view format = line.entry->format;
    while (true) {
        const std::string_view literal = format.substr(0, format.find('%'));
        if (!takeLiteral(text, literal, !line.isWhole)) return false;
        if (literal.size() == format.size()) return text.empty();
        const size_t conversion = format.find_first_not_of('l', literal.size() + 1);
        const char kind = format[conversion];
        format.remove_prefix(conversion + 1);
        if (!takeConversion(text, kind, format, line)) return false;
    }
}

}  // namespace

std::optional<uint32_t> MatchedLine::fwkFrame() const {
    const std::string_view format = entry->format;
    if (format.find("fwkFrameNum = %d") != std::string_view::npos) return unsigned32(1);
    return format.find("fwkFrame:%u") != std::string_view::npos ? std::optional(unsigned32(0)) : std::nullopt;
}

std::optional<MatchedLine> matchLine(std::string_view function, std::string_view text, bool cut) {
    for (const CatalogueEntry& entry : catalogue()) {
        if (std::find(entry.functions.begin(), entry.functions.end(), function) == entry.functions.end()) continue;
        MatchedLine line{&entry, {}, {}, {}, !cut};
        if (matches(text, line)) return line;
    }
    return std::nullopt;
}

}  // namespace replay
