#include "capture/CaseReader.h"

#include <yaml-cpp/eventhandler.h>

#include <algorithm>
#include <sstream>

#include "capture/MetadataYaml.h"
#include "capture/QueueYaml.h"
#include "capture/YamlInput.h"

namespace replay {

namespace {

// A request's keys, the shared ones behind its own.
class RequestKeys {
public:
    RequestKeys(Yaml own, Yaml shared) : mOwn(std::move(own)), mShared(std::move(shared)) {}

    Yaml operator[](const char* key) const {
        const Yaml own = mOwn[key];
        return own || !mShared ? own : mShared[key];
    }

private:
    Yaml mOwn;
    Yaml mShared;
};

AdapterAnswer readAdapter(const Yaml& in, const AdapterAnswer& before) {
    const std::string text = in.text("a motion word, or absent, empty or unavailable");
    if (text == "absent") {
        if (before != "absent") in.fail("an adapter that stays once it is there");
        return text;
    }
    if (text != "empty" && text != "unavailable") in.number<uint32_t>();
    return text;
}

halcore::StrategyCall readCall(const Yaml& in) {
    in.asMap({"strategy", "frame", "zsdTs", "last", "list"});
    halcore::StrategyCall call;
    call.strategy = in["strategy"] ? in["strategy"].text("a strategy") : "";
    const auto& known = halcore::SelectorPlugin::strategies();
    if (std::find(known.begin(), known.end(), call.strategy) == known.end()) {
        (in["strategy"] ? in["strategy"] : in).fail("a strategy, such as " + known.front());
    }
    if (in["frame"]) call.fwkFrame = in["frame"].number<uint32_t>();
    readNumber(in["zsdTs"], call.zsdTs);
    if (in["last"]) call.lastZslFrame = static_cast<int32_t>(in["last"].number<int64_t>(INT32_MIN, UINT32_MAX));
    if (in["list"]) call.selectList = readFrameList(in["list"]);
    return call;
}

std::pair<bool, bool> readCheckResult(const Yaml& in) {
    if (in.isSequence()) {
        const auto flags = in.elements("two flags");
        if (flags.size() != 2) in.fail("two flags");
        return {flags[0].boolean(), flags[1].boolean()};
    }
    const std::string text = in.text("pass, fail or two flags");
    if (text != "pass" && text != "fail") in.fail("pass, fail or two flags");
    return {text == "pass", text == "pass"};
}

std::vector<std::string> readLines(const Yaml& in) {
    std::vector<std::string> lines;
    for (const Yaml& each : in.elements("a list of messages")) lines.push_back(each.text("a message"));
    return lines;
}

// What can't come out of a request can't be expected of it.
Expectation readExpectation(const Yaml& in, bool isCall) {
    if (isCall) {
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
        in["checks"].asMap().forEach([&](const Yaml& key, const Yaml& value) {
            (*expect.checks)[key.number<uint32_t>()] = readCheckResult(value);
        });
    }
    const Yaml selection = in["selection"];
    if (selection && selection.isMap() && !selection["first"]) {
        expect.selection.emplace();
        selection.asMap().forEach([&](const Yaml& key, const Yaml& value) {
            (*expect.selection)[key.number<uint32_t>()] = readFrameList(value);
        });
    } else if (selection) {
        expect.selectionOfAll = readFrameList(selection);
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

constexpr std::initializer_list<const char*> kRequestKeys = {"name",     "frame",   "used",   "master", "need",
                                                             "metadata", "adapter", "select", "clock",  "queues",
                                                             "call",     "check",   "expect"};

Request readRequest(const RequestKeys& in, size_t position, const AdapterAnswer& before) {
    Request request;
    request.name = in["name"] ? in["name"].text("a name") : "request " + std::to_string(position + 1);
    request.fwkFrame = static_cast<uint32_t>(position + 1);
    readNumber(in["frame"], request.fwkFrame);
    if (in["used"]) request.used = readFrameList(in["used"]);
    readNumber(in["master"], request.master);
    if (in["need"]) request.need = in["need"].number<uint32_t>(0, kMostFrames);
    if (in["metadata"]) request.metadata = readTags(in["metadata"]);
    request.adapter = in["adapter"] ? readAdapter(in["adapter"], before) : before;
    if (in["select"]) {
        const std::string select = in["select"].text("gated, always or never");
        if (select != "gated" && select != "always" && select != "never") in["select"].fail("gated, always or never");
        if (select == "always") request.select = halcore::Select::kAlways;
        if (select == "never") request.select = halcore::Select::kNever;
    }
    if (in["queues"]) request.queues = readQueues(in["queues"]);
    if (in["call"]) request.call = readCall(in["call"]);
    if (in["check"]) {
        const Yaml check = in["check"].asMap({"camera", "role", "frames"});
        readNumber(check["camera"], request.check.camera);
        readNumber(check["role"], request.check.role);
        readNumber(check["frames"], request.check.aiHlFrames);
    }
    if (in["expect"]) request.expect = readExpectation(in["expect"], request.call.has_value());
    request.clockNs = newestShutterTime(request);
    readNumber(in["clock"], request.clockNs);
    return request;
}

void readProperties(const Yaml& in, Case& result) {
    in.asMap().forEach([&](const Yaml& key, const Yaml& value) {
        auto& property = result.properties[key.text("a property")];
        property = value.isNull() ? std::nullopt : std::optional(value.text("a property's value"));
    });
}

// Notes where the parser meets documents.
class DocumentWatch : public YAML::EventHandler {
public:
    YAML::Mark latest;

    void OnDocumentStart(const YAML::Mark& mark) override { latest = mark; }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark&, YAML::anchor_t) override {}
    void OnAlias(const YAML::Mark&, YAML::anchor_t) override {}
    void OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t, const std::string&) override {}
    void OnSequenceStart(const YAML::Mark&, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value) override {}
    void OnSequenceEnd() override {}
    void OnMapStart(const YAML::Mark&, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value) override {}
    void OnMapEnd() override {}
};

// YAML::LoadAll() would tell, but never ends where a bracket closes what was not opened.
std::optional<YAML::Mark> secondDocument(const std::string& text) {
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    DocumentWatch watch;
    const bool hasSecond = parser.HandleNextDocument(watch) && parser.HandleNextDocument(watch);
    return hasSecond ? std::optional(watch.latest) : std::nullopt;
}

}  // namespace

YAML::Node parseCase(const std::string& file, const std::string& text) {
    try {
        if (const auto second = secondDocument(text)) {
            throw InputError(file + ':' + position(*second) + ": expected one document, found another");
        }
        return YAML::Load(text);
    } catch (const YAML::ParserException& error) {
        throw InputError(file + ':' + position(error.mark) + ": expected YAML, found " + error.msg);
    }
}

Case readCase(const std::string& file, const std::string& text) { return readCase(file, parseCase(file, text)); }

Case readCase(const std::string& file, const YAML::Node& root) {
    const Yaml in(root, file);
    in.asMap({"properties", "staticMetadata", "defaults", "requests"});
    const std::vector<Yaml> requests = in["requests"].elements("a list of requests");

    Case result;
    result.file = file;
    if (in["properties"]) readProperties(in["properties"], result);
    if (in["staticMetadata"]) {
        in["staticMetadata"].asMap().forEach([&](const Yaml& key, const Yaml& value) {
            result.staticMetadata[key.number<uint32_t>()] = readTags(value).value_or(Tags());
        });
    }
    if (in["defaults"]) in["defaults"].asMap(kRequestKeys);
    AdapterAnswer adapter = "absent";
    for (size_t i = 0; i < requests.size(); ++i) {
        const Yaml& request = requests[i];
        request.asMap(kRequestKeys);
        result.requests.push_back(readRequest({request, in["defaults"]}, i, adapter));
        adapter = result.requests.back().adapter;
    }
    return result;
}

}  // namespace replay
