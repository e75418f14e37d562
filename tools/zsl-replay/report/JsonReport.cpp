#include "report/JsonReport.h"

#include <nlohmann/json.hpp>

namespace replay {

using Json = nlohmann::ordered_json;

// Found by the library where a value holds one of these.

static void to_json(Json& json, const Warning& warning) {
    json = {{"kind", warning.kind}, {"certain", warning.certain}, {"text", warning.text}};
}

static void to_json(Json& json, const Difference& difference) {
    json = {{"gained", difference.gained},
            {"lost", difference.lost},
            {"reordered", difference.reordered},
            {"answers", difference.answers}};
    if (const auto& step = difference.firstStep) {
        json["firstStep"] = {{"number", step->number}, {"before", step->before}, {"after", step->after}};
    }
}

static void to_json(Json& json, const FrameReason& reason) {
    json = {{"frame", reason.frame}, {"list", reason.list}, {"position", reason.position}};
    if (reason.offsetNs) json["offset"] = *reason.offsetNs;
    json["queues"] = reason.queues;
    json["reason"] = reason.reason;
}

namespace {

void addRequest(const Finding& finding, Json& json) {
    const Request& request = finding.request;
    const Queue* meta = request.metaQueue();
    if (finding.showsFrame()) json["frame"] = request.fwkFrame;
    if (const auto& log = finding.log) {
        const LoggedLine& first = log->firstLine;
        json.update({{"process", first.pid}, {"thread", first.tid}, {"time", first.time}});
    }
    json["recorded"] = finding.platform.recorded;
    const bool showsNeed = !finding.log || finding.log->account.driver;
    if (showsNeed) json.update({{"need", request.need}, {"master", request.master}});
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
    if (finding.canServe() && finding.showsGate()) json["gate"] = outcome.needed;
    if (finding.canServe()) json["selected"] = outcome.selected;
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
    json.update({{"warnings", finding.warnings}, {"differences", finding.differences}});
}

}  // namespace

std::string jsonOf(const Finding& finding, LogChannel log, bool explains) {
    Json json = {{"file", finding.file}, {"request", finding.request.name}, {"number", finding.number}};
    addRequest(finding, json);
    addOutcome(finding, json);
    const Evidence none;
    const Evidence& evidence = finding.log ? *finding.log : none;
    if (finding.log) json.update({{"certain", evidence.certain}, {"possible", evidence.possible}});
    if (!evidence.open.empty()) json["open"] = evidence.open;
    if (finding.log) json.update({{"lines", evidence.lines}, {"reproduced", evidence.reproduced}});
    json.update({{"assumptions", evidence.assumptions}, {"missing", evidence.missing}, {"notes", finding.notes}});
    if (finding.whatIf) json["whatIf"] = *finding.whatIf;
    if (finding.against && !finding.against->none()) json["against"] = *finding.against;
    if (explains) json["explain"] = finding.explain;
    if (log != nullptr) {
        json["log"] = Json::array();
        for (const desk::LogLine& line : finding.run.*log) json["log"].push_back(desk::threadtime(line));
    }
    // Names of files and queues need not be UTF-8. Characters beyond ASCII are escaped: some move a terminal's cursor.
    return json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + '\n';
}

}  // namespace replay
