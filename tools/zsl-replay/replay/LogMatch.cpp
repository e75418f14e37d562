#include "replay/LogMatch.h"

#include <fmt/format.h>

#include <algorithm>

namespace replay {

namespace {

using Lines = LoggedRequest::Lines;

constexpr size_t kLookahead = 256;  // lines

bool isSame(const LoggedLine& logged, const LoggedLine& replayed) {
    if (logged.level != replayed.level || logged.function != replayed.function) return false;
    const std::string_view text = withoutAddress(logged.text);
    if (!logged.isCut) return text == withoutAddress(replayed.text);
    const size_t whole = text.rfind(' ');  // the last number may lack digits
    return text.substr(0, whole) == withoutAddress(replayed.text).substr(0, whole);
}

std::string quoted(const LoggedLine& line) {
    return fmt::format("\"{} {}: {}\"", line.level, line.function, withoutAddress(line.text));
}

template <typename Words>
void differ(Agreement& out, const Words& words) {
    if (out.differing++ == 0) out.firstDifference = words();
}

// A line that only the replay has. That the gate's is missing is told as such.
void lack(const LoggedRequest& log, const LoggedLine& line, bool atEnd, Agreement& out) {
    if (line.isGate() && !log.account.showsGate()) return;
    const char* excuse = !log.selection && !line.isGate()     ? "the selection is not in the log"
                         : !log.notes.empty()                 ? "the log says that it lost lines"
                         : line.level == 'D' && !log.hasDebug ? "the log has no debug lines"
                         : atEnd && !log.ended                ? "the log ends within the request"
                                                              : nullptr;
    if (excuse == nullptr) return differ(out, [&] { return "the log lacks " + quoted(line); });
    ++out.excused;
    out.excuses.insert(excuse);
}

// Walks two sequences of lines side by side, and skips what only one of them has.
void walk(const LoggedRequest& log, const Lines& logged, const Lines& replayed, Agreement& out) {
    auto at = replayed.begin();
    for (auto line = logged.begin(); line != logged.end(); ++line) {
        ++out.lines;
        const auto end = at + std::min<std::ptrdiff_t>(replayed.end() - at, kLookahead);
        const bool isUnknown = line->entry == nullptr && !line->isCut;  // no replay has such a line
        const auto found =
            isUnknown ? end : std::find_if(at, end, [line](const LoggedLine& each) { return isSame(*line, each); });
        if (found != end) {
            while (at != found) lack(log, *at++, false, out);
            ++out.reproduced;
            ++at;
        } else if (line != logged.begin() && isSame(*line, *std::prev(line))) {
            --out.lines;
            out.repetitions.push_back("the log repeats a line: " + quoted(*line));
        } else {
            differ(out, [&] {
                return "the log has " + quoted(*line) + ", the replay " + (at != replayed.end() ? quoted(*at) : "ends");
            });
        }
    }
    while (at != replayed.end()) lack(log, *at++, true, out);
}

}  // namespace

Agreement agreementOf(const LoggedRequest& logged, const LoggedRequest& replayed) {
    Agreement out;
    walk(logged, logged.lines, replayed.lines, out);
    // Which frames are checked, and how often, is the core's choice.
    for (const Lines& check : logged.checks) {
        const uint32_t frame = check.front().checkedFrame();
        const auto isSameFrame = [frame](const Lines& each) { return each.front().checkedFrame() == frame; };
        const auto same = std::find_if(replayed.checks.begin(), replayed.checks.end(), isSameFrame);
        walk(logged, check, same != replayed.checks.end() ? *same : Lines(), out);
    }
    return out;
}

}  // namespace replay
