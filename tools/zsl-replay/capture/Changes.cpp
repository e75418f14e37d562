// Changes of requests from the command line.

#include <fmt/format.h>

#include "capture/CaseFile.h"

namespace replay {

namespace {

constexpr int kLongestPath = 32;  // keys and indices
constexpr char kPath[] = "the path of a request's key";

// A change stands nowhere in a file.
[[noreturn]] void fail(const std::string& expected, std::string_view found) {
    throw PlacedError({}, expected, '"' + printable(found) + '"');
}

// The element of a list, or one behind the last. A step is "[index]".
Value& element(Value& in, std::string_view step) {
    auto& list = std::get<Value::List>(in.data);
    size_t index = 0;
    if (!parseNumber(step.substr(1, step.size() - 2), index)) fail(kPath, step);
    if (index > list.size()) fail(fmt::format("an index of a list of {}", list.size()), step);
    if (index == list.size()) list.emplace_back();
    return list[index];
}

// What a path such as "queues[1].lost" names, put there where it is missing. Below "metadata" the rest is a tag's name.
Value& valueAt(Value& request, std::string_view path) {
    Value* in = &request;
    std::string_view step;
    for (int steps = 0; !path.empty(); ++steps) {
        const bool isIndex = path[0] == '[';
        if (path[0] == '.') path.remove_prefix(1);
        const size_t keyEnd = step == "metadata" ? path.size() : path.find_first_of(".[");
        step = path.substr(0, isIndex ? path.find(']') + 1 : keyEnd);  // npos + 1 is 0
        if (in->isNull()) *in = isIndex ? Value(Value::List()) : Value(Value::Map());
        if (steps == kLongestPath || step.empty() || !(isIndex ? in->isList() : in->isMap())) fail(kPath, path);
        in = isIndex ? &element(*in, step) : &(*in)[step];
        path.remove_prefix(step.size());
    }
    return *in;
}

// KEY=VALUE: the key is the path of a request's key, such as "queues[1].lost" or "metadata.nexaro.hdr.enabled", in
// every request, or in request N (from 1) when it starts with "N:"; a list's next index appends. The value is YAML.
void applySetting(Value::List& requests, std::string_view setting) {
    const size_t equals = setting.find('=');
    if (equals == std::string::npos) fail("KEY=VALUE", setting);
    std::string_view path = setting.substr(0, equals);
    const size_t colon = path.find(':');
    size_t only = 0;
    const bool isNumbered = colon != std::string::npos && parseNumber(path.substr(0, colon), only);
    if (isNumbered && (only < 1 || only > requests.size())) {
        fail(fmt::format("a request from 1 to {}", requests.size()), path.substr(0, colon));
    }
    if (isNumbered) path.remove_prefix(colon + 1);
    if (path.empty()) fail(kPath, path);
    const Value value = parseYaml(std::string(setting.substr(equals + 1)));
    for (size_t i = 0; i < requests.size(); ++i) {
        if (!isNumbered || i + 1 == only) valueAt(requests[i], path) = value;
    }
}

// FRAME[@QUEUE]: the queue with that id, or every queue, has lost the frame. `values` are how the requests are given.
void applyDrop(Value::List& values, const std::vector<Request>& requests, const std::string& drop) {
    const size_t at = drop.find('@');
    uint32_t frame = 0;
    uint32_t id = 0;
    const bool one = at != std::string::npos;
    if (!parseNumber(drop.substr(0, at), frame) || (one && !parseNumber(drop.substr(at + 1), id))) {
        fail("FRAME or FRAME@QUEUE", drop);
    }
    bool isHeld = false;
    for (size_t i = 0; i < requests.size(); ++i) {
        const std::vector<Queue>& queues = requests[i].queues;
        for (size_t q = 0; q < queues.size(); ++q) {
            if ((one && queues[q].id != id) || queues[q].held.count(frame) == 0) continue;
            isHeld = true;
            FrameList lost = {frame};
            for (const auto& [number, data] : queues[q].lost) lost.push_back(number);
            valueAt(values[i], fmt::format("queues[{}].lost", q)) = lost;
        }
    }
    if (!isHeld) fail(one ? "a frame that this queue holds" : "a frame that a queue holds", drop);
}

}  // namespace

std::string Changes::words() const {
    std::string text;
    for (const std::string& setting : settings) append(text, "--set " + setting, " ");
    for (const std::string& drop : drops) append(text, "--drop " + drop, " ");
    return text;
}

std::vector<Request> withChanges(std::vector<Request> requests, const Changes& changes) {
    Value::List values;
    for (const Request& each : requests) values.push_back(each.written ? *each.written : valueOf(each));
    const auto attempt = [&](const std::string& change, const auto& apply) {
        try {
            apply();
            requests = readRequests(values);
        } catch (const PlacedError& error) {
            throw InputError(printable(change) + ": " + error.what());
        }
    };
    for (const std::string& setting : changes.settings) {
        attempt("--set " + setting, [&] { applySetting(values, setting); });
    }
    for (const std::string& drop : changes.drops) {
        attempt("--drop " + drop, [&] { applyDrop(values, requests, drop); });
    }
    return requests;
}

}  // namespace replay
