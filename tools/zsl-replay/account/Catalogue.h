// Every message that the library logs, once: its format string to the letter, its level, who logs it, and what it says.
// A log is read by it, and a test holds it against the library's sources.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "account/Account.h"

namespace replay {

// What a line holds for one conversion of its format.
struct Field {
    std::string_view text;  // of the line
    int64_t number = 0;     // 0 for text; a number beyond 63 bits as its 64-bit two's complement

    // As it was before it was printed, if need be with another sign. A number beyond the range is cut to it: a line
    // that holds one does not come out of a replay again, which tells.
    uint32_t unsigned32() const;
    int32_t signed32() const;
};

struct MatchedLine;

struct CatalogueEntry {
    char level;  // 'D' or 'I'
    const char* format;
    std::vector<std::string_view> functions;  // under whose names it is logged
    // Takes what a line says into account; null where other lines say it as well.
    void (*note)(const MatchedLine&, Account&) = nullptr;
    void (*noteCheck)(const MatchedLine&, CheckAccount&) = nullptr;
    bool isFirst = false;  // of a selection, or of a frame's check
};
const std::vector<CatalogueEntry>& catalogue();

// A line as the catalogue knows it. Of a cut line the fields that are whole, and the last one as far as it goes where
// it is text.
struct MatchedLine {
    const CatalogueEntry* entry;
    std::array<Field, 8> fields;
    size_t fieldCount = 0;
    bool isWhole = true;
    std::optional<uint32_t> fwkFrame;  // where it shows that

    const Field& operator[](size_t i) const { return fields[i]; }

    // Whether it is there up to what it has to say: a list or an address at its end may be cut.
    bool saysEnough() const;
};

// Finds the one message that a line logged under this function's name is. Blanks at its end do not count: they get lost
// where logs are copied. A line that is cut may end anywhere.
std::optional<MatchedLine> matchLine(std::string_view function, std::string_view text, bool cut);

// Whether the library logs under this name at all.
bool isKnownFunction(std::string_view function);

}  // namespace replay
