#include "capture/Queues.h"

#include <algorithm>

namespace replay {

namespace {

// {shutter, mode}, or a shutter time alone.
FrameData frameData(const Value& in) {
    FrameData data;
    const Value* const shutter = in.isMap() ? in.find("shutter") : &in;
    data.assumed = shutter == nullptr;
    if (shutter != nullptr) data.shutterTimeNs = shutter->number<int64_t>();
    in.read("mode", data.sensorMode);
    return data;
}

void addFrame(Queue& queue, uint32_t frame, const FrameData& data, const Value& where) {
    if (!queue.held.emplace(frame, data).second) where.fail("every frame of a queue once", std::to_string(frame));
}

bool namesFrames(const Value& in) {
    return in.find("consumer") || in.find("producer") || in.find("all") || in.find("frames");
}

// A queue that names lists only holds every frame in them: as the metadata queue has it, else at 30 fps.
void holdListed(Queue& queue, const Queue* metaQueue) {
    FrameList listed = queue.deliveryOrder();
    listed.insert(listed.end(), queue.all.begin(), queue.all.end());
    for (const uint32_t frame : listed) {
        FrameData data{frame * kDefaultIntervalNs, 0, true};
        if (metaQueue != nullptr && metaQueue->held.count(frame) > 0) data = metaQueue->held.at(frame);
        queue.held.emplace(frame, data);
    }
}

// "800 801 803", of many just the first.
std::string shown(const std::map<uint32_t, FrameData>& held) {
    constexpr size_t kMostShown = 20;
    FrameList frames;
    for (auto at = held.begin(); at != held.end() && frames.size() < kMostShown; ++at) frames.push_back(at->first);
    return join(frames) + (held.size() > kMostShown ? " ..." : "");
}

}  // namespace

void FrameReader::take(size_t frames, const Value& where) {
    if (frames > mLeft) where.fail("at most " + std::to_string(kMostFrames) + " frames in a file", "more");
    mLeft -= frames;
}

// Frame numbers wrap as on a device.
FrameList FrameReader::run(const Value& in) {
    const auto first = in.at("first").number<uint32_t>();
    const auto count = in.at("count").number<uint32_t>();
    take(count, in.at("count"));
    FrameList frames(count);
    for (uint32_t i = 0; i < count; ++i) frames[i] = first + i;
    return frames;
}

FrameList FrameReader::list(const Value& in) {
    FrameList frames;
    const auto append = [&](const Value& each) {
        if (each.isMap()) {
            each.map({"first", "count"});
            const FrameList more = run(each);
            frames.insert(frames.end(), more.begin(), more.end());
        } else {
            take(1, each);
            frames.push_back(each.number<uint32_t>());
        }
    };
    if (in.isMap()) {
        append(in);
    } else {
        for (const Value& each : in.list("a list of frames")) append(each);
    }
    return frames;
}

// A run with the first time and the interval, or what stands under each number.
void FrameReader::addHeld(const Value& in, Queue& queue) {
    if (!in.isMap()) in.fail("frames: a run, or shutter times by frame");
    if (in.find("first") == nullptr) {
        for (const auto& [key, value] : in.map()) {
            take(1, key);
            addFrame(queue, key.number<uint32_t>(), frameData(value), key);
        }
        return;
    }
    in.map({"first", "count", "shutter", "interval", "mode"});
    int64_t intervalNs = kDefaultIntervalNs;
    in.read("interval", intervalNs);
    FrameData data = frameData(in);
    const FrameList frames = run(in);
    auto timeNs = static_cast<uint64_t>(data.shutterTimeNs);  // wraps
    if (data.assumed && !frames.empty()) timeNs = frames.front() * static_cast<uint64_t>(intervalNs);
    for (const uint32_t frame : frames) {
        data.shutterTimeNs = static_cast<int64_t>(timeNs);
        addFrame(queue, frame, data, in.at("first"));
        timeNs += static_cast<uint64_t>(intervalNs);
    }
}

// What the queue says itself.
Queue FrameReader::queue(const Value& in, size_t position) {
    in.map({"id", "type", "name", "consumer", "producer", "all", "frames", "lost"});
    Queue queue;
    queue.id = static_cast<uint32_t>(position + 1);
    queue.type = position == 0 ? zohal::kMetaQueue : 0;
    in.read("id", queue.id);
    in.read("type", queue.type);
    queue.name = queue.type == zohal::kMetaQueue        ? "meta"
                 : queue.type == zohal::kFrameInfoQueue ? "frameinfo"
                                                        : "queue";
    in.read("name", queue.name);
    const Value* const frames = in.find("frames");
    if (frames != nullptr && frames->isList()) {
        for (const Value& each : frames->list("frames")) addHeld(each, queue);
    } else if (frames != nullptr) {
        addHeld(*frames, queue);
    }
    const Value* const consumer = in.find("consumer");
    const Value* const producer = in.find("producer");
    const Value* const all = in.find("all");
    if (consumer != nullptr) queue.consumer = list(*consumer);
    if (producer != nullptr) queue.producer = list(*producer);
    if (frames != nullptr && consumer == nullptr && producer == nullptr) {
        for (const auto& [frame, data] : queue.held) queue.consumer.push_back(frame);
    }
    queue.all = all != nullptr ? list(*all) : queue.deliveryOrder();
    return queue;
}

void FrameReader::copyFrames(const Queue& meta, const Value& in, Queue& queue) {
    take(std::max(meta.all.size(), meta.held.size()), in);
    queue.consumer = meta.consumer;
    queue.producer = meta.producer;
    queue.all = meta.all;
    queue.held = meta.held;
}

void FrameReader::lose(const Value& in, Queue& queue) {
    for (const uint32_t frame : list(in)) {
        auto node = queue.held.extract(frame);
        if (node.empty()) in.fail("frames that the queue holds (" + shown(queue.held) + ')', std::to_string(frame));
        queue.lost.insert(std::move(node));
    }
}

std::vector<Queue> FrameReader::queues(const Value& in) {
    const Value::List& given = in.list("a list of queues");
    std::vector<Queue> queues;
    for (size_t i = 0; i < given.size(); ++i) queues.push_back(queue(given[i], i));

    const auto found =
        std::find_if(queues.begin(), queues.end(), [](const Queue& queue) { return queue.type == zohal::kMetaQueue; });
    Queue* const meta = found != queues.end() ? &*found : nullptr;
    if (meta != nullptr && !given[found - queues.begin()].find("frames")) holdListed(*meta, nullptr);
    for (size_t i = 0; i < queues.size(); ++i) {
        if (meta != nullptr && !namesFrames(given[i])) {
            copyFrames(*meta, given[i], queues[i]);
        } else if (!given[i].find("frames")) {
            holdListed(queues[i], meta);
        }
    }
    for (size_t i = 0; i < queues.size(); ++i) {
        if (const Value* const lost = given[i].find("lost")) lose(*lost, queues[i]);
    }
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
