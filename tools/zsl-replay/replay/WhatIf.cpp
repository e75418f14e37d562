#include "replay/WhatIf.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "capture/CaseReader.h"
#include "replay/Expect.h"
#include "account/Messages.h"
#include "report/Report.h"
#include "capture/Settings.h"

namespace replay {

namespace {

// A change stands nowhere in the file: the place that an error names is left out.
[[noreturn]] void fail(const std::string& change, const std::string& file, std::string what) {
    const size_t at = what.find(": expected ", std::min(file.size(), what.size()));
    if (at != std::string::npos) what.erase(0, at + 2);
    throw InputError(change + ": " + what);
}

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

std::string flowList(const FrameList& frames) {
    std::string text;
    for (const uint32_t frame : frames) text += (text.empty() ? "" : ", ") + std::to_string(frame);
    return '[' + text + ']';
}

std::string expectationOf(const Request& request, const Run& run) {
    if (request.call) {
        return std::string("{result: ") + (run.result ? "true" : "false") + ", selection: " + flowList(run.selectList) +
               '}';
    }
    std::string selection;
    for (const auto& [id, frames] : run.outcome.selection) {
        selection += (selection.empty() ? "" : ", ") + std::to_string(id) + ": " + flowList(frames);
    }
    return std::string("{gate: ") + (run.outcome.needed ? "true" : "false") + ", selection: {" + selection + "}}";
}

}  // namespace

std::string Changes::words() const {
    std::string text;
    for (const std::string& setting : settings) text += (text.empty() ? "--set " : " --set ") + setting;
    for (const std::string& drop : drops) text += (text.empty() ? "--drop " : " --drop ") + drop;
    return text;
}

Variant makeVariant(const Case& theCase, const YAML::Node& tree, const Changes& changes) {
    Variant variant{tree, theCase};
    const auto apply = [&](const std::string& option, const std::string& value, const auto& change) {
        try {
            variant.tree.reset(change(variant.tree));
            variant.changed = readCase(theCase.file, variant.tree);
        } catch (const std::runtime_error& error) {
            fail(option + ' ' + value, theCase.file, error.what());
        }
    };
    for (const std::string& setting : changes.settings) {
        apply("--set", setting, [&](const YAML::Node& root) { return withSetting(root, setting); });
    }
    for (const std::string& drop : changes.drops) {
        apply("--drop", drop, [&](const YAML::Node& root) { return withoutFrame(root, variant.changed, drop); });
    }
    return variant;
}

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
    YAML::Node tree = variant.tree;
    for (size_t i = 0; i < runs.size(); ++i) {
        tree.reset(withRequestKey(tree, i, "expect", YAML::Load(expectationOf(variant.changed.requests[i], runs[i]))));
    }
    std::string origin = variant.changed.file + " with " + changes.words();
    std::replace(origin.begin(), origin.end(), '\n', ' ');
    YAML::Emitter text;
    text << tree;
    std::ofstream out(file);
    out << "# A variant of " << origin << "\n# It expects what came out of it.\n" << text.c_str() << std::endl;
    if (!out) throw InputError(file + ": expected a file that can be written, found none");
}

}  // namespace replay
