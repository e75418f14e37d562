// Every message that the library logs, once: its format string to the letter, its level, and who logs it. A log is read
// by it, and a test holds it against the library's sources.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace replay {

// As the catalogue lists them.
enum class MessageId {
    kDisabled,
    kGate,
    kNoMetaQueue,
    kNoConsumer,
    kConsumer,
    kNoProducer,
    kProducer,
    kSensorPolicy,
    kDriver,
    kTarget,
    kFallback,
    kConsumerMet,
    kConsumerRemoved,
    kProducerMet,
    kGroupReference,
    kGroup,
    kAnchor,
    kAnchorUnsigned,
    kNotHeld,
    kNotEnough,
    kSpanBegin,
    kConsumerPart,
    kBeforeThinning,
    kAfterThinning,
    kCheck,
    kCheckHeld,
    kCheckLost,
    kCheckWanted,
    kCheckNoneWanted,
    kCheckWantedMode,
    kCheckPassed,
    kCheckFailed,
};

struct CatalogueEntry {
    MessageId id;
    char level;  // 'D' or 'I'
    const char* format;
    std::vector<std::string_view> functions;  // under whose names it is logged
};
const std::vector<CatalogueEntry>& catalogue();

// What a line holds for one conversion of its format.
struct Field {
    std::string_view text;  // of the line
    int64_t number = 0;     // 0 for text; a number beyond 63 bits as its 64-bit two's complement
};

// A line as the catalogue knows it. Of a cut line the fields that are whole, and the last one as far as it goes where
// it is text.
struct MatchedLine {
    const CatalogueEntry* entry;
    std::array<Field, 8> fields;
    size_t fieldCount = 0;
    bool isWhole = true;
    std::optional<uint32_t> fwkFrame;  // where it shows that
};

// Finds the one message that a line logged under this function's name is. Blanks at its end do not count: they get lost
// where logs are copied. A line that is cut may end anywhere.
std::optional<MatchedLine> matchLine(std::string_view function, std::string_view text, bool cut);

// Whether the library logs under this name at all.
bool isKnownFunction(std::string_view function);

}  // namespace replay
