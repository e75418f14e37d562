#include "replay/Differ.h"

#include <algorithm>
#include <iterator>

#include "account/LogLine.h"

namespace replay {

namespace {

// A log line without source line and addresses: those of a selector, which the frame check logs, no two runs share.
std::string comparable(const TraceStep& step) {
    const auto message = step.kind == TraceStep::kLog ? splitMessage(step.text) : std::nullopt;
    if (!message) return step.text;
    return std::string(message->function) + "() " +
           std::string(message->text.substr(0, message->text.find(" this = 0x")));
}

bool isSame(const TraceStep& a, const TraceStep& b) {
    return a.kind == b.kind && (a.text == b.text || comparable(a) == comparable(b));
}

std::string described(const std::vector<TraceStep>& trace, size_t at) {
    if (at >= trace.size()) return "nothing more";
    if (trace[at].kind == TraceStep::kCall) return "call " + trace[at].text;
    const auto message = splitMessage(trace[at].text);
    return "log \"" + (message ? std::string(message->text) : trace[at].text) + '"';
}

FrameList missingFrom(FrameList frames, FrameList others) {
    std::sort(frames.begin(), frames.end());
    std::sort(others.begin(), others.end());
    FrameList missing;
    std::set_difference(frames.begin(), frames.end(), others.begin(), others.end(), std::back_inserter(missing));
    return missing;
}

std::string words(bool flag) { return flag ? "true" : "false"; }
std::string words(const zohal::ZSLSelectorResult& check) { return words(check.first) + ' ' + words(check.second); }

// Answers that no list of frames and not always a log line shows.
std::vector<std::string> differingAnswers(const Run& before, const Run& after) {
    std::vector<std::string> answers;
    const auto compare = [&answers](const std::string& what, const std::string& was, const std::string& now) {
        if (was != now) answers.push_back(what + ": was " + was + ", now " + now);
    };
    compare("gate", words(before.outcome.needed), words(after.outcome.needed));
    compare("result", words(before.result), words(after.result));
    for (const auto& [frame, check] : after.outcome.checks) {
        const auto found = before.outcome.checks.find(frame);
        if (found == before.outcome.checks.end()) continue;  // as it was not chosen
        compare("check of frame " + std::to_string(frame), words(found->second), words(check));
    }
    return answers;
}

}  // namespace

Difference differenceOf(const Run& before, const Run& after) {
    Difference difference;
    difference.gained = missingFrom(after.chosen(), before.chosen());
    difference.lost = missingFrom(before.chosen(), after.chosen());
    difference.reordered = difference.gained.empty() && difference.lost.empty() && before.chosen() != after.chosen();
    difference.answers = differingAnswers(before, after);
    const size_t most = std::max(before.trace.size(), after.trace.size());
    for (size_t i = 0; i < most && !difference.firstStep; ++i) {
        const bool same = i < before.trace.size() && i < after.trace.size() && isSame(before.trace[i], after.trace[i]);
        if (!same) difference.firstStep = {i + 1, described(before.trace, i), described(after.trace, i)};
    }
    return difference;
}

}  // namespace replay
