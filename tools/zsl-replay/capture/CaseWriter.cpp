// A case that was built rather than read, as a case file would give it.

#include <algorithm>

#include "capture/Document.h"
#include "capture/Metadata.h"

namespace replay {

namespace {

using FrameMap = std::map<uint32_t, FrameData>;

NodePtr makeFlag(bool flag) { return makeText(flag ? "true" : "false"); }

// What comes out is given number by number, so that it can be read at once.
NodePtr numbers(const FrameList& frames) {
    Node::List list;
    for (const uint32_t frame : frames) list.push_back(makeNumber(frame));
    return makeList(std::move(list));
}

NodePtr frameList(const FrameList& frames) {
    constexpr size_t kShortestRun = 4;
    Node::List list;
    for (size_t at = 0; at < frames.size();) {
        size_t end = at + 1;
        while (end < frames.size() && frames[end] == frames[end - 1] + 1) ++end;
        if (end - at < kShortestRun) {
            list.push_back(makeNumber(frames[at++]));
            continue;
        }
        list.push_back(MapMaker().set("first", makeNumber(frames[at])).set("count", makeNumber(end - at)).make());
        at = end;
    }
    return makeList(std::move(list));
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

// Consecutive frames of one mode; their times as a list where they have no one interval.
NodePtr frameRun(uint32_t first, uint32_t mode, const std::vector<int64_t>& times) {
    std::vector<uint64_t> intervals;
    for (size_t i = 1; i < times.size(); ++i) {
        intervals.push_back(static_cast<uint64_t>(times[i]) - static_cast<uint64_t>(times[i - 1]));
    }
    MapMaker run;
    run.set("first", makeNumber(first));
    if (intervals.size() > 1 && std::equal(intervals.begin() + 1, intervals.end(), intervals.begin())) {
        run.set("count", makeNumber(times.size())).set("shutter", makeNumber(times.front()));
        run.set("interval", makeNumber(static_cast<int64_t>(intervals.front())));
    } else {
        Node::List shutter;
        for (const int64_t ns : times) shutter.push_back(makeNumber(ns));
        run.set("shutter", makeList(std::move(shutter)));
    }
    if (mode != 0) run.set("mode", makeNumber(mode));
    return run.make();
}

NodePtr frameRuns(const FrameMap& frames) {
    if (frames.empty()) return MapMaker().make();
    Node::List runs;
    for (auto at = frames.begin(); at != frames.end();) {
        const auto first = at;
        std::vector<int64_t> times;
        for (uint32_t next = at->first;
             at != frames.end() && at->first == next && at->second.sensorMode == first->second.sensorMode;
             ++at, ++next) {
            times.push_back(at->second.shutterTimeNs);
        }
        runs.push_back(frameRun(first->first, first->second.sensorMode, times));
    }
    return makeList(std::move(runs));
}

// A queue like the metadata queue needs no lists of its own.
NodePtr queueNode(const Queue& queue, const Queue* meta) {
    MapMaker node;
    node.set("id", makeNumber(queue.id)).set("type", makeNumber(queue.type)).set("name", makeText(queue.name));
    if (meta == nullptr || &queue == meta || queue.consumer != meta->consumer || queue.producer != meta->producer ||
        queue.all != meta->all || !isSame(everHeld(queue), everHeld(*meta))) {
        node.set("consumer", frameList(queue.consumer)).set("producer", frameList(queue.producer));
        if (queue.all != queue.deliveryOrder()) node.set("all", frameList(queue.all));
        node.set("frames", frameRuns(everHeld(queue)));
    }
    FrameList lost;
    for (const auto& [frame, data] : queue.lost) lost.push_back(frame);
    if (!lost.empty()) node.set("lost", frameList(lost));
    return node.make();
}

NodePtr callNode(const halcore::StrategyCall& call) {
    MapMaker node;
    node.set("strategy", makeText(call.strategy));
    if (call.fwkFrame) node.set("frame", makeNumber(*call.fwkFrame));
    node.set("zsdTs", makeNumber(call.zsdTs)).set("last", makeNumber(call.lastZslFrame));
    if (!call.selectList.empty()) node.set("list", frameList(call.selectList));
    return node.make();
}

NodePtr checkNode(const Check& check) {
    MapMaker node;
    node.set("camera", makeNumber(check.camera)).set("role", makeNumber(check.role));
    node.set("frames", makeNumber(check.aiHlFrames));
    if (check.of) node.set("of", frameList(*check.of));
    if (check.metadata) node.set("metadata", nodeOf(*check.metadata));
    return node.make();
}

NodePtr messages(const std::vector<std::string>& lines) {
    Node::List list;
    for (const std::string& line : lines) list.push_back(makeText(line));
    return makeList(std::move(list));
}

NodePtr requestNode(const Request& request) {
    constexpr const char* kSelect[] = {"gated", "always", "never"};
    MapMaker node;
    node.set("name", makeText(request.name)).set("frame", makeNumber(request.fwkFrame));
    if (!request.used.empty()) node.set("used", frameList(request.used));
    node.set("master", makeNumber(request.master)).set("need", makeNumber(request.need));
    node.set("metadata", nodeOf(request.metadata)).set("adapter", makeText(request.adapter));
    if (request.select != halcore::Select::kGated) {
        node.set("select", makeText(kSelect[static_cast<size_t>(request.select)]));
    }
    node.set("clock", makeNumber(request.clockNs));
    Node::List queues;
    for (const Queue& queue : request.queues) queues.push_back(queueNode(queue, request.metaQueue()));
    if (!queues.empty()) node.set("queues", makeList(std::move(queues)));
    if (request.call) node.set("call", callNode(*request.call));
    node.set("check", checkNode(request.check));
    const NodePtr expect = nodeOf(request.expect);
    if (!expect->map()->empty()) node.set("expect", expect);
    return node.make();
}

}  // namespace

NodePtr nodeOf(const Expectation& expect) {
    MapMaker node;
    if (expect.gate) node.set("gate", makeFlag(*expect.gate));
    if (expect.result) node.set("result", makeFlag(*expect.result));
    if (expect.targetNs) node.set("target", makeNumber(*expect.targetNs));
    if (expect.anchor) node.set("anchor", makeNumber(*expect.anchor));
    if (expect.selectionOfAll) node.set("selection", numbers(*expect.selectionOfAll));
    if (expect.selection) {
        MapMaker byQueue;
        for (const auto& [id, frames] : *expect.selection) byQueue.set(std::to_string(id), numbers(frames));
        node.set("selection", byQueue.make());
    }
    if (expect.checks) {
        MapMaker byFrame;
        for (const auto& [frame, flags] : *expect.checks) {
            byFrame.set(std::to_string(frame), flags.first == flags.second
                                                   ? makeText(flags.first ? "pass" : "fail")
                                                   : makeList({makeFlag(flags.first), makeFlag(flags.second)}));
        }
        node.set("checks", byFrame.make());
    }
    if (expect.log) node.set("log", messages(*expect.log));
    if (!expect.logHas.empty()) node.set("logHas", messages(expect.logHas));
    return node.make();
}

Document documentOf(const Case& theCase) {
    MapMaker root;
    if (theCase.recorded) root.set("recorded", makeNumber(1));
    MapMaker properties;
    for (const auto& [key, value] : theCase.properties) {
        properties.set(key, value ? makeText(*value) : std::make_shared<Node>());
    }
    root.set("properties", properties.make());
    MapMaker cameras;
    for (const auto& [camera, tags] : theCase.staticMetadata) cameras.set(std::to_string(camera), nodeOf(tags));
    if (!cameras.empty()) root.set("staticMetadata", cameras.make());
    Node::List requests;
    for (const Request& request : theCase.requests) requests.push_back(requestNode(request));
    root.set("requests", makeList(std::move(requests)));
    return {theCase.file, root.make(), theCase.cutOff};
}

}  // namespace replay
