// Every message that the library logs, once: its format string to the letter, its level, who logs it, and what it says.
// A log is read by it, and a test holds it against the library's sources.

#pragma once

#include <string_view>
#include <vector>

#include "account/Account.h"
#include "account/LogLine.h"

namespace replay {

struct CatalogueEntry {
    char level;  // 'D' or 'I'
    const char* format;
    std::vector<std::string_view> functions;  // under whose names it is logged
    // Takes what a line says into account; null where other lines say it as well.
    void (*note)(const LoggedLine&, Account&) = nullptr;
    bool isFirst = false;  // of a selection, or of a frame's check
};
const std::vector<CatalogueEntry>& catalogue();

// Finds the one message that a line is, by its function and text, and fills in what it says. Blanks at its end may be
// missing: they get lost where logs are copied. It may be cut within the frames at its end; no other is long enough.
void readMessage(LoggedLine& line);

}  // namespace replay
