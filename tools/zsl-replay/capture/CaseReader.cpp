// Values into a case.

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "capture/CaseFile.h"
#include "capture/Metadata.h"

namespace replay {

namespace {

// What is left of the frames that one file may name: a small file's runs, aliases and queues without lists of their own
// could fill all memory.
struct Budget {
    size_t frames = kMostFrames;

    void take(size_t count, const Value& where) {
        if (count > frames) where.fail(fmt::format("at most {} frames in a file", kMostFrames), "more");
        frames -= count;
    }
};

bool isMetaQueue(const Queue& queue) { return queue.type == zohal::kMetaQueue; }

// Frame numbers wrap as on a device.
FrameList readRun(const Value& in, Budget& budget) {
    const auto first = in.at("first").number<uint32_t>();
    const auto count = in.at("count").number<uint32_t>();
    budget.take(count, in.at("count"));
    FrameList frames(count);
    std::iota(frames.begin(), frames.end(), first);
    return frames;
}

// A run {first, count}, or a list of numbers and runs.
FrameList readFrames(const Value& in, Budget& budget) {
    if (in.isMap()) {
        in.map({"first", "count"});
        return readRun(in, budget);
    }
    FrameList frames;
    for (const Value& each : in.list("a list of frames")) {
        if (each.isMap()) {
            const FrameList run = readFrames(each, budget);
            frames.insert(frames.end(), run.begin(), run.end());
        } else {
            budget.take(1, each);
            frames.push_back(each.number<uint32_t>());
        }
    }
    return frames;
}

void addFrame(Queue& queue, uint32_t frame, const FrameData& data, const Value& where) {
    if (!queue.held.emplace(frame, data).second) where.fail("every frame of a queue once", std::to_string(frame));
}

// {shutter, mode}, or a shutter time alone.
FrameData readFrameData(const Value& in) {
    FrameData data;
    const Value* const shutter = in.isMap() ? in.find("shutter") : &in;
    data.assumed = shutter == nullptr;
    if (shutter != nullptr) data.shutterTimeNs = shutter->number<int64_t>();
    in.read("mode", data.sensorMode);
    return data;
}

// Frames by number, a run from a first time on, or a list of such.
void readHeld(const Value& in, Budget& budget, Queue& queue) {
    if (in.isList()) {
        for (const Value& each : in.list()) readHeld(each, budget, queue);
        return;
    }
    if (!in.isMap()) in.fail("frames: a run, or shutter times by frame");
    if (in.find("first") == nullptr) {
        for (const auto& [key, value] : in.map()) {
            if (value.isMap()) value.map({"shutter", "mode"});
            budget.take(1, key);
            addFrame(queue, key.number<uint32_t>(), readFrameData(value), key);
        }
        return;
    }
    in.map({"first", "count", "shutter", "interval", "mode"});
    int64_t intervalNs = kDefaultIntervalNs;
    in.read("interval", intervalNs);
    const FrameList frames = readRun(in, budget);
    FrameData data = readFrameData(in);
    auto timeNs = static_cast<uint64_t>(data.shutterTimeNs);  // wraps
    if (data.assumed && !frames.empty()) timeNs = frames.front() * static_cast<uint64_t>(intervalNs);
    for (const uint32_t frame : frames) {
        data.shutterTimeNs = static_cast<int64_t>(timeNs);
        addFrame(queue, frame, data, in.at("first"));
        timeNs += static_cast<uint64_t>(intervalNs);
    }
}

// What the queue says of its frames. One that names none has those of the metadata queue; one that names lists only
// holds every frame in them, as the metadata queue has it, else at 30 fps.
void readFramesOf(const Value& in, const Queue* meta, Budget& budget, Queue& queue) {
    const Value* const consumer = in.find("consumer");
    const Value* const producer = in.find("producer");
    const Value* const all = in.find("all");
    const Value* const frames = in.find("frames");
    if (meta != nullptr && consumer == nullptr && producer == nullptr && all == nullptr && frames == nullptr) {
        budget.take(std::max(meta->all.size(), meta->held.size()), in);
        queue = {queue.id, queue.type, queue.name, meta->consumer, meta->producer, meta->all, meta->held, {}};
        return;
    }
    if (frames != nullptr) readHeld(*frames, budget, queue);
    if (consumer != nullptr) queue.consumer = readFrames(*consumer, budget);
    if (producer != nullptr) queue.producer = readFrames(*producer, budget);
    if (consumer == nullptr && producer == nullptr) {
        for (const auto& [frame, data] : queue.held) queue.consumer.push_back(frame);
    }
    queue.all = all != nullptr ? readFrames(*all, budget) : queue.deliveryOrder();
    if (frames != nullptr) return;
    for (const FrameList& list : {queue.consumer, queue.producer, queue.all}) {
        for (const uint32_t frame : list) {
            const bool isMetas = meta != nullptr && meta->held.count(frame) > 0;
            queue.held.emplace(frame, isMetas ? meta->held.at(frame) : FrameData{frame * kDefaultIntervalNs, 0, true});
        }
    }
}

void loseFrames(const Value& in, Budget& budget, Queue& queue) {
    for (const uint32_t frame : readFrames(in, budget)) {
        auto node = queue.held.extract(frame);
        if (node.empty()) {
            const auto& held = queue.held;
            const std::string which =
                held.empty() ? "none" : fmt::format("{} to {}", held.begin()->first, held.rbegin()->first);
            in.fail(fmt::format("frames that the queue holds ({})", which), std::to_string(frame));
        }
        queue.lost.insert(std::move(node));
    }
}

Queue readIdentity(const Value& in, size_t position) {
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
    return queue;
}

// The metadata queue, which others may refer to, comes first.
std::vector<Queue> readQueues(const Value& in, Budget& budget) {
    const Value::List& given = in.list("a list of queues");
    std::vector<Queue> queues;
    for (size_t i = 0; i < given.size(); ++i) queues.push_back(readIdentity(given[i], i));
    const auto meta = std::find_if(queues.begin(), queues.end(), isMetaQueue);
    const Queue* const metaQueue = meta != queues.end() ? &*meta : nullptr;
    if (metaQueue != nullptr) readFramesOf(given[meta - queues.begin()], nullptr, budget, *meta);
    for (size_t i = 0; i < given.size(); ++i) {
        if (&queues[i] != metaQueue) readFramesOf(given[i], metaQueue, budget, queues[i]);
    }
    for (size_t i = 0; i < given.size(); ++i) {
        if (const Value* const lost = given[i].find("lost")) loseFrames(*lost, budget, queues[i]);
    }
    return queues;
}

std::string readAdapter(const Value& in, const std::string& before) {
    constexpr char kPossible[] = "a motion word from 0 to 0xFFFFFFFF, or absent, empty or unavailable";
    const std::string& text = in.text(kPossible);
    uint32_t word = 0;
    if (text == "absent" && before != "absent") in.fail("an adapter that stays once it is there");
    if (text != "absent" && text != "empty" && text != "unavailable" && !parseNumber(text, word)) in.fail(kPossible);
    return text;
}

halcore::StrategyCall readCall(const Value& in, Budget& budget) {
    in.map({"strategy", "frame", "zsdTs", "last", "list"});
    halcore::StrategyCall call;
    const std::vector<std::string>& known = halcore::SelectorPlugin::strategies();
    call.strategy = known[in.at("strategy").oneOf(known, "a strategy: ")];
    in.read("frame", call.fwkFrame);
    in.read("zsdTs", call.zsdTs);
    if (const Value* const last = in.find("last")) {
        call.lastZslFrame = static_cast<int32_t>(last->number<int64_t>(INT32_MIN, UINT32_MAX));
    }
    if (const Value* const list = in.find("list")) call.selectList = readFrames(*list, budget);
    return call;
}

// Both flags at once, or one by one.
zohal::ZSLSelectorResult readCheckResult(const Value& in) {
    if (in.isList() && in.list().size() == 2) return {in.list()[0].boolean(), in.list()[1].boolean()};
    const bool passed = in.oneOf({"pass", "fail"}, "two flags, or one of ") == 0;
    return {passed, passed};
}

// What can't come out of a request can't be expected of it.
Expectation readExpectation(const Value& in, const Request& request, Budget& budget) {
    const Value::Words ofRequest = {"gate", "selection", "target", "anchor", "checks", "log", "logHas"};
    const Value::Words ofCall = {"selection", "result", "anchor", "log", "logHas"};
    in.map(request.call ? ofCall : ofRequest);
    Expectation expect;
    in.read("gate", expect.gate);
    in.read("result", expect.result);
    in.read("target", expect.targetNs);
    in.read("anchor", expect.anchor);
    in.read("log", expect.log);
    in.read("logHas", expect.logHas);
    if (const Value* const checks = in.find("checks")) {
        expect.checks.emplace();
        for (const auto& [frame, flags] : checks->map()) {
            expect.checks->insert_or_assign(frame.number<uint32_t>(), readCheckResult(flags));
        }
    }
    const Value* const selection = in.find("selection");
    if (selection != nullptr && selection->isMap() && selection->find("first") == nullptr) {
        if (request.call) selection->fail("a list, as a strategy has one");
        expect.selection.emplace();
        for (const auto& [queue, frames] : selection->map()) {
            expect.selection->insert_or_assign(queue.number<uint32_t>(), readFrames(frames, budget));
        }
    } else if (selection != nullptr && request.call) {
        expect.list = readFrames(*selection, budget);
    } else if (selection != nullptr) {
        if (request.queues.empty()) selection->fail("queues that can get such a list", "none");
        expect.selection.emplace();
        for (const Queue& queue : request.queues) expect.selection->emplace(queue.id, readFrames(*selection, budget));
    }
    return expect;
}

int64_t newestShutterTime(const Request& request) {
    int64_t newest = 0;
    if (const Queue* const meta = request.metaQueue()) {
        for (const auto& [frame, data] : meta->everHeld()) newest = std::max(newest, data.shutterTimeNs);
    }
    return newest;
}

Check readCheck(const Value& in, Budget& budget) {
    in.map({"camera", "role", "frames", "of", "metadata"});
    Check check;
    in.read("camera", check.camera);
    in.read("role", check.role);
    in.read("frames", check.aiHlFrames);
    if (const Value* const of = in.find("of")) check.of = readFrames(*of, budget);
    if (const Value* const metadata = in.find("metadata")) check.metadata = readTags(*metadata);
    return check;
}

Request readRequest(const Value& in, size_t position, const std::string& before, Budget& budget) {
    in.map({"name", "frame", "used", "master", "need", "metadata", "adapter", "select", "clock", "queues", "call",
            "check", "expect"});
    Request request;
    request.name = fmt::format("request {}", position + 1);
    request.fwkFrame = static_cast<uint32_t>(position + 1);
    request.adapter = before;
    in.read("name", request.name);
    in.read("frame", request.fwkFrame);
    in.read("master", request.master);
    if (const Value* const used = in.find("used")) request.used = readFrames(*used, budget);
    if (const Value* const need = in.find("need")) request.need = need->number<uint32_t>(0, kMostNeeded);
    if (const Value* const metadata = in.find("metadata")) request.metadata = readTags(*metadata);
    if (const Value* const adapter = in.find("adapter")) request.adapter = readAdapter(*adapter, before);
    if (const Value* const select = in.find("select")) {
        request.select = static_cast<halcore::Select>(select->oneOf(kSelectWords, "one of "));
    }
    if (const Value* const queues = in.find("queues")) request.queues = readQueues(*queues, budget);
    if (const Value* const call = in.find("call")) request.call = readCall(*call, budget);
    if (const Value* const check = in.find("check")) request.check = readCheck(*check, budget);
    if (const Value* const expect = in.find("expect")) request.expect = readExpectation(*expect, request, budget);
    request.clockNs = newestShutterTime(request);
    in.read("clock", request.clockNs);
    request.written = std::make_shared<const Value>(in);
    return request;
}

}  // namespace

Case readValue(const Value& root) {
    Case result;
    root.map({"recorded", "properties", "staticMetadata", "defaults", "requests"});
    if (const Value* const recorded = root.find("recorded")) result.recorded = recorded->number<uint32_t>(1, 1) == 1;
    if (const Value* const properties = root.find("properties")) {
        for (const auto& [key, value] : properties->map()) {
            auto& property = result.properties[key.text()];
            property = value.isNull() ? std::nullopt : std::optional(value.text("a property's value"));
        }
    }
    if (const Value* const cameras = root.find("staticMetadata")) {
        for (const auto& [camera, tags] : cameras->map()) {
            result.staticMetadata[camera.number<uint32_t>()] = readTags(tags).value_or(Tags());
        }
    }
    const Value* const requests = root.find("requests");
    // Of a recorded file a crash may have come before the first was whole.
    if (result.recorded && (requests == nullptr || requests->isNull())) return result;
    result.requests = readRequests(root.at("requests").list("a list of requests"));
    return result;
}

std::vector<Request> readRequests(const Value::List& values) {
    std::vector<Request> requests;
    Budget budget;
    for (const Value& each : values) {
        if (requests.size() == kMostRequests) {
            each.fail(fmt::format("at most {} requests in a file", kMostRequests), "more");
        }
        const std::string before = requests.empty() ? "absent" : requests.back().adapter;
        requests.push_back(readRequest(each, requests.size(), before, budget));
    }
    return requests;
}

FrameList Queue::deliveryOrder() const {
    FrameList order = consumer;
    order.insert(order.end(), producer.begin(), producer.end());
    return order;
}

std::map<uint32_t, FrameData> Queue::everHeld() const {
    auto frames = held;
    frames.insert(lost.begin(), lost.end());
    return frames;
}

const Queue* Request::metaQueue() const {
    const auto meta = std::find_if(queues.begin(), queues.end(), isMetaQueue);
    return meta != queues.end() ? &*meta : nullptr;
}

}  // namespace replay
