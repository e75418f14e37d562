// A document into a case.

#include <algorithm>

#include "capture/Document.h"
#include "capture/Metadata.h"
#include "capture/Queues.h"

namespace replay {

namespace {

AdapterAnswer readAdapter(const Value& in, const AdapterAnswer& before) {
    constexpr char kPossible[] = "a motion word from 0 to 0xFFFFFFFF, or absent, empty or unavailable";
    const std::string& text = in.text(kPossible);
    if (text == "absent") {
        if (before != "absent") in.fail("an adapter that stays once it is there");
        return text;
    }
    uint32_t word = 0;
    if (text != "empty" && text != "unavailable" && !parseNumber(text, word)) in.fail(kPossible);
    return text;
}

halcore::StrategyCall readCall(const Value& in, FrameReader& frames) {
    in.map({"strategy", "frame", "zsdTs", "last", "list"});
    halcore::StrategyCall call;
    const std::vector<std::string>& known = halcore::SelectorPlugin::strategies();
    call.strategy = known[in.at("strategy").oneOf(known, "a strategy: ")];
    in.read("frame", call.fwkFrame);
    in.read("zsdTs", call.zsdTs);
    if (const Value* const last = in.find("last")) {
        call.lastZslFrame = static_cast<int32_t>(last->number<int64_t>(INT32_MIN, UINT32_MAX));
    }
    if (const Value* const list = in.find("list")) call.selectList = frames.list(*list);
    return call;
}

// Both flags at once, or one by one.
std::pair<bool, bool> readCheckResult(const Value& in) {
    if (!in.isList()) {
        const bool passed = in.oneOf({"pass", "fail"}, "two flags, or one of ") == 0;
        return {passed, passed};
    }
    const Value::List& flags = in.list("two flags");
    if (flags.size() != 2) in.fail("two flags");
    return {flags[0].boolean(), flags[1].boolean()};
}

std::vector<std::string> readLines(const Value& in) {
    std::vector<std::string> lines;
    for (const Value& each : in.list("a list of messages")) lines.push_back(each.text("a message"));
    return lines;
}

void readSelection(const Value& in, const Request& request, FrameReader& frames, Expectation& expect) {
    if (in.isMap() && in.find("first") == nullptr) {
        auto& selection = expect.selection.emplace();
        for (const auto& [queue, list] : in.map()) selection[queue.number<uint32_t>()] = frames.list(list);
    } else {
        if (!request.call && request.queues.empty()) in.fail("queues that can get such a list", "none");
        expect.selectionOfAll = frames.list(in);
    }
}

// What can't come out of a request can't be expected of it.
Expectation readExpectation(const Value& in, const Request& request, FrameReader& frames) {
    if (request.call) {
        in.map({"selection", "result", "anchor", "log", "logHas"});
    } else {
        in.map({"gate", "selection", "target", "anchor", "checks", "log", "logHas"});
    }
    Expectation expect;
    in.read("gate", expect.gate);
    in.read("result", expect.result);
    in.read("target", expect.targetNs);
    in.read("anchor", expect.anchor);
    if (const Value* const log = in.find("log")) expect.log = readLines(*log);
    if (const Value* const some = in.find("logHas")) expect.logHas = readLines(*some);
    if (const Value* const checks = in.find("checks")) {
        expect.checks.emplace();
        for (const auto& [frame, result] : checks->map()) {
            (*expect.checks)[frame.number<uint32_t>()] = readCheckResult(result);
        }
    }
    if (const Value* const selection = in.find("selection")) readSelection(*selection, request, frames, expect);
    return expect;
}

int64_t newestShutterTime(const Request& request) {
    int64_t newest = 0;
    if (const Queue* meta = request.metaQueue()) {
        for (const auto* held : {&meta->held, &meta->lost}) {
            for (const auto& [frame, data] : *held) newest = std::max(newest, data.shutterTimeNs);
        }
    }
    return newest;
}

Check readCheck(const Value& in, FrameReader& frames) {
    in.map({"camera", "role", "frames", "of", "metadata"});
    Check check;
    in.read("camera", check.camera);
    in.read("role", check.role);
    in.read("frames", check.aiHlFrames);
    if (const Value* const of = in.find("of")) check.of = frames.list(*of);
    if (const Value* const metadata = in.find("metadata")) check.metadata = readTags(*metadata);
    return check;
}

// What was asked, with what the request has by its place in the file.
std::shared_ptr<const Value> complete(const Request& request, const Value& in) {
    Value written = Value::Map{{"name", request.name}, {"frame", request.fwkFrame}, {"adapter", request.adapter}};
    for (const auto& [key, value] : in.map()) {
        if (key.text() != "expect") written[key.text()] = value;
    }
    return std::make_shared<const Value>(std::move(written));
}

Request readRequest(const Value& in, size_t position, const AdapterAnswer& before, FrameReader& frames) {
    in.map({"name", "frame", "used", "master", "need", "metadata", "adapter", "select", "clock", "queues", "call",
            "check", "expect"});
    Request request;
    request.name = "request " + std::to_string(position + 1);
    request.fwkFrame = static_cast<uint32_t>(position + 1);
    in.read("name", request.name);
    in.read("frame", request.fwkFrame);
    in.read("master", request.master);
    if (const Value* const used = in.find("used")) request.used = frames.list(*used);
    if (const Value* const need = in.find("need")) request.need = need->number<uint32_t>(0, kMostNeeded);
    if (const Value* const metadata = in.find("metadata")) request.metadata = readTags(*metadata);
    const Value* const adapter = in.find("adapter");
    request.adapter = adapter != nullptr ? readAdapter(*adapter, before) : before;
    if (const Value* const select = in.find("select")) {
        request.select = static_cast<halcore::Select>(select->oneOf({"gated", "always", "never"}, "one of "));
    }
    if (const Value* const queues = in.find("queues")) request.queues = frames.queues(*queues);
    if (const Value* const call = in.find("call")) request.call = readCall(*call, frames);
    if (const Value* const check = in.find("check")) request.check = readCheck(*check, frames);
    if (const Value* const expect = in.find("expect")) request.expect = readExpectation(*expect, request, frames);
    request.clockNs = newestShutterTime(request);
    in.read("clock", request.clockNs);
    request.written = complete(request, in);
    return request;
}

}  // namespace

Case readValue(const Value& root) {
    Case result;
    root.map({"recorded", "properties", "staticMetadata", "defaults", "requests"});
    if (const Value* const recorded = root.find("recorded")) result.recorded = recorded->number<uint32_t>(1, 1) == 1;
    if (const Value* const properties = root.find("properties")) {
        for (const auto& [key, value] : properties->map()) {
            auto& property = result.properties[key.text("a property")];
            property = value.isNull() ? std::nullopt : std::optional(value.text("a property's value"));
        }
    }
    if (const Value* const cameras = root.find("staticMetadata")) {
        for (const auto& [camera, tags] : cameras->map()) {
            result.staticMetadata[camera.number<uint32_t>()] = readTags(tags).value_or(Tags());
        }
        result.writtenStaticMetadata = std::make_shared<const Value>(*cameras);
    }
    const Value* const requests = root.find("requests");
    // Of a recorded file a crash may have come before the first was whole.
    if (result.recorded && (requests == nullptr || requests->isNull())) return result;
    FrameReader frames;
    for (const Value& each : root.at("requests").list("a list of requests")) {
        const AdapterAnswer before = result.requests.empty() ? "absent" : result.requests.back().adapter;
        result.requests.push_back(readRequest(each, result.requests.size(), before, frames));
    }
    return result;
}

}  // namespace replay
