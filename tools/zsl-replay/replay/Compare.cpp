#include "replay/Compare.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "account/LogLine.h"
#include "capture/Text.h"

namespace replay {

namespace {

using Lines = std::vector<std::string>;
using Selection = std::map<uint32_t, FrameList>;  // by queue
using Log = std::vector<desk::LogLine>;

std::string text(const zohal::ZSLSelectorResult& check) { return fmt::format("{} {}", check.first, check.second); }

template <typename T>
std::string text(const std::optional<T>& number) {
    return number ? std::to_string(*number) : "none";
}

std::string text(const Selection& selection) {
    std::string all;
    for (const auto& [id, frames] : selection) append(all, fmt::format("queue {}: {}", id, join(frames)), "; ");
    return all.empty() ? "nothing selected" : all;
}

std::string checkOf(uint32_t frame) { return fmt::format("check of frame {}", frame); }

template <typename T>
void compare(std::string_view what, const T& expected, const T& found, Lines& out) {
    if (expected != found) out.push_back(fmt::format("{}: expected {}, found {}", what, expected, found));
}

void compareSelection(const Expectation& expect, const Run& run, Lines& out) {
    const Selection found(run.outcome.selection.begin(), run.outcome.selection.end());
    if (expect.list) compare("list", join(*expect.list), join(run.selectList), out);
    if (expect.selection) compare("selection", text(*expect.selection), text(found), out);
}

void compareChecks(const Expectation& expect, const Run& run, Lines& out) {
    const auto& found = run.outcome.checks;
    if (!expect.checks) return;
    if (expect.checks->empty()) compare("frames checked", size_t{0}, found.size(), out);
    for (const auto& [frame, flags] : *expect.checks) {
        const auto check = found.find(frame);
        const std::string came = check != found.end() ? text(check->second) : "not checked";
        compare(checkOf(frame), text(flags), came, out);
    }
}

std::string messageText(const desk::LogLine& line) {
    const auto message = splitMessage(line.message);
    return message ? std::string(message->text) : line.message;
}

// A message as case files give it: bare, or behind "D ZoCamHAL MotionZSLSelector.cpp isSelectorNeeded: ".
bool isLine(const desk::LogLine& line, const std::string& expected) {
    const auto message = splitMessage(line.message);
    if (!message) return expected == line.message;
    return expected == message->text || expected == fmt::format("{} {} {} {}: {}", levelOf(line), line.tag,
                                                                message->file, message->function, message->text);
}

void compareWholeLog(const Lines& expected, const Log& log, Lines& out) {
    const auto [found, missed] = std::mismatch(log.begin(), log.end(), expected.begin(), expected.end(), isLine);
    std::string wanted = "the end of the log";
    std::string came = wanted;
    if (missed != expected.end()) wanted = '"' + *missed + '"';
    if (found != log.end()) came = '"' + messageText(*found) + '"';
    compare(fmt::format("log message {}", missed - expected.begin() + 1), wanted, came, out);
}

// In this order, whatever stands between them.
void findLines(const Lines& expected, const Log& log, Lines& out) {
    auto at = log.begin();
    for (const std::string& wanted : expected) {
        const auto found = std::find_if(at, log.end(), [&](const desk::LogLine& line) { return isLine(line, wanted); });
        if (found == log.end()) {
            out.push_back(fmt::format("log: expected, after message {}, \"{}\", found no such message",
                                      at - log.begin(), wanted));
            return;
        }
        at = std::next(found);
    }
}

// Those of `frames` that are not in `others`, as often as they are missing there.
FrameList missingFrom(FrameList frames, FrameList others) {
    std::sort(frames.begin(), frames.end());
    std::sort(others.begin(), others.end());
    FrameList missing;
    std::set_difference(frames.begin(), frames.end(), others.begin(), others.end(), std::back_inserter(missing));
    return missing;
}

}  // namespace

Lines differencesFromExpected(const Finding& finding) {
    Lines out;
    const Expectation& expect = finding.request.expect;
    if (expect.gate) compare("gate", *expect.gate, finding.run.outcome.needed, out);
    if (expect.result) compare("result", *expect.result, finding.run.result, out);
    if (expect.targetNs) compare("target", text(expect.targetNs), text(finding.account.targetNs), out);
    if (expect.anchor) compare("anchor", text(expect.anchor), text(finding.anchor), out);
    compareSelection(expect, finding.run, out);
    compareChecks(expect, finding.run, out);
    if (expect.log) compareWholeLog(*expect.log, finding.run.log, out);
    findLines(expect.logHas, finding.run.log, out);
    return out;
}

Difference differenceOf(const Run& before, const Run& after) {
    Difference difference;
    difference.gained = missingFrom(after.chosen(), before.chosen());
    difference.lost = missingFrom(before.chosen(), after.chosen());
    difference.reordered = difference.gained.empty() && difference.lost.empty() && before.chosen() != after.chosen();
    // Answers that no list of frames and not always a log line shows.
    const auto answered = [&difference](std::string_view what, const auto& was, const auto& now) {
        if (was != now) difference.answers.push_back(fmt::format("{}: was {}, now {}", what, was, now));
    };
    answered("gate", before.outcome.needed, after.outcome.needed);
    answered("result", before.result, after.result);
    for (const auto& [frame, check] : before.outcome.checks) {
        const auto now = after.outcome.checks.find(frame);  // only a frame that is chosen is checked
        if (now != after.outcome.checks.end()) answered(checkOf(frame), text(check), text(now->second));
    }
    const auto [was, now] =
        std::mismatch(before.trace.begin(), before.trace.end(), after.trace.begin(), after.trace.end());
    if (was == before.trace.end() && now == after.trace.end()) return difference;
    const std::string none = "nothing more";
    difference.firstStep = {static_cast<size_t>(was - before.trace.begin()) + 1,
                            was != before.trace.end() ? *was : none, now != after.trace.end() ? *now : none};
    return difference;
}

}  // namespace replay
