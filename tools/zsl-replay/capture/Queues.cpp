#include "capture/Queues.h"

#include <algorithm>
#include <set>

namespace replay {

namespace {

// The numbers of a run. Frame numbers wrap as on a device.
FrameList readRun(const Value& run, uint32_t count) {
    const auto first = run["first"].number<uint32_t>();
    uint32_t step = 1;
    readNumber(run["step"], step);
    FrameList frames(count);
    for (uint32_t i = 0; i < count; ++i) frames[i] = first + i * step;
    return frames;
}

void appendFrames(const Value& in, FrameBudget& budget, FrameList& frames) {
    if (!in.isMap()) {
        budget.take(1, in);
        frames.push_back(in.number<uint32_t>());
        return;
    }
    in.asMap({"first", "count", "step", "except"});
    const auto count = in["count"].number<uint32_t>();
    budget.take(count, in["count"]);
    std::set<uint32_t> left;
    if (in["except"]) {
        for (const Value& each : in["except"].elements("a list of frames")) left.insert(each.number<uint32_t>());
    }
    for (const uint32_t frame : readRun(in, count)) {
        if (left.count(frame) == 0) frames.push_back(frame);
    }
}

void addFrame(Queue& queue, uint32_t frame, const FrameData& data, const Value& where) {
    if (!queue.held.emplace(frame, data).second) where.fail("every frame of a queue once", std::to_string(frame));
}

// Overrides what `in` names: a shutter time, or {shutter, mode}.
void readFrameData(const Value& in, FrameData& data) {
    if (in.isMap()) in.asMap({"shutter", "mode"});
    const Value shutter = in.isMap() ? in["shutter"] : in;
    readNumber(shutter, data.shutterTimeNs);
    if (shutter) data.assumed = false;
    if (in.isMap()) readNumber(in["mode"], data.sensorMode);
}

void readFrameRun(const Value& in, FrameBudget& budget, Queue& queue) {
    in.asMap({"first", "count", "step", "shutter", "interval", "mode", "except"});
    std::vector<Value> times;
    if (in["shutter"].isList()) times = in["shutter"].elements("a list of shutter times");
    const bool counts = in["count"] || times.empty();
    const auto count = counts ? in["count"].number<uint32_t>() : static_cast<uint32_t>(times.size());
    budget.take(count, counts ? in["count"] : in["shutter"]);
    if (!times.empty() && times.size() != count) {
        in["shutter"].fail("a shutter time for each of " + std::to_string(count) + " frames",
                           std::to_string(times.size()));
    }
    const FrameList frames = readRun(in, count);
    uint64_t intervalNs = kDefaultIntervalNs;
    if (in["interval"]) intervalNs = static_cast<uint64_t>(in["interval"].number<int64_t>());
    uint64_t firstNs = (frames.empty() ? 0 : frames.front()) * intervalNs;
    if (in["shutter"] && times.empty()) firstNs = static_cast<uint64_t>(in["shutter"].number<int64_t>());
    FrameData data;
    data.assumed = !in["shutter"];
    readNumber(in["mode"], data.sensorMode);
    for (size_t i = 0; i < frames.size(); ++i) {
        data.shutterTimeNs =
            times.empty() ? static_cast<int64_t>(firstNs + i * intervalNs) : times[i].number<int64_t>();
        addFrame(queue, frames[i], data, in["first"]);
    }
    if (!in["except"]) return;
    in["except"].asMap().forEach([&queue](const Value& key, const Value& value) {
        const auto found = queue.held.find(key.number<uint32_t>());
        if (found == queue.held.end()) key.fail("a frame of the run");
        readFrameData(value, found->second);
    });
}

void readFrameMap(const Value& in, FrameBudget& budget, Queue& queue) {
    if (!in.isMap()) in.fail("frames: a run, or shutter times by frame");
    if (in["first"]) return readFrameRun(in, budget, queue);
    in.forEach([&](const Value& key, const Value& value) {
        FrameData data;
        data.assumed = true;
        const auto frame = key.number<uint32_t>();
        budget.take(1, key);
        readFrameData(value, data);
        addFrame(queue, frame, data, key);
    });
}

void readFrames(const Value& in, FrameBudget& budget, Queue& queue) {
    if (!in.isList()) return readFrameMap(in, budget, queue);
    for (const Value& each : in.elements("frames")) readFrameMap(each, budget, queue);
}

bool namesFrames(const Value& in) { return in["consumer"] || in["producer"] || in["all"] || in["frames"]; }

// What the queue says itself.
Queue readQueue(const Value& in, size_t position, FrameBudget& budget) {
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
    if (in["frames"]) readFrames(in["frames"], budget, queue);
    if (in["consumer"]) queue.consumer = readFrameList(in["consumer"], budget);
    if (in["producer"]) queue.producer = readFrameList(in["producer"], budget);
    if (in["frames"] && !in["consumer"] && !in["producer"]) {
        for (const auto& [frame, data] : queue.held) queue.consumer.push_back(frame);
    }
    queue.all = in["all"] ? readFrameList(in["all"], budget) : queue.deliveryOrder();
    return queue;
}

// A queue that names lists only holds every frame in them: as the metadata queue has it, else at 30 fps.
void holdListedFrames(Queue& queue, const Queue* metaQueue) {
    FrameList listed = queue.deliveryOrder();
    listed.insert(listed.end(), queue.all.begin(), queue.all.end());
    for (const uint32_t frame : listed) {
        FrameData data{frame * kDefaultIntervalNs, 0, true};
        if (metaQueue != nullptr && metaQueue->held.count(frame) > 0) data = metaQueue->held.at(frame);
        queue.held.emplace(frame, data);
    }
}

Queue copyOf(const Queue& meta, const Queue& own, const Value& in, FrameBudget& budget) {
    budget.take(std::max(meta.all.size(), meta.held.size()), in);
    Queue copy = meta;
    copy.id = own.id;
    copy.type = own.type;
    copy.name = own.name;
    return copy;
}

// "800 801 803", of many just the first.
std::string shown(const std::map<uint32_t, FrameData>& held) {
    constexpr size_t kMostShown = 20;
    FrameList frames;
    for (auto at = held.begin(); at != held.end() && frames.size() < kMostShown; ++at) frames.push_back(at->first);
    return join(frames) + (held.size() > kMostShown ? " ..." : "");
}

void loseFrames(const Value& in, FrameBudget& budget, Queue& queue) {
    if (!in) return;
    for (const uint32_t frame : readFrameList(in, budget)) {
        auto node = queue.held.extract(frame);
        if (node.empty()) in.fail("frames that the queue holds (" + shown(queue.held) + ')', std::to_string(frame));
        queue.lost.insert(std::move(node));
    }
}

}  // namespace

FrameList readFrameList(const Value& in, FrameBudget& budget) {
    FrameList frames;
    if (in.isList()) {
        for (const Value& each : in.elements("a list of frames")) appendFrames(each, budget, frames);
    } else if (in.isMap()) {
        appendFrames(in, budget, frames);
    } else {
        in.fail("a list of frames");
    }
    return frames;
}

std::vector<Queue> readQueues(const Value& in, FrameBudget& budget) {
    const std::vector<Value> elements = in.elements("a list of queues");
    std::vector<Queue> queues;
    for (size_t i = 0; i < elements.size(); ++i) queues.push_back(readQueue(elements[i], i, budget));

    const auto meta =
        std::find_if(queues.begin(), queues.end(), [](const Queue& queue) { return queue.type == zohal::kMetaQueue; });
    if (meta != queues.end() && !elements[meta - queues.begin()]["frames"]) holdListedFrames(*meta, nullptr);
    for (size_t i = 0; i < queues.size(); ++i) {
        if (meta != queues.end() && !namesFrames(elements[i])) {
            queues[i] = copyOf(*meta, queues[i], elements[i], budget);
        } else if (!elements[i]["frames"]) {
            holdListedFrames(queues[i], meta != queues.end() ? &*meta : nullptr);
        }
    }
    for (size_t i = 0; i < queues.size(); ++i) loseFrames(elements[i]["lost"], budget, queues[i]);
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
