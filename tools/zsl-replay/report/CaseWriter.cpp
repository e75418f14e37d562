#include "report/CaseWriter.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>

#include "capture/MetadataYaml.h"

namespace replay {

namespace {

using FrameMap = std::map<uint32_t, FrameData>;

YAML::Node frameList(const FrameList& frames) {
    constexpr size_t kShortestRun = 4;
    YAML::Node list(YAML::NodeType::Sequence);
    for (size_t at = 0; at < frames.size();) {
        size_t end = at + 1;
        while (end < frames.size() && frames[end] == frames[end - 1] + 1) ++end;
        if (end - at < kShortestRun) {
            list.push_back(frames[at++]);
            continue;
        }
        YAML::Node run;
        run["first"] = frames[at];
        run["count"] = end - at;
        list.push_back(run);
        at = end;
    }
    return list;
}

FrameMap everHeld(const Queue& queue) {
    FrameMap all = queue.held;
    all.insert(queue.lost.begin(), queue.lost.end());
    return all;
}

bool isSame(const FrameMap& a, const FrameMap& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.first == y.first && x.second.shutterTimeNs == y.second.shutterTimeNs &&
               x.second.sensorMode == y.second.sensorMode;
    });
}

// Runs of consecutive frames of one mode; their times as a list where they have no one interval.
YAML::Node frameRuns(const FrameMap& frames) {
    YAML::Node runs(frames.empty() ? YAML::NodeType::Map : YAML::NodeType::Sequence);
    for (auto at = frames.begin(); at != frames.end();) {
        YAML::Node run;
        run["first"] = at->first;
        const uint32_t mode = at->second.sensorMode;
        if (mode != 0) run["mode"] = mode;
        std::vector<int64_t> times;
        for (uint32_t next = at->first; at != frames.end() && at->first == next && at->second.sensorMode == mode;
             ++at) {
            times.push_back(at->second.shutterTimeNs);
            ++next;
        }
        std::vector<uint64_t> intervals;
        for (size_t i = 1; i < times.size(); ++i) {
            intervals.push_back(static_cast<uint64_t>(times[i]) - static_cast<uint64_t>(times[i - 1]));
        }
        run["shutter"] = times;
        if (intervals.size() > 1 && std::equal(intervals.begin() + 1, intervals.end(), intervals.begin())) {
            run["count"] = times.size();
            run["shutter"] = times.front();
            run["interval"] = static_cast<int64_t>(intervals.front());
        }
        runs.push_back(run);
    }
    return runs;
}

// A queue like the metadata queue needs no lists of its own.
YAML::Node queueNode(const Queue& queue, const Queue& meta) {
    YAML::Node node;
    node["id"] = queue.id;
    node["type"] = queue.type;
    node["name"] = queue.name;
    if (&queue == &meta || queue.consumer != meta.consumer || queue.producer != meta.producer ||
        queue.all != meta.all || !isSame(everHeld(queue), everHeld(meta))) {
        node["consumer"] = frameList(queue.consumer);
        node["producer"] = frameList(queue.producer);
        if (queue.all != queue.deliveryOrder()) node["all"] = frameList(queue.all);
        node["frames"] = frameRuns(everHeld(queue));
    }
    FrameList lost;
    for (const auto& [frame, data] : queue.lost) lost.push_back(frame);
    if (!lost.empty()) node["lost"] = frameList(lost);
    return node;
}

YAML::Node requestNode(const Request& request) {
    YAML::Node node;
    node["name"] = request.name;
    node["frame"] = request.fwkFrame;
    if (!request.used.empty()) node["used"] = frameList(request.used);
    node["master"] = request.master;
    node["need"] = request.need;
    node["metadata"] = YAML::Node(YAML::NodeType::Map);
    for (const auto& [tag, value] : *request.metadata) node["metadata"][tag] = toYaml(tag, value);
    node["adapter"] = request.adapter;
    if (request.select == halcore::Select::kAlways) node["select"] = "always";
    node["clock"] = request.clockNs;
    for (const Queue& queue : request.queues) node["queues"].push_back(queueNode(queue, *request.metaQueue()));
    node["check"]["role"] = request.check.role;
    node["check"]["frames"] = request.check.aiHlFrames;
    if (request.expect.gate) node["expect"]["gate"] = *request.expect.gate;
    if (const auto& selection = request.expect.selection) {
        node["expect"]["selection"] = YAML::Node(YAML::NodeType::Map);
        for (const auto& [id, frames] : *selection) node["expect"]["selection"][id] = frameList(frames);
    }
    // Keys and queues on lines of their own, what they hold in flow style.
    for (auto key : node) {
        const bool isQueues = key.first.Scalar() == "queues";
        if (!isQueues && !key.second.IsScalar()) key.second.SetStyle(YAML::EmitterStyle::Flow);
        if (!isQueues) continue;
        for (auto queue : key.second) queue.SetStyle(YAML::EmitterStyle::Flow);
    }
    return node;
}

// A comment may quote what a damaged log holds.
std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

}  // namespace

CaseWriter::CaseWriter(std::ostream& out, const Case& platform) : mOut(out) {
    YAML::Node properties;
    for (const auto& [key, value] : platform.properties) properties[key] = value ? YAML::Node(*value) : YAML::Node();
    YAML::Node node;
    node["properties"] = properties;
    mOut << node << "\nrequests:\n";
}

void CaseWriter::add(const Request& request, const std::vector<std::string>& comments) {
    for (const std::string& comment : comments) mOut << "# " << printable(comment) << '\n';
    YAML::Emitter text;
    text.SetOutputCharset(YAML::EscapeNonAscii);
    text << YAML::BeginSeq << requestNode(request) << YAML::EndSeq;
    mOut << text.c_str() << '\n';
}

}  // namespace replay
