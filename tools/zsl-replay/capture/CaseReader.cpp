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

halcore::StrategyCall readCall(const Value& in, FrameBudget& budget) {
    in.asMap({"strategy", "frame", "zsdTs", "last", "list"});
    halcore::StrategyCall call;
    const std::vector<std::string>& known = halcore::SelectorPlugin::strategies();
    call.strategy = known[in["strategy"].oneOf(known, "a strategy: ")];
    if (in["frame"]) call.fwkFrame = in["frame"].number<uint32_t>();
    readNumber(in["zsdTs"], call.zsdTs);
    if (in["last"]) call.lastZslFrame = static_cast<int32_t>(in["last"].number<int64_t>(INT32_MIN, UINT32_MAX));
    if (in["list"]) call.selectList = readFrameList(in["list"], budget);
    return call;
}

// Both flags at once, or one by one.
std::pair<bool, bool> readCheckResult(const Value& in) {
    if (!in.isList()) {
        const bool passed = in.oneOf({"pass", "fail"}, "two flags, or one of ") == 0;
        return {passed, passed};
    }
    const auto flags = in.elements("two flags");
    if (flags.size() != 2) in.fail("two flags");
    return {flags[0].boolean(), flags[1].boolean()};
}

std::vector<std::string> readLines(const Value& in) {
    std::vector<std::string> lines;
    for (const Value& each : in.elements("a list of messages")) lines.push_back(each.text("a message"));
    return lines;
}

// What can't come out of a request can't be expected of it.
Expectation readExpectation(const Value& in, const Request& request, FrameBudget& budget) {
    if (request.call) {
        in.asMap({"selection", "result", "anchor", "log", "logHas"});
    } else {
        in.asMap({"gate", "selection", "target", "anchor", "checks", "log", "logHas"});
    }
    Expectation expect;
    if (in["gate"]) expect.gate = in["gate"].boolean();
    if (in["result"]) expect.result = in["result"].boolean();
    if (in["target"]) expect.targetNs = in["target"].number<int64_t>();
    if (in["anchor"]) expect.anchor = in["anchor"].number<uint32_t>();
    if (in["log"]) expect.log = readLines(in["log"]);
    if (in["logHas"]) expect.logHas = readLines(in["logHas"]);
    if (in["checks"]) {
        expect.checks.emplace();
        in["checks"].asMap().forEach([&](const Value& key, const Value& value) {
            (*expect.checks)[key.number<uint32_t>()] = readCheckResult(value);
        });
    }
    const Value selection = in["selection"];
    if (selection && selection.isMap() && !selection["first"]) {
        expect.selection.emplace();
        selection.asMap().forEach([&](const Value& key, const Value& value) {
            (*expect.selection)[key.number<uint32_t>()] = readFrameList(value, budget);
        });
    } else if (selection) {
        if (!request.call && request.queues.empty()) selection.fail("queues that can get such a list", "none");
        expect.selectionOfAll = readFrameList(selection, budget);
    }
    return expect;
}

int64_t newestShutterTime(const Request& request) {
    int64_t newest = 0;
    if (const Queue* meta = request.metaQueue()) {
        for (const auto* frames : {&meta->held, &meta->lost}) {
            for (const auto& [frame, data] : *frames) newest = std::max(newest, data.shutterTimeNs);
        }
    }
    return newest;
}

halcore::Select readSelect(const Value& in) {
    return static_cast<halcore::Select>(in.oneOf({"gated", "always", "never"}, "one of "));
}

Check readCheck(const Value& in, FrameBudget& budget) {
    in.asMap({"camera", "role", "frames", "of", "metadata"});
    Check check;
    readNumber(in["camera"], check.camera);
    readNumber(in["role"], check.role);
    readNumber(in["frames"], check.aiHlFrames);
    if (in["of"]) check.of = readFrameList(in["of"], budget);
    if (in["metadata"]) check.metadata = readTags(in["metadata"]);
    return check;
}

Request readRequest(const Value& in, size_t position, const AdapterAnswer& before, FrameBudget& budget) {
    Request request;
    request.name = in["name"] ? in["name"].text("a name") : "request " + std::to_string(position + 1);
    request.fwkFrame = static_cast<uint32_t>(position + 1);
    readNumber(in["frame"], request.fwkFrame);
    if (in["used"]) request.used = readFrameList(in["used"], budget);
    readNumber(in["master"], request.master);
    if (in["need"]) request.need = in["need"].number<uint32_t>(0, kMostNeeded);
    if (in["metadata"]) request.metadata = readTags(in["metadata"]);
    request.adapter = in["adapter"] ? readAdapter(in["adapter"], before) : before;
    if (in["select"]) request.select = readSelect(in["select"]);
    if (in["queues"]) request.queues = readQueues(in["queues"], budget);
    if (in["call"]) request.call = readCall(in["call"], budget);
    if (in["check"]) request.check = readCheck(in["check"], budget);
    if (in["expect"]) request.expect = readExpectation(in["expect"], request, budget);
    request.clockNs = newestShutterTime(request);
    readNumber(in["clock"], request.clockNs);
    return request;
}

void readProperties(const Value& in, Case& result) {
    in.asMap().forEach([&](const Value& key, const Value& value) {
        auto& property = result.properties[key.text("a property")];
        property = value.isNull() ? std::nullopt : std::optional(value.text("a property's value"));
    });
}

void readRequests(const Node& root, Case& result) {
    const Value list = Value(root)["requests"];
    if (result.recorded && (!list || list.isNull())) return;  // a crash came before the first was whole
    const NodePtr defaults = find(root, "defaults");
    const Value::Words keys = {"name",   "frame", "used",   "master", "need",  "metadata", "adapter",
                               "select", "clock", "queues", "call",   "check", "expect"};
    if (defaults != nullptr) Value(defaults).asMap(keys);
    FrameBudget budget;
    for (const Value& own : list.elements("a list of requests")) {
        Node request = own.asMap(keys).node();
        if (defaults != nullptr) merge(request, *defaults);
        const AdapterAnswer before = result.requests.empty() ? "absent" : result.requests.back().adapter;
        result.requests.push_back(readRequest(Value(request), result.requests.size(), before, budget));
    }
}

}  // namespace

Case readNodes(const Document& document) {
    Case result;
    result.file = document.file;
    result.cutOff = document.cutOff;
    Value in(document.root);
    in.asMap({"recorded", "properties", "staticMetadata", "defaults", "requests"});
    if (in["recorded"]) result.recorded = in["recorded"].number<uint32_t>(1, 1) == 1;
    if (in["properties"]) readProperties(in["properties"], result);
    if (in["staticMetadata"]) {
        in["staticMetadata"].asMap().forEach([&](const Value& key, const Value& value) {
            result.staticMetadata[key.number<uint32_t>()] = readTags(value).value_or(Tags());
        });
    }
    readRequests(*document.root, result);
    return result;
}

}  // namespace replay
