#include "report/SavedCase.h"

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
        Value::Map selection;
        for (const auto& [queue, frames] : outcome.selection) selection.emplace_back(queue, frames);
        expect["selection"] = std::move(selection);
    }
    return expect;
}

std::vector<std::string> commentsOn(const Finding& finding) {
    if (!finding.log) return {};
    const Evidence& log = *finding.log;
    std::vector<std::string> comments = {std::to_string(log.reproduced) + " of " + std::to_string(log.lines) +
                                         " lines reproduced"};
    for (const std::string& each : log.assumptions) comments.push_back("assumed: " + each);
    for (const std::string& each : log.missing) comments.push_back("missing: " + each);
    if (log.settled()) return comments;
    comments.push_back("no selection is expected: certain are " + join(log.certain) + ", possible " +
                       join(log.possible) + "; " +
                       (log.open.empty() ? "no line shows which frame was used last" : log.open));
    return comments;
}

}  // namespace

SavedCase::SavedCase(const std::string& file, const std::vector<std::string>& inputs, std::vector<std::string> comments)
    : mOut(file, inputs), mComments(std::move(comments)) {}

void SavedCase::add(const Finding& finding) {
    std::string obstacle = finding.log ? finding.log->obstacle : "";
    if (obstacle.empty() && mPlatform && finding.platform.properties != mPlatform->properties) {
        obstacle = "it was served with other properties";
    }
    if (!obstacle.empty()) {
        mComments.push_back("left out: " + finding.request.name + ": " + obstacle);
        return;
    }
    std::vector<std::string> comments = commentsOn(finding);
    if (!mPlatform) {
        printHead(mOut.stream(), finding.platform, mComments);
    } else {
        comments.insert(comments.begin(), mComments.begin(), mComments.end());
    }
    mComments.clear();
    mPlatform = finding.platform;
    Value request = valueOf(finding.request);
    request["expect"] = expectationOf(finding);
    printRequest(mOut.stream(), request, comments);
}

void SavedCase::finish() {
    if (!mPlatform) throw std::runtime_error("--save-case: expected a request that can be replayed, found none");
    for (const std::string& comment : mComments) mOut.stream() << "# " << printable(comment) << '\n';
    mOut.keep();
}

}  // namespace replay
