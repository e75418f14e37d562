// A case that was built or changed rather than read, as a case file would give it: every queue with lists of its own,
// every frame with its time, and short things on one line.

#include <yaml-cpp/yaml.h>

#include <ostream>
#include <sstream>

#include "capture/Document.h"
#include "capture/Metadata.h"

namespace replay {

namespace {

using YAML::BeginMap, YAML::EndMap, YAML::BeginSeq, YAML::EndSeq, YAML::Flow;

template <typename T>
void write(YAML::Emitter& out, const char* key, const T& value) {
    out << YAML::Key << key << YAML::Value << value;
}

void writeFrames(YAML::Emitter& out, const char* key, const FrameList& frames) {
    constexpr size_t kShortestRun = 4;
    out << YAML::Key << key << YAML::Value << Flow << BeginSeq;
    for (size_t at = 0; at < frames.size();) {
        size_t end = at + 1;
        while (end < frames.size() && frames[end] == frames[end - 1] + 1) ++end;
        if (end - at < kShortestRun) {
            out << frames[at++];
            continue;
        }
        out << BeginMap;
        write(out, "first", frames[at]);
        write(out, "count", end - at);
        out << EndMap;
        at = end;
    }
    out << EndSeq;
}

// Successive frames of one mode, a few a line.
void writeHeld(YAML::Emitter& out, const std::map<uint32_t, FrameData>& frames) {
    constexpr size_t kMostOnALine = 4;
    out << YAML::Key << "frames" << YAML::Value << BeginSeq;
    for (auto at = frames.begin(); at != frames.end();) {
        const uint32_t first = at->first;
        const uint32_t mode = at->second.sensorMode;
        std::vector<int64_t> times;
        for (; at != frames.end() && at->first == first + times.size() && at->second.sensorMode == mode &&
               times.size() < kMostOnALine;
             ++at) {
            times.push_back(at->second.shutterTimeNs);
        }
        out << Flow << BeginMap;
        write(out, "first", first);
        write(out, "shutter", times);
        if (mode != 0) write(out, "mode", mode);
        out << EndMap;
    }
    out << EndSeq;
}

void writeQueue(YAML::Emitter& out, const Queue& queue) {
    FrameList lost;
    for (const auto& [frame, data] : queue.lost) lost.push_back(frame);
    auto everHeld = queue.held;
    everHeld.insert(queue.lost.begin(), queue.lost.end());

    out << BeginMap;
    write(out, "id", queue.id);
    write(out, "type", queue.type);
    write(out, "name", queue.name);
    writeFrames(out, "consumer", queue.consumer);
    writeFrames(out, "producer", queue.producer);
    if (queue.all != queue.deliveryOrder()) writeFrames(out, "all", queue.all);
    writeHeld(out, everHeld);
    if (!lost.empty()) writeFrames(out, "lost", lost);
    out << EndMap;
}

void writeCall(YAML::Emitter& out, const halcore::StrategyCall& call) {
    out << YAML::Key << "call" << YAML::Value << Flow << BeginMap;
    write(out, "strategy", call.strategy);
    if (call.fwkFrame) write(out, "frame", *call.fwkFrame);
    write(out, "zsdTs", call.zsdTs);
    write(out, "last", call.lastZslFrame);
    if (!call.selectList.empty()) writeFrames(out, "list", call.selectList);
    out << EndMap;
}

void writeCheck(YAML::Emitter& out, const Check& check) {
    out << YAML::Key << "check" << YAML::Value << Flow << BeginMap;
    write(out, "camera", check.camera);
    write(out, "role", check.role);
    write(out, "frames", check.aiHlFrames);
    if (check.of) writeFrames(out, "of", *check.of);
    if (check.metadata) writeTags(out, "metadata", *check.metadata);
    out << EndMap;
}

// What a saved case expects. Frames are given number by number, so that they can be read at once.
void writeExpectation(YAML::Emitter& out, const Expectation& expect) {
    if (!expect.gate && !expect.result && !expect.selectionOfAll && !expect.selection && expect.logHas.empty()) return;
    out << YAML::Key << "expect" << YAML::Value << BeginMap;
    if (expect.gate) write(out, "gate", *expect.gate);
    if (expect.result) write(out, "result", *expect.result);
    if (expect.selectionOfAll || expect.selection) out << YAML::Key << "selection" << YAML::Value << Flow;
    if (expect.selectionOfAll) out << *expect.selectionOfAll;
    if (expect.selection) out << *expect.selection;
    if (!expect.logHas.empty()) write(out, "logHas", expect.logHas);
    out << EndMap;
}

void writeRequest(YAML::Emitter& out, const Request& request) {
    constexpr const char* kSelect[] = {"gated", "always", "never"};
    out << BeginMap;
    write(out, "name", request.name);
    write(out, "frame", request.fwkFrame);
    if (!request.used.empty()) writeFrames(out, "used", request.used);
    write(out, "master", request.master);
    write(out, "need", request.need);
    writeTags(out, "metadata", request.metadata);
    write(out, "adapter", request.adapter);
    write(out, "select", kSelect[static_cast<size_t>(request.select)]);
    write(out, "clock", request.clockNs);
    out << YAML::Key << "queues" << YAML::Value << BeginSeq;
    for (const Queue& queue : request.queues) writeQueue(out, queue);
    out << EndSeq;
    if (request.call) writeCall(out, *request.call);
    writeCheck(out, request.check);
    writeExpectation(out, request.expect);
    out << EndMap;
}

void printComments(std::ostream& out, const std::vector<std::string>& comments) {
    for (const std::string& comment : comments) out << "# " << printable(comment) << '\n';
}

}  // namespace

void printHead(std::ostream& out, const Case& platform, const std::vector<std::string>& comments) {
    YAML::Emitter yaml;
    yaml.SetOutputCharset(YAML::EscapeNonAscii);
    yaml << BeginMap << YAML::Key << "properties" << YAML::Value << BeginMap;
    for (const auto& [property, value] : platform.properties) {
        yaml << YAML::Key << property << YAML::Value;
        value ? yaml << *value : yaml << YAML::Null;
    }
    yaml << EndMap;
    if (!platform.staticMetadata.empty()) {
        yaml << YAML::Key << "staticMetadata" << YAML::Value << BeginMap;
        for (const auto& [camera, tags] : platform.staticMetadata) writeTags(yaml, std::to_string(camera), tags);
        yaml << EndMap;
    }
    yaml << EndMap;
    printComments(out, comments);
    out << yaml.c_str() << "\nrequests:\n";
}

void printRequest(std::ostream& out, const Request& request, const std::vector<std::string>& comments) {
    YAML::Emitter yaml;
    yaml.SetOutputCharset(YAML::EscapeNonAscii);
    yaml << BeginSeq;
    writeRequest(yaml, request);
    yaml << EndSeq;
    printComments(out, comments);
    out << yaml.c_str() << '\n';
}

Document documentOf(const Case& theCase) {
    std::ostringstream text;
    printHead(text, theCase, {});
    for (const Request& request : theCase.requests) printRequest(text, request, {});
    return {theCase.file, parseYaml(text.str()), ""};
}

}  // namespace replay
