#include "replay/LogMatch.h"

#include <algorithm>

namespace replay {

namespace {

using Lines = std::vector<LoggedLine>;

constexpr size_t kLookahead = 256;  // lines

bool isGate(const LoggedLine& line) { return line.function() == "isSelectorNeeded"; }

// The text as far as a replay can have the same: no address at its end, nor blanks, which get lost in copying.
std::string_view comparable(const LoggedLine& line) {
    const std::string_view text = line.text().substr(0, line.text().find(" this = "));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

bool isSame(const LoggedLine& logged, const LoggedLine& replayed) {
    const std::string_view text = comparable(logged);
    const std::string_view other = comparable(replayed);
    return logged.level == replayed.level && logged.function() == replayed.function() &&
           text == (logged.cut ? other.substr(0, text.size()) : other);
}

std::string quoted(const LoggedLine& line) {
    return std::string("\"") + line.level + ' ' + std::string(line.function()) + ": " + std::string(comparable(line)) +
           '"';
}

class Comparison {
public:
    explicit Comparison(const LoggedRequest& logged)
        : mLogged(logged),
          mHasDebug(hasDebugLines(logged)),
          mHasGate(!logged.lines.empty() && isGate(logged.lines[0])) {}

    // Walks two sequences of lines side by side, and skips what only one of them has.
    void walk(const Lines& logged, const Lines& replayed) {
        auto at = replayed.begin();
        for (auto line = logged.begin(); line != logged.end(); ++line) {
            ++out.lines;
            const auto end = at + std::min<std::ptrdiff_t>(replayed.end() - at, kLookahead);
            const auto found = std::find_if(at, end, [line](const LoggedLine& each) { return isSame(*line, each); });
            if (found != end) {
                while (at != found) lack(*at++, false);
                ++out.reproduced;
                ++at;
            } else if (line != logged.begin() && isSame(*line, *std::prev(line))) {
                --out.lines;
                out.repetitions.push_back("the log repeats a line: " + quoted(*line));
            } else {
                differ("the log has " + quoted(*line) + ", the replay " +
                       (at != replayed.end() ? quoted(*at) : "ends"));
            }
        }
        while (at != replayed.end()) lack(*at++, true);
    }

    Agreement out;

private:
    // A line that only the replay has. That the gate's is missing is told as such.
    void lack(const LoggedLine& line, bool atEnd) {
        if (isGate(line) && !mHasGate) return;
        const char* reason = !mLogged.selection && !isGate(line) ? "the selection is not in the log"
                             : !mLogged.notes.empty()            ? "the log says that it lost lines"
                             : line.level == 'D' && !mHasDebug   ? "the log has no debug lines"
                             : atEnd && !mLogged.ended           ? "the log ends within the request"
                                                                 : nullptr;
        if (reason == nullptr) {
            ++out.unexpected;
            differ("the log lacks " + quoted(line));
            return;
        }
        ++out.excused;
        const std::string begin = std::string(reason) + ", from ";
        const auto isKnown = [&begin](const std::string& text) { return text.compare(0, begin.size(), begin) == 0; };
        if (std::none_of(out.missing.begin(), out.missing.end(), isKnown)) {
            out.missing.push_back(begin + quoted(line) + " on");
        }
    }

    void differ(const std::string& what) {
        if (out.firstDifference.empty()) out.firstDifference = what;
    }

    const LoggedRequest& mLogged;
    const bool mHasDebug;
    const bool mHasGate;
};

}  // namespace

Agreement agreementOf(const LoggedRequest& logged, const LoggedRequest& replayed) {
    Comparison comparison(logged);
    comparison.walk(logged.lines, replayed.lines);
    // Which frames are checked, and how often, is the core's choice.
    for (size_t i = 0; i < logged.checks.size(); ++i) {
        const auto& checks = replayed.account.checks;
        const auto same = std::find_if(checks.begin(), checks.end(), [&](const CheckAccount& each) {
            return each.frame == logged.account.checks[i].frame;
        });
        const auto at = static_cast<size_t>(same - checks.begin());
        comparison.walk(logged.checks[i].lines, same != checks.end() ? replayed.checks[at].lines : Lines());
    }
    return std::move(comparison.out);
}

bool hasDebugLines(const LoggedRequest& logged) {
    return std::any_of(logged.lines.begin(), logged.lines.end(), [](const auto& line) { return line.level == 'D'; });
}

bool hasCutLines(const LoggedRequest& logged) {
    const auto isAnyCut = [](const Lines& lines) {
        return std::any_of(lines.begin(), lines.end(), [](const LoggedLine& line) { return line.cut; });
    };
    return isAnyCut(logged.lines) || std::any_of(logged.checks.begin(), logged.checks.end(),
                                                 [&](const auto& check) { return isAnyCut(check.lines); });
}

}  // namespace replay
