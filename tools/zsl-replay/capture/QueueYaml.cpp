#include "capture/QueueYaml.h"

#include <algorithm>

namespace replay {

namespace {

// The numbers of a run: {first, count, step, except}.
FrameList readRun(const Yaml& run, uint32_t count) {
    const auto first = run["first"].number<uint32_t>();
    uint32_t step = 1;
    readNumber(run["step"], step);
    FrameList frames;
    for (uint32_t i = 0; i < count; ++i) frames.push_back(first + i * step);  // frame numbers wrap as on a device
    return frames;
}

void appendFrames(const Yaml& in, FrameList& frames) {
    if (!in.isMap()) {
        frames.push_back(in.number<uint32_t>());
        return;
    }
    in.asMap({"first", "count", "step", "except"});
    FrameList left;
    if (in["except"]) {
        for (const Yaml& each : in["except"].elements("a list of frames")) left.push_back(each.number<uint32_t>());
    }
    const auto room = static_cast<uint32_t>(kMostFrames - frames.size());
    for (const uint32_t frame : readRun(in, in["count"].number<uint32_t>(0, room))) {
        if (std::find(left.begin(), left.end(), frame) == left.end()) frames.push_back(frame);
    }
}

void addFrame(Queue& queue, uint32_t frame, const FrameData& data, const Yaml& where) {
    if (!queue.held.emplace(frame, data).second) where.fail("every frame of a queue once");
}

// Overrides what `in` names: a shutter time, or {shutter, mode}.
void readFrameData(const Yaml& in, FrameData& data) {
    if (!in.isMap()) {
        data.shutterTimeNs = in.number<int64_t>();
        return;
    }
    in.asMap({"shutter", "mode"});
    readNumber(in["shutter"], data.shutterTimeNs);
    readNumber(in["mode"], data.sensorMode);
}

void readFrameRun(const Yaml& in, Queue& queue) {
    in.asMap({"first", "count", "step", "shutter", "interval", "mode", "except"});
    std::vector<Yaml> times;
    if (in["shutter"] && in["shutter"].isSequence()) times = in["shutter"].elements("a list of shutter times");
    const auto room = static_cast<uint32_t>(kMostFrames - std::min<size_t>(queue.held.size(), kMostFrames));
    const auto count =
        in["count"] || times.empty() ? in["count"].number<uint32_t>(0, room) : static_cast<uint32_t>(times.size());
    if (!times.empty() && times.size() != count) in["shutter"].fail("as many shutter times as frames");

    const FrameList frames = readRun(in, count);
    uint64_t intervalNs = kDefaultIntervalNs;
    if (in["interval"]) intervalNs = static_cast<uint64_t>(in["interval"].number<int64_t>());
    uint64_t firstNs = (frames.empty() ? 0 : frames.front()) * intervalNs;
    if (in["shutter"] && times.empty()) firstNs = static_cast<uint64_t>(in["shutter"].number<int64_t>());
    FrameData data;
    readNumber(in["mode"], data.sensorMode);
    for (size_t i = 0; i < frames.size(); ++i) {
        data.shutterTimeNs =
            times.empty() ? static_cast<int64_t>(firstNs + i * intervalNs) : times[i].number<int64_t>();
        addFrame(queue, frames[i], data, in["first"]);
    }
    if (!in["except"]) return;
    in["except"].asMap().forEach([&](const Yaml& key, const Yaml& value) {
        const auto found = queue.held.find(key.number<uint32_t>());
        if (found == queue.held.end()) key.fail("a frame of the run");
        readFrameData(value, found->second);
    });
}

void readFrameMap(const Yaml& in, Queue& queue) {
    if (!in.isMap()) in.fail("frames: a run, or shutter times by frame");
    if (in["first"]) {
        readFrameRun(in, queue);
        return;
    }
    in.forEach([&](const Yaml& key, const Yaml& value) {
        FrameData data;
        const auto frame = key.number<uint32_t>();
        readFrameData(value, data);
        addFrame(queue, frame, data, key);
    });
}

void readFrames(const Yaml& in, Queue& queue) {
    if (!in.isSequence()) return readFrameMap(in, queue);
    for (const Yaml& each : in.elements("frames")) readFrameMap(each, queue);
}

bool namesFrames(const Yaml& in) { return in["consumer"] || in["producer"] || in["all"] || in["frames"]; }

// What the queue says itself.
Queue readQueue(const Yaml& in, size_t position) {
    in.asMap({"id", "type", "name", "consumer", "producer", "all", "frames", "lost"});
    Queue queue;
    queue.id = static_cast<uint32_t>(position + 1);
    queue.type = position == 0 ? zohal::kMetaQueue : 0;
    readNumber(in["id"], queue.id);
    readNumber(in["type"], queue.type);
    queue.name = queue.type == zohal::kMetaQueue        ? "meta"
                 : queue.type == zohal::kFrameInfoQueue ? "frameinfo"
                                                        : "queue";
    if (in["name"]) queue.name = in["name"].text("a name");
    if (in["frames"]) readFrames(in["frames"], queue);
    if (in["consumer"]) queue.consumer = readFrameList(in["consumer"]);
    if (in["producer"]) queue.producer = readFrameList(in["producer"]);
    if (in["frames"] && !in["consumer"] && !in["producer"]) {
        for (const auto& [frame, data] : queue.held) queue.consumer.push_back(frame);
    }
    queue.all = in["all"] ? readFrameList(in["all"]) : queue.deliveryOrder();
    return queue;
}

// A queue that names lists only holds every frame in them: as the metadata queue has it, else at 30 fps.
void holdListedFrames(Queue& queue, const Queue* metaQueue) {
    FrameList listed = queue.deliveryOrder();
    listed.insert(listed.end(), queue.all.begin(), queue.all.end());
    for (const uint32_t frame : listed) {
        FrameData data{frame * kDefaultIntervalNs, 0};
        if (metaQueue != nullptr && metaQueue->held.count(frame) > 0) data = metaQueue->held.at(frame);
        queue.held.emplace(frame, data);
    }
}

void loseFrames(const Yaml& in, Queue& queue) {
    if (!in) return;
    for (const uint32_t frame : readFrameList(in)) {
        const auto node = queue.held.extract(frame);
        if (node.empty()) in.fail("frames that the queue holds, not " + std::to_string(frame));
        queue.lost.emplace(frame, node.mapped());
    }
}

}  // namespace

FrameList readFrameList(const Yaml& in) {
    FrameList frames;
    if (in.isSequence()) {
        for (const Yaml& each : in.elements("a list of frames")) appendFrames(each, frames);
    } else if (in.isMap()) {
        appendFrames(in, frames);
    } else {
        in.fail("a list of frames");
    }
    return frames;
}

std::vector<Queue> readQueues(const Yaml& in) {
    const std::vector<Yaml> elements = in.elements("a list of queues");
    std::vector<Queue> queues;
    for (size_t i = 0; i < elements.size(); ++i) queues.push_back(readQueue(elements[i], i));

    const auto meta =
        std::find_if(queues.begin(), queues.end(), [](const Queue& queue) { return queue.type == zohal::kMetaQueue; });
    if (meta != queues.end() && !elements[meta - queues.begin()]["frames"]) holdListedFrames(*meta, nullptr);
    for (size_t i = 0; i < queues.size(); ++i) {
        if (meta != queues.end() && !namesFrames(elements[i])) {
            Queue copy = *meta;
            copy.id = queues[i].id;
            copy.type = queues[i].type;
            copy.name = queues[i].name;
            queues[i] = std::move(copy);
        } else if (!elements[i]["frames"]) {
            holdListedFrames(queues[i], meta != queues.end() ? &*meta : nullptr);
        }
    }
    for (size_t i = 0; i < queues.size(); ++i) loseFrames(elements[i]["lost"], queues[i]);
    return queues;
}

FrameList Queue::deliveryOrder() const {
    FrameList order = consumer;
    order.insert(order.end(), producer.begin(), producer.end());
    return order;
}

const Queue* Request::metaQueue() const {
    const auto meta =
        std::find_if(queues.begin(), queues.end(), [](const Queue& q) { return q.type == zohal::kMetaQueue; });
    return meta != queues.end() ? &*meta : nullptr;
}

}  // namespace replay
