#include "replay/LogMatch.h"

#include <algorithm>

namespace replay {

namespace {

constexpr size_t kLookahead = 256;  // lines

void addOnce(std::vector<std::string>& texts, const std::string& reason, const std::string& from) {
    const auto known = [&](const std::string& text) { return text.compare(0, reason.size(), reason) == 0; };
    if (std::none_of(texts.begin(), texts.end(), known)) texts.push_back(reason + ", from \"" + from + "\" on");
}

}  // namespace

std::vector<LogMatch::Line> LogMatch::taken(const std::vector<LoggedLine>& lines) {
    std::vector<Line> result;
    result.reserve(lines.size());
    for (const LoggedLine& line : lines) {
        std::string text = line.level + (' ' + std::string(line.function())) + ": " + std::string(line.text());
        text.erase(std::min(text.find(" this = "), text.find_last_not_of(' ') + 1));
        result.push_back({std::move(text), line.level == 'D', line.function() == "isSelectorNeeded", line.cut});
    }
    return result;
}

LogMatch::LogMatch(const LoggedRequest& logged) : mLogged(logged), mLines(taken(logged.lines)) {
    for (const LoggedRequest::Check& check : logged.checks) mChecks.emplace_back(check.frame, taken(check.lines));
    for (const Line& line : mLines) mHasDebug |= line.debug;
    const auto isCut = [](const Line& line) { return line.cut; };
    mHasCut = std::any_of(mLines.begin(), mLines.end(), isCut);
    for (const auto& [frame, lines] : mChecks) mHasCut |= std::any_of(lines.begin(), lines.end(), isCut);
    mHasGate = !mLines.empty() && mLines.front().gate;
}

Agreement LogMatch::compare(const LoggedRequest& replayed) const {
    Agreement agreement;
    walk(mLines, taken(replayed.lines), agreement);
    // Which frames are checked, and how often, is the core's choice.
    for (const auto& [frame, lines] : mChecks) {
        const auto same = std::find_if(replayed.checks.begin(), replayed.checks.end(),
                                       [frame = frame](const auto& each) { return each.frame == frame; });
        walk(lines, same != replayed.checks.end() ? taken(same->lines) : std::vector<Line>(), agreement);
    }
    return agreement;
}

// Walks two sequences of lines side by side, and skips what only one of them has.
void LogMatch::walk(const std::vector<Line>& logged, const std::vector<Line>& replayed, Agreement& out) const {
    auto at = replayed.begin();
    for (auto line = logged.begin(); line != logged.end(); ++line) {
        ++out.lines;
        const auto end =
            replayed.end() - at > static_cast<std::ptrdiff_t>(kLookahead) ? at + kLookahead : replayed.end();
        const auto found = std::find_if(at, end, [line](const Line& each) {
            return line->cut ? each.text.compare(0, line->text.size(), line->text) == 0 : each.text == line->text;
        });
        if (found != end) {
            while (at != found) lack(*at++, false, out);
            ++out.reproduced;
            ++at;
        } else if (line != logged.begin() && std::prev(line)->text == line->text) {
            --out.lines;
            out.repetitions.push_back("the log repeats a line: \"" + line->text + '"');
        } else if (out.firstDifference.empty()) {
            out.firstDifference = "the log has \"" + line->text + "\", the replay " +
                                  (at != replayed.end() ? '"' + at->text + '"' : "ends");
        }
    }
    while (at != replayed.end()) lack(*at++, true, out);
}

// A line that only the replay has.
void LogMatch::lack(const Line& line, bool atEnd, Agreement& out) const {
    if (line.gate && !mHasGate) return;  // told as such
    const char* reason = !mLogged.selection && !line.gate ? "the selection is not in the log"
                         : !mLogged.notes.empty()         ? "the log says that it lost lines"
                         : line.debug && !mHasDebug       ? "the log has no debug lines"
                         : atEnd && !mLogged.ended        ? "the log ends within the request"
                                                          : nullptr;
    if (reason != nullptr) {
        ++out.excused;
        addOnce(out.missing, reason, line.text);
        return;
    }
    ++out.unexpected;
    if (out.firstDifference.empty()) out.firstDifference = "the log lacks \"" + line.text + '"';
}

}  // namespace replay
