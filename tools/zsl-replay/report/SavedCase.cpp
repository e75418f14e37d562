#include "report/SavedCase.h"

#include <fmt/format.h>

#include "account/LogLine.h"
#include "capture/Text.h"

namespace replay {

namespace {

// Messages with an address in them come out otherwise each time.
std::vector<std::string> repeatableMessages(const Run& run) {
    std::vector<std::string> messages;
    for (const desk::LogLine& line : run.log) {
        const auto message = splitMessage(line.message);
        if (message && withoutAddress(message->text) == message->text) messages.emplace_back(message->text);
    }
    return messages;
}

Value expectationOf(const Finding& finding) {
    if (finding.request.call) {
        return Value::Map{{"result", finding.run.result}, {"selection", finding.run.selectList}};
    }
    Value expect = Value::Map();
    const halcore::RequestOutcome& outcome = finding.run.outcome;
    if (finding.showsGate()) expect["gate"] = outcome.needed;
    if (finding.log && !finding.log->settled()) {
        expect["logHas"] = repeatableMessages(finding.run);
    } else if (outcome.selected) {
        expect["selection"] = outcome.selection;
    }
    return expect;
}

}  // namespace

SavedCase::SavedCase(const std::string& file, const std::vector<std::string>& inputs, const std::string& origin)
    : mOut(file, inputs) {
    comment(origin);
}

void SavedCase::add(const Finding& finding) {
    std::string obstacle = finding.log ? finding.log->obstacle : "";
    if (obstacle.empty() && mPlatform && finding.platform.properties != mPlatform->properties) {
        obstacle = "it was served with other properties";
    }
    if (!obstacle.empty()) return comment(fmt::format("left out: {}: {}", finding.request.name, obstacle));
    if (!mPlatform) printHead(mOut.stream(), mPlatform.emplace(finding.platform));
    if (finding.log) commentOn(*finding.log);
    Value request = valueOf(finding.request);
    request["expect"] = expectationOf(finding);
    printRequest(mOut.stream(), request);
}

void SavedCase::comment(const std::string& text) { mOut.stream() << "# " << printable(text) << '\n'; }

void SavedCase::commentOn(const Evidence& log) {
    comment(fmt::format("{} of {} lines reproduced", log.reproduced, log.lines));
    for (const std::string& each : log.assumptions) comment("assumed: " + each);
    for (const std::string& each : log.missing) comment("missing: " + each);
    if (log.settled()) return;
    comment(fmt::format("no selection is expected: certain are {}, possible {}; {}", join(log.certain),
                        join(log.possible), log.open.empty() ? "no line shows which frame was used last" : log.open));
}

void SavedCase::finish() {
    if (!mPlatform) throw std::runtime_error("--save-case: expected a request that can be replayed, found none");
    mOut.keep();
}

}  // namespace replay
