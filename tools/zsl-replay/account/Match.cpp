// Lines of a log against the catalogue's formats.

#include <algorithm>
#include <charconv>
#include <map>

#include "account/Catalogue.h"

namespace replay {

namespace {

// One conversion of a format, and the literal text behind it.
struct Conversion {
    char kind;  // 'd' for a decimal number, 'x' for a hexadecimal one, 's' for text
    std::string_view literal;
};

// A format taken apart.
struct Pattern {
    explicit Pattern(const CatalogueEntry& described);

    const CatalogueEntry* entry;
    std::string_view head;  // the literal text at its beginning
    std::vector<Conversion> conversions;
    size_t fwkFrame;  // the conversion that is the framework frame; none: far beyond the last
};

std::string_view withoutBlanksAtEnd(std::string_view text) { return text.substr(0, text.find_last_not_of(' ') + 1); }

Pattern::Pattern(const CatalogueEntry& described) : entry(&described) {
    const std::string_view format = withoutBlanksAtEnd(described.format);
    size_t hole = format.find('%');
    head = format.substr(0, hole);
    std::string_view before = head;
    fwkFrame = SIZE_MAX;
    while (hole != std::string_view::npos) {
        const size_t kind = format.find_first_not_of('l', hole + 1);
        const size_t next = format.find('%', kind);
        const auto endsWith = [before](std::string_view end) {
            return before.size() >= end.size() && before.substr(before.size() - end.size()) == end;
        };
        if (endsWith("fwkFrame:") || endsWith("fwkFrameNum = ")) fwkFrame = conversions.size();
        const char letter = format[kind];
        before = format.substr(kind + 1, next == std::string_view::npos ? next : next - kind - 1);
        conversions.push_back({letter == 's' || letter == 'p' ? 's' : letter == 'x' ? 'x' : 'd', before});
        hole = next;
    }
}

// Takes what `kind` converts off a text; false when that is none.
bool takeField(const Conversion& conversion, bool isLast, bool cut, std::string_view& text, Field& field) {
    size_t length = 0;
    if (conversion.kind != 's') {
        int64_t number = 0;
        uint64_t large = 0;
        const int base = conversion.kind == 'x' ? 16 : 10;
        const char* const begin = text.data();
        auto parsed = std::from_chars(begin, begin + text.size(), number, base);
        if (parsed.ec == std::errc::result_out_of_range) {
            parsed = std::from_chars(begin, begin + text.size(), large, base);
            number = static_cast<int64_t>(large);
        }
        length = static_cast<size_t>(parsed.ptr - begin);
        if (parsed.ec != std::errc() || (cut && length == text.size())) return false;  // there may have been more of it
        field.number = number;
    } else if (conversion.literal.empty()) {
        length = text.size();
    } else {
        // The last literal is looked for from the end, so that "[%s]" takes brackets in its text.
        length = isLast && !cut ? text.rfind(conversion.literal) : text.find(conversion.literal);
        if (length == std::string_view::npos && !cut) return false;
        length = std::min(length, text.size());
    }
    field.text = text.substr(0, length);
    text.remove_prefix(length);
    return true;
}

// Blanks at its end may be missing where the text ends.
bool takeLiteral(std::string_view literal, bool cut, std::string_view& text) {
    const size_t length = std::min(literal.size(), text.size());
    if (text.substr(0, length) != literal.substr(0, length)) return false;
    text.remove_prefix(length);
    return cut || literal.find_first_not_of(' ', length) == std::string_view::npos;
}

std::optional<MatchedLine> matchPattern(const Pattern& pattern, std::string_view text, bool cut) {
    MatchedLine line{pattern.entry, {}, 0, !cut, std::nullopt};
    if (!takeLiteral(pattern.head, cut, text)) return std::nullopt;
    for (const Conversion& conversion : pattern.conversions) {
        const bool isLast = &conversion == &pattern.conversions.back();
        if (!takeField(conversion, isLast, cut, text, line.fields[line.fieldCount])) {
            const bool endsHere = cut && text.find_first_not_of("-0123456789abcdef") == std::string_view::npos;
            return endsHere && line.fieldCount > 0 ? std::optional(line) : std::nullopt;
        }
        if (line.fieldCount == pattern.fwkFrame)
            line.fwkFrame = static_cast<uint32_t>(line.fields[line.fieldCount].number);
        ++line.fieldCount;
        if (!takeLiteral(conversion.literal, cut, text)) return std::nullopt;
    }
    return text.empty() ? std::optional(line) : std::nullopt;
}

const std::map<std::string_view, std::vector<Pattern>>& patternsByFunction() {
    static const auto patterns = [] {
        std::map<std::string_view, std::vector<Pattern>> result;
        for (const CatalogueEntry& entry : catalogue()) {
            for (const std::string_view function : entry.functions) result[function].emplace_back(entry);
        }
        return result;
    }();
    return patterns;
}

}  // namespace

uint32_t Field::unsigned32() const {
    return number < INT32_MIN || number > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(number);
}

int32_t Field::signed32() const { return static_cast<int32_t>(std::clamp<int64_t>(number, INT32_MIN, INT32_MAX)); }

bool MatchedLine::saysEnough() const {
    const std::string_view format = entry->format;
    const size_t last = format.rfind('%');
    const bool endsInText = last != std::string_view::npos && last + 3 >= format.size();  // "%s" or "[%s]"
    const auto all = static_cast<size_t>(std::count(format.begin(), format.end(), '%'));
    return isWhole || (endsInText && (format[last + 1] == 's' || format[last + 1] == 'p') && fieldCount + 1 >= all);
}

std::optional<MatchedLine> matchLine(std::string_view function, std::string_view text, bool cut) {
    const auto found = patternsByFunction().find(function);
    if (found == patternsByFunction().end()) return std::nullopt;
    if (!cut) text = withoutBlanksAtEnd(text);
    std::optional<MatchedLine> best;  // a cut line may be taken for several: the one that says most of it
    for (const Pattern& pattern : found->second) {
        const auto line = matchPattern(pattern, text, cut);
        if (line && (!best || line->fieldCount > best->fieldCount)) best = line;
        if (line && !cut) break;
    }
    return best;
}

bool isKnownFunction(std::string_view function) { return patternsByFunction().count(function) > 0; }

}  // namespace replay
