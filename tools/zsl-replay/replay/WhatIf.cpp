#include "replay/WhatIf.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "account/Messages.h"
#include "replay/Expect.h"
#include "report/Report.h"

namespace replay {

namespace {

std::string described(const std::vector<TraceStep>& trace, size_t at) {
    if (at >= trace.size()) return "nothing more";
    if (trace[at].kind == TraceStep::kCall) return "call " + trace[at].text;
    const auto message = splitMessage(trace[at].text);
    return "log \"" + (message ? std::string(message->text) : trace[at].text) + '"';
}

// Without the selector's own address, which the frame check logs and which no two runs share.
bool isSame(const TraceStep& a, const TraceStep& b) {
    const auto shared = [](const TraceStep& step) { return step.text.substr(0, step.text.find(" this = 0x")); };
    return a.kind == b.kind && shared(a) == shared(b);
}

FrameList missingFrom(FrameList frames, FrameList others) {
    std::sort(frames.begin(), frames.end());
    std::sort(others.begin(), others.end());
    FrameList missing;
    std::set_difference(frames.begin(), frames.end(), others.begin(), others.end(), std::back_inserter(missing));
    return missing;
}

Expectation expectationOf(const Request& request, const Run& run) {
    Expectation expect;
    if (request.call) {
        expect.result = run.result;
        expect.selectionOfAll = run.selectList;
    } else {
        expect.gate = run.outcome.needed;
        expect.selection.emplace(run.outcome.selection.begin(), run.outcome.selection.end());
    }
    return expect;
}

}  // namespace

RunDifference compareRuns(const Run& before, const Run& after) {
    RunDifference difference;
    difference.gained = missingFrom(after.chosen(), before.chosen());
    difference.lost = missingFrom(before.chosen(), after.chosen());
    difference.reordered = difference.gained.empty() && difference.lost.empty() && before.chosen() != after.chosen();
    // Answers that no list of frames and not always a log line shows.
    Request asBefore;
    asBefore.expect.gate = before.outcome.needed;
    asBefore.expect.result = before.result;
    std::map<uint32_t, std::pair<bool, bool>> checks;
    for (const auto& [frame, check] : after.outcome.checks) {
        const auto found = before.outcome.checks.find(frame);
        if (found != before.outcome.checks.end()) checks[frame] = {found->second.first, found->second.second};
    }
    if (!checks.empty()) asBefore.expect.checks = checks;
    for (std::string answer : differences(asBefore, after)) {
        answer.replace(answer.find("expected"), 8, "was");
        answer.replace(answer.rfind("found"), 5, "now");
        difference.answers.push_back(answer);
    }
    const size_t most = std::max(before.trace.size(), after.trace.size());
    for (size_t i = 0; i < most && !difference.firstStep; ++i) {
        const bool same = i < before.trace.size() && i < after.trace.size() && isSame(before.trace[i], after.trace[i]);
        if (!same) difference.firstStep = {i + 1, described(before.trace, i), described(after.trace, i)};
    }
    return difference;
}

void reportDifference(std::ostream& out, const RunDifference& difference) {
    if (difference.none()) {
        out << "  what if    nothing differs: the same frames, library calls and log lines\n";
        return;
    }
    out << "  gained     " << join(difference.gained) << '\n' << "  lost       " << join(difference.lost) << '\n';
    if (difference.reordered) out << "  order      the same frames in another order\n";
    for (const std::string& answer : difference.answers) out << "  answer     " << answer << '\n';
    if (!difference.firstStep) return;
    out << "  differs    from step " << difference.firstStep->number << " of the library's calls and log lines:\n"
        << "    before   " << difference.firstStep->before << '\n'
        << "    after    " << difference.firstStep->after << '\n';
}

nlohmann::ordered_json differenceJson(const RunDifference& difference) {
    nlohmann::ordered_json json = {{"gained", difference.gained},
                                   {"lost", difference.lost},
                                   {"reordered", difference.reordered},
                                   {"answers", difference.answers}};
    if (const auto& step = difference.firstStep) {
        json["firstStep"] = {{"number", step->number}, {"before", step->before}, {"after", step->after}};
    }
    return json;
}

void saveVariant(const std::string& file, const Variant& variant, const std::vector<Run>& runs,
                 const Changes& changes) {
    std::vector<Expectation> expectations;
    for (size_t i = 0; i < runs.size(); ++i) {
        expectations.push_back(expectationOf(variant.changed.requests[i], runs[i]));
    }
    const Document document = expecting(variant.document, expectations);
    std::ofstream out(file);
    printHead(out, document,
              {"A variant of " + variant.changed.file + " with " + changes.words(), "It expects what came out of it."});
    printRequests(out, document, {});
    out.flush();
    if (!out) throw InputError(file + ": expected a file that can be written, found none");
}

}  // namespace replay
