#include "replay/WhatIf.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "capture/CaseReader.h"
#include "capture/Settings.h"

namespace replay {

namespace {

// A change stands nowhere in the file: the place that an error names is left out.
[[noreturn]] void fail(const std::string& change, const std::string& file, std::string what) {
    const size_t at = what.find(": expected ", std::min(file.size(), what.size()));
    if (at != std::string::npos) what.erase(0, at + 2);
    throw InputError(change + ": " + what);
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
