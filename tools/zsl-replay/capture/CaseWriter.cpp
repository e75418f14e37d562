// Requests as values, and values printed as YAML.

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <ostream>

#include "capture/CaseFile.h"

namespace replay {

namespace {

bool isShort(const Value& value) {
    constexpr size_t kLongestNumber = 20;
    return value.isText() && value.text().size() <= kLongestNumber;
}

// Lists of numbers, however long; small maps, such as what a queue has of a frame.
bool isOnOneLine(const Value& value) {
    if (value.isList()) return std::all_of(value.list().begin(), value.list().end(), isShort);
    return value.isMap() && value.map().size() <= 3 &&
           std::all_of(value.map().begin(), value.map().end(), [](const auto& each) { return isShort(each.second); });
}

void write(YAML::Emitter& out, const Value& value) {
    if (isOnOneLine(value)) out << YAML::Flow;
    if (value.isNull()) {
        out << YAML::Null;
    } else if (value.isText()) {
        out << value.text();
    } else if (value.isList()) {
        out << YAML::BeginSeq;
        for (const Value& each : value.list()) write(out, each);
        out << YAML::EndSeq;
    } else {
        out << YAML::BeginMap;
        for (const auto& [key, part] : value.map()) {
            out << YAML::Key << key.text() << YAML::Value;
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

Value valueOf(const Queue& queue) {
    Value::Map frames;
    for (const auto& [frame, data] : queue.everHeld()) {
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
    if (check.metadata) value["metadata"] = *check.metadata;
    return value;
}

}  // namespace

Value valueOf(const Request& request) {
    Value value = Value::Map{{"name", request.name}, {"frame", request.fwkFrame}};
    if (request.adapter != "absent") value["adapter"] = request.adapter;  // else as for the request before
    if (request.written) {
        value.merge(*request.written);
        return value;
    }
    Value::List queues;
    for (const Queue& queue : request.queues) queues.push_back(valueOf(queue));
    value.merge(Value::Map{{"used", request.used},
                           {"master", request.master},
                           {"need", request.need},
                           {"metadata", request.metadata},
                           {"select", kSelectWords[static_cast<size_t>(request.select)]},
                           {"clock", request.clockNs},
                           {"queues", queues},
                           {"check", valueOf(request.check)}});
    return value;
}

void printHead(std::ostream& out, const Case& platform) {
    Value head = Value::Map{{"properties", platform.properties}};
    if (!platform.staticMetadata.empty()) head["staticMetadata"] = platform.staticMetadata;
    print(out, head);
    out << "requests:\n";
}

void printRequest(std::ostream& out, const Value& request) { print(out, Value::List{request}); }

}  // namespace replay
