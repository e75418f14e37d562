#include "replay/Compare.h"

#include <android/log.h>

#include <algorithm>
#include <iterator>

#include "account/LogLine.h"
#include "capture/Text.h"

namespace replay {

namespace {

using Lines = std::vector<std::string>;
using Selection = std::map<uint32_t, FrameList>;  // by queue
using Log = std::vector<desk::LogLine>;

std::string text(bool flag) { return flag ? "true" : "false"; }

std::string text(const zohal::ZSLSelectorResult& check) { return text(check.first) + ' ' + text(check.second); }

template <typename T>
std::string text(const std::optional<T>& number) {
    return number ? std::to_string(*number) : "none";
}

std::string text(const Selection& selection) {
    std::string all;
    for (const auto& [id, frames] : selection) append(all, "queue " + std::to_string(id) + ": " + join(frames), "; ");
    return all.empty() ? "nothing selected" : all;
}

std::string checkOf(uint32_t frame) { return "check of frame " + std::to_string(frame); }

void compare(const std::string& what, const std::string& expected, const std::string& found, Lines& out) {
    if (expected != found) out.push_back(what + ": expected " + expected + ", found " + found);
}

void compareSelection(const Request& request, const Run& run, Lines& out) {
    std::optional<Selection> expected = request.expect.selection;
    if (const auto& list = request.expect.selectionOfAll) {
        if (request.call) return compare("list", join(*list), join(run.selectList), out);
        expected.emplace();
        for (const Queue& queue : request.queues) expected->emplace(queue.id, *list);
    }
    const Selection found(run.outcome.selection.begin(), run.outcome.selection.end());
    if (expected) compare("selection", text(*expected), request.call ? join(run.selectList) : text(found), out);
}

void compareChecks(const Expectation& expect, const Run& run, Lines& out) {
    const auto& found = run.outcome.checks;
    if (!expect.checks) return;
    if (expect.checks->empty()) compare("frames checked", "0", std::to_string(found.size()), out);
    for (const auto& [frame, flags] : *expect.checks) {
        const auto check = found.find(frame);
        compare(checkOf(frame), text(zohal::ZSLSelectorResult{flags.first, flags.second}),
                check != found.end() ? text(check->second) : "not checked", out);
    }
}

std::string messageText(const desk::LogLine& line) {
    const auto message = splitMessage(line.message);
    return message ? std::string(message->text) : line.message;
}

// A message as case files give it: bare, or behind "D ZoCamHAL MotionZSLSelector.cpp isSelectorNeeded: ".
bool isLine(const desk::LogLine& line, const std::string& expected) {
    const auto message = splitMessage(line.message);
    const std::string level = line.priority == ANDROID_LOG_DEBUG ? "D " : "I ";
    const std::string text = messageText(line);
    return expected == text || (message && expected == level + line.tag + ' ' + std::string(message->file) + ' ' +
                                                           std::string(message->function) + ": " + text);
}

void compareWholeLog(const Lines& expected, const Log& log, Lines& out) {
    const auto [found, missed] = std::mismatch(log.begin(), log.end(), expected.begin(), expected.end(), isLine);
    if (found == log.end() && missed == expected.end()) return;
    std::string wanted = "the end of the log";
    std::string came = wanted;
    if (missed != expected.end()) wanted = '"' + *missed + '"';
    if (found != log.end()) came = '"' + messageText(*found) + '"';
    compare("log message " + std::to_string(missed - expected.begin() + 1), wanted, came, out);
}

// In this order, whatever stands between them.
void findLines(const Lines& expected, const Log& log, Lines& out) {
    auto next = expected.begin();
    auto after = log.begin();
    for (auto line = log.begin(); line != log.end() && next != expected.end(); ++line) {
        if (!isLine(*line, *next)) continue;
        ++next;
        after = std::next(line);
    }
    if (next == expected.end()) return;
    out.push_back("log: expected, after message " + std::to_string(after - log.begin()) + ", \"" + *next +
                  "\", found no such message");
}

// Those of `frames` that are not in `others`, as often as they are missing there.
FrameList missingFrom(FrameList frames, FrameList others) {
    std::sort(frames.begin(), frames.end());
    std::sort(others.begin(), others.end());
    FrameList missing;
    std::set_difference(frames.begin(), frames.end(), others.begin(), others.end(), std::back_inserter(missing));
    return missing;
}

// Answers that no list of frames and not always a log line shows, by what was asked.
std::map<std::string, std::string> answersOf(const Run& run) {
    std::map<std::string, std::string> answers = {{"gate", text(run.outcome.needed)}, {"result", text(run.result)}};
    for (const auto& [frame, check] : run.outcome.checks) answers[checkOf(frame)] = text(check);
    return answers;
}

}  // namespace

Lines differencesFromExpected(const Finding& finding) {
    Lines out;
    const Expectation& expect = finding.request.expect;
    if (expect.gate) compare("gate", text(*expect.gate), text(finding.run.outcome.needed), out);
    if (expect.result) compare("result", text(*expect.result), text(finding.run.result), out);
    if (expect.targetNs) compare("target", text(expect.targetNs), text(finding.account.targetNs), out);
    if (expect.anchor) compare("anchor", text(expect.anchor), text(finding.anchor), out);
    compareSelection(finding.request, finding.run, out);
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
    const auto answers = answersOf(after);
    for (const auto& [what, was] : answersOf(before)) {
        const auto now = answers.find(what);  // only a frame that is chosen is checked
        if (now != answers.end() && now->second != was) {
            std::string& answer = difference.answers.emplace_back(what);
            answer.append(": was ").append(was).append(", now ").append(now->second);
        }
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
