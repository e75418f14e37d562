#include "report/JsonReport.h"

#include <nlohmann/json.hpp>

namespace replay {

namespace {

using Json = nlohmann::ordered_json;

Json differenceJson(const Difference& difference) {
    Json json = {{"gained", difference.gained},
                 {"lost", difference.lost},
                 {"reordered", difference.reordered},
                 {"answers", difference.answers}};
    if (const auto& step = difference.firstStep) {
        json["firstStep"] = {{"number", step->number}, {"before", step->before}, {"after", step->after}};
    }
    return json;
}

Json reasonJson(const FrameReason& reason) {
    Json json = {{"frame", reason.frame}, {"list", reason.list}, {"position", reason.position}};
    if (reason.offsetNs) json["offset"] = *reason.offsetNs;
    json["queues"] = reason.queues;
    json["reason"] = reason.reason;
    return json;
}

// An array with an element for each, which `as` makes.
template <typename Range, typename As>
Json arrayOf(const Range& range, const As& as) {
    Json array = Json::array();
    for (const auto& each : range) array.push_back(as(each));
    return array;
}

void addRequest(const Finding& finding, Json& json) {
    const Request& request = finding.request;
    const Queue* meta = request.metaQueue();
    json["request"] = request.name;
    json["number"] = finding.number;
    if (finding.showsFrame) json["frame"] = request.fwkFrame;
    if (const auto& log = finding.log) {
        json["process"] = log->process;
        json["thread"] = log->thread;
        json["time"] = log->time;
    }
    json["recorded"] = finding.platform.recorded;
    if (!finding.log || finding.account.driver) {  // a refused request's log does not tell
        json["need"] = request.need;
        json["master"] = request.master;
    }
    if (finding.account.driver) json["sensorMode"] = finding.account.driver->sensorModeType;
    json["consumer"] = meta != nullptr ? meta->consumer : FrameList();
    json["producer"] = meta != nullptr ? meta->producer : FrameList();
    json["shutter"] = Json::object();
    for (const auto& [frame, data] : finding.frames) {
        if (!data.assumed) json["shutter"][std::to_string(frame)] = data.shutterTimeNs;
    }
}

void addOutcome(const Finding& finding, Json& json) {
    const halcore::RequestOutcome& outcome = finding.run.outcome;
    if (isRebuilt(finding) && (!finding.log || finding.log->showsGate)) json["gate"] = outcome.needed;
    if (isRebuilt(finding)) json["selected"] = outcome.selected;
    json["strategies"] = finding.account.strategies;
    if (finding.targetNs) json["target"] = *finding.targetNs;
    if (finding.anchor) json["anchor"] = *finding.anchor;
    if (finding.anchorDistanceNs) json["anchorDistance"] = *finding.anchorDistanceNs;
    json["selection"] = Json::object();
    for (const auto& [id, frames] : outcome.selection) json["selection"][std::to_string(id)] = frames;
    if (finding.request.call) json["call"] = {{"result", finding.run.result}, {"list", finding.run.selectList}};
    json["checks"] = Json::object();
    for (const auto& [frame, check] : outcome.checks) {
        json["checks"][std::to_string(frame)] = {check.first, check.second};
    }
    json["warnings"] = arrayOf(finding.warnings, [](const Warning& warning) {
        return Json{{"kind", warning.kind}, {"certain", warning.certain}, {"text", warning.text}};
    });
    json["differences"] = finding.differences;
}

void addEvidence(const Evidence& log, Json& json) {
    json["certain"] = log.certain;
    json["possible"] = log.possible;
    if (!log.open.empty()) json["open"] = log.open;
    json["lines"] = log.lines;
    json["reproduced"] = log.reproduced;
}

}  // namespace

std::string jsonOf(const Finding& finding, LogChannel log, bool explains) {
    Json json;
    json["file"] = finding.file;
    addRequest(finding, json);
    addOutcome(finding, json);
    if (finding.log) addEvidence(*finding.log, json);
    json["assumptions"] = finding.log ? finding.log->assumptions : std::vector<std::string>();
    json["missing"] = finding.log ? finding.log->missing : std::vector<std::string>();
    json["notes"] = finding.notes;
    if (finding.whatIf) json["whatIf"] = differenceJson(*finding.whatIf);
    if (finding.against && !finding.against->none()) json["against"] = differenceJson(*finding.against);
    if (explains) json["explain"] = arrayOf(finding.explain, reasonJson);
    if (log != LogChannel::kNone) json["log"] = arrayOf(logOf(finding.run, log), desk::threadtime);
    // Names of files and queues need not be UTF-8. Characters beyond ASCII are escaped: some move a terminal's cursor.
    return json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + '\n';
}

}  // namespace replay
