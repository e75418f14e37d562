// Values printed as YAML, and requests that were rebuilt from a log as values.

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <ostream>

#include "capture/Document.h"

namespace replay {

namespace {

constexpr size_t kWidest = 100;  // of what stands on one line

// The length on one line, of what is too long just that it is.
size_t widthOf(const Value& value) {
    size_t width = 2;  // brackets, or what separates it from the next
    const auto add = [&width](const Value& part) { width += width <= kWidest ? widthOf(part) : 0; };
    if (value.isText()) width += value.text().size();
    if (value.isList()) std::for_each(value.list().begin(), value.list().end(), add);
    if (value.isMap()) {
        for (const auto& [key, part] : value.map()) {
            add(key);
            add(part);
        }
    }
    return width;
}

// Also lists of numbers, however long.
bool isOnOneLine(const Value& value) {
    constexpr size_t kLongestNumber = 20;
    const auto isNumber = [](const Value& each) { return each.isText() && each.text().size() <= kLongestNumber; };
    return widthOf(value) <= kWidest ||
           (value.isList() && std::all_of(value.list().begin(), value.list().end(), isNumber));
}

void write(YAML::Emitter& out, const Value& value) {
    if (value.isNull()) {
        out << YAML::Null;
    } else if (value.isText()) {
        out << value.text();
    } else if (value.isList()) {
        out << YAML::BeginSeq;
        for (const Value& each : value.list()) {
            if (isOnOneLine(each)) out << YAML::Flow;  // and all that is in it
            write(out, each);
        }
        out << YAML::EndSeq;
    } else {
        out << YAML::BeginMap;
        for (const auto& [key, part] : value.map()) {
            out << YAML::Key << key.text() << YAML::Value;
            if (isOnOneLine(part)) out << YAML::Flow;
            write(out, part);
        }
        out << YAML::EndMap;
    }
}

void print(std::ostream& out, const Value& value) {
    YAML::Emitter yaml;
    yaml.SetOutputCharset(YAML::EscapeNonAscii);
    write(yaml, value);
    out << yaml.c_str() << '\n';
}

Value valueOf(const std::optional<Tags>& tags) { return tags ? Value::Map(tags->begin(), tags->end()) : Value(); }

Value valueOf(const Queue& queue) {
    auto everHeld = queue.held;
    everHeld.insert(queue.lost.begin(), queue.lost.end());
    Value::Map frames;
    for (const auto& [frame, data] : everHeld) {
        const Value::Map both = {{"shutter", data.shutterTimeNs}, {"mode", data.sensorMode}};
        frames.emplace_back(frame, data.sensorMode != 0 ? Value(both) : Value(data.shutterTimeNs));
    }
    FrameList lost;
    for (const auto& [frame, data] : queue.lost) lost.push_back(frame);
    Value value = Value::Map{{"id", queue.id},
                             {"type", queue.type},
                             {"name", queue.name},
                             {"consumer", queue.consumer},
                             {"producer", queue.producer},
                             {"frames", frames}};
    if (queue.all != queue.deliveryOrder()) value["all"] = queue.all;
    if (!lost.empty()) value["lost"] = lost;
    return value;
}

Value valueOf(const Check& check) {
    Value value = Value::Map{{"role", check.role}, {"frames", check.aiHlFrames}};
    if (check.of) value["of"] = *check.of;
    if (check.metadata) value["metadata"] = valueOf(*check.metadata);
    return value;
}

}  // namespace

Value valueOf(const Request& request) {
    if (request.written) return *request.written;
    Value::List queues;
    for (const Queue& queue : request.queues) queues.push_back(valueOf(queue));
    Value value = Value::Map{{"name", request.name},
                             {"frame", request.fwkFrame},
                             {"used", request.used},
                             {"master", request.master},
                             {"need", request.need},
                             {"metadata", valueOf(request.metadata)},
                             {"select", kSelectWords[static_cast<size_t>(request.select)]},
                             {"clock", request.clockNs},
                             {"queues", queues},
                             {"check", valueOf(request.check)}};
    if (request.adapter != "absent") value["adapter"] = request.adapter;  // else as for the request before
    return value;
}

Document documentOf(const Case& theCase) {
    Value::List requests;
    for (const Request& request : theCase.requests) requests.push_back(valueOf(request));
    return {theCase.file, Value::Map{{"requests", requests}}, ""};
}

void printHead(std::ostream& out, const Case& platform) {
    Value properties = Value::Map();
    for (const auto& [property, value] : platform.properties) properties[property] = value ? *value : Value();
    Value::Map cameras;
    for (const auto& [camera, tags] : platform.staticMetadata) cameras.emplace_back(camera, valueOf(tags));
    Value head = Value::Map{{"properties", properties}};
    if (!cameras.empty()) head["staticMetadata"] = cameras;
    print(out, head);
    out << "requests:\n";
}

void printRequest(std::ostream& out, const Value& request) { print(out, Value::List{request}); }

}  // namespace replay
