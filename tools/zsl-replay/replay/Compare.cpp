#include "replay/Compare.h"

#include <algorithm>
#include <iterator>

#include "account/LogLine.h"
#include "capture/Text.h"

namespace replay {

namespace {

using Lines = std::vector<std::string>;

void compare(const std::string& what, const std::string& expected, const std::string& found, Lines& out) {
    if (expected != found) out.push_back(what + ": expected " + expected + ", found " + found);
}

std::string text(bool flag) { return flag ? "true" : "false"; }

std::string text(const zohal::ZSLSelectorResult& check) { return text(check.first) + ' ' + text(check.second); }

std::string messageText(const std::string& logged) {
    const auto message = splitMessage(logged);
    return message ? std::string(message->text) : logged;
}

std::string text(const std::map<uint32_t, FrameList>& selection) {
    std::string all;
    for (const auto& [id, frames] : selection) {
        all += (all.empty() ? "" : "; ") + ("queue " + std::to_string(id)) + ": " + join(frames);
    }
    return all.empty() ? "nothing selected" : all;
}

template <typename T>
std::string text(const std::optional<T>& number) {
    return number ? std::to_string(*number) : "none";
}

void compareSelection(const Request& request, const Run& run, Lines& out) {
    const std::map<uint32_t, FrameList> found(run.outcome.selection.begin(), run.outcome.selection.end());
    if (request.expect.selection) {
        compare("selection", text(*request.expect.selection), request.call ? join(run.selectList) : text(found), out);
    } else if (request.expect.selectionOfAll && request.call) {
        compare("list", join(*request.expect.selectionOfAll), join(run.selectList), out);
    } else if (request.expect.selectionOfAll) {
        std::map<uint32_t, FrameList> expected;
        for (const Queue& queue : request.queues) expected[queue.id] = *request.expect.selectionOfAll;
        compare("selection", text(expected), text(found), out);
    }
}

void compareChecks(const Request& request, const Run& run, Lines& out) {
    if (!request.expect.checks) return;
    if (request.expect.checks->empty()) {
        compare("frames checked", "0", std::to_string(run.outcome.checks.size()), out);
    }
    for (const auto& [frame, expected] : *request.expect.checks) {
        const auto found = run.outcome.checks.find(frame);
        compare("check of frame " + std::to_string(frame),
                text(zohal::ZSLSelectorResult{expected.first, expected.second}),
                found == run.outcome.checks.end() ? "not checked" : text(found->second), out);
    }
}

// A message as case files give it: bare, or behind "D ZoCamHAL MotionZSLSelector.cpp isSelectorNeeded: ".
bool isLine(const desk::LogLine& line, const std::string& expected) {
    const auto message = splitMessage(line.message);
    if (!message) return false;
    if (message->text == expected) return true;
    const std::string full = std::string(line.priority == 3 ? "D " : "I ") + line.tag + ' ' +
                             std::string(message->file) + ' ' + std::string(message->function) + ": " +
                             std::string(message->text);
    return full == expected;
}

std::string shown(const std::vector<desk::LogLine>& log, size_t at) {
    return at < log.size() ? '"' + messageText(log[at].message) + '"' : "the end of the log";
}

void compareLog(const Expectation& expect, const std::vector<desk::LogLine>& log, Lines& out) {
    if (expect.log) {
        const Lines& expected = *expect.log;
        size_t at = 0;
        while (at < expected.size() && at < log.size() && isLine(log[at], expected[at])) ++at;
        if (at < expected.size() || at < log.size()) {
            compare("log message " + std::to_string(at + 1),
                    at < expected.size() ? '"' + expected[at] + '"' : "the end of the log", shown(log, at), out);
        }
    }
    size_t at = 0;
    for (const std::string& expected : expect.logHas) {
        const size_t from = at;
        while (at < log.size() && !isLine(log[at], expected)) ++at;
        if (at == log.size()) {
            out.push_back("log: expected, after message " + std::to_string(from) + ", \"" + expected +
                          "\", found no such message");
            return;
        }
        ++at;
    }
}

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
    return "log \"" + messageText(trace[at].text) + '"';
}

FrameList missingFrom(FrameList frames, FrameList others) {
    std::sort(frames.begin(), frames.end());
    std::sort(others.begin(), others.end());
    FrameList missing;
    std::set_difference(frames.begin(), frames.end(), others.begin(), others.end(), std::back_inserter(missing));
    return missing;
}

// Answers that no list of frames and not always a log line shows.
std::vector<std::string> differingAnswers(const Run& before, const Run& after) {
    std::vector<std::string> answers;
    const auto compare = [&answers](const std::string& what, const std::string& was, const std::string& now) {
        if (was != now) answers.push_back(what + ": was " + was + ", now " + now);
    };
    compare("gate", text(before.outcome.needed), text(after.outcome.needed));
    compare("result", text(before.result), text(after.result));
    for (const auto& [frame, check] : after.outcome.checks) {
        const auto found = before.outcome.checks.find(frame);
        if (found == before.outcome.checks.end()) continue;  // as it was not chosen
        compare("check of frame " + std::to_string(frame), text(found->second), text(check));
    }
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
    compareChecks(finding.request, finding.run, out);
    compareLog(expect, finding.run.log, out);
    return out;
}

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
