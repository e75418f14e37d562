// Every message that the library logs, once: its format string to the letter, its level, who logs it, and what it says.
// A log is read by it, and a test holds it against the library's sources.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "account/Account.h"

namespace replay {

struct CatalogueEntry;

// What a line holds for the conversions of its format.
struct MatchedLine {
    const CatalogueEntry* entry;
    std::vector<int64_t> numbers;  // one beyond 63 bits as its 64-bit two's complement
    std::string_view name;         // in the line
    FrameList frames;              // at its end
    bool isWhole;                  // else its end is missing: frames are those that are whole

    // Numbers as they were before they were printed. A line that holds a larger one does not come out of a replay
    // again, which tells.
    uint32_t unsigned32(size_t i) const { return static_cast<uint32_t>(numbers[i]); }
    int32_t signed32(size_t i) const { return static_cast<int32_t>(numbers[i]); }

    std::optional<uint32_t> fwkFrame() const;  // where it shows that
};

struct CatalogueEntry {
    char level;  // 'D' or 'I'
    const char* format;
    std::vector<std::string_view> functions;  // under whose names it is logged
    // Takes what a line says into account; null where other lines say it as well.
    void (*note)(const MatchedLine&, Account&) = nullptr;
    bool isFirst = false;  // of a selection, or of a frame's check
};
const std::vector<CatalogueEntry>& catalogue();

// Finds the one message that a line logged under this function's name is. Blanks at its end may be missing: they get
// lost where logs are copied. A line may be cut within the frames at its end; no other is long enough to be.
std::optional<MatchedLine> matchLine(std::string_view function, std::string_view text, bool cut);

}  // namespace replay
