// Values printed as YAML, and requests that were rebuilt from a log as values.

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <ostream>

#include "capture/Document.h"
#include "capture/Metadata.h"

namespace replay {

namespace {

constexpr size_t kWidest = 100;  // of what stands on one line

// Whether a value takes no more than what is left of a line, which it takes off.
bool fits(const Value& value, size_t& left) {
    const auto partFits = [&left](const Value& part) { return fits(part, left); };
    size_t width = 2;  // brackets, or what separates it from the next
    if (value.isText()) width += value.text().size();
    if (width > left) return false;
    left -= width;
    if (value.isList()) {
        const Value::List& list = value.list();
        return std::all_of(list.begin(), list.end(), partFits);
    }
    if (!value.isMap()) return true;
    const auto entryFits = [&](const auto& entry) { return partFits(entry.first) && partFits(entry.second); };
    return std::all_of(value.map().begin(), value.map().end(), entryFits);
}

// Also lists of numbers, however long.
bool isOnOneLine(const Value& value) {
    size_t left = kWidest;
    const auto isText = [](const Value& each) { return each.isText() && each.text().size() < 20; };
    if (fits(value, left)) return true;
    return value.isList() && std::all_of(value.list().begin(), value.list().end(), isText);
}

void write(YAML::Emitter& out, const Value& value) {
    if (isOnOneLine(value)) out << YAML::Flow;  // and all that is in it
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

Value framesOf(const Queue& queue) {
    auto everHeld = queue.held;
    everHeld.insert(queue.lost.begin(), queue.lost.end());
    Value::Map frames;
    for (const auto& [frame, data] : everHeld) {
        Value entry = data.shutterTimeNs;
        if (data.sensorMode != 0) entry = Value::Map{{"shutter", data.shutterTimeNs}, {"mode", data.sensorMode}};
        frames.emplace_back(frame, std::move(entry));
    }
    return frames;
}

Value valueOf(const Queue& queue) {
    Value value = Value::Map{{"id", queue.id},
                             {"type", queue.type},
                             {"name", queue.name},
                             {"consumer", queue.consumer},
                             {"producer", queue.producer},
                             {"frames", framesOf(queue)}};
    if (queue.all != queue.deliveryOrder()) value["all"] = queue.all;
    FrameList lost;
    for (const auto& [frame, data] : queue.lost) lost.push_back(frame);
    if (!lost.empty()) value["lost"] = lost;
    return value;
}

Value valueOf(const Check& check) {
    Value value = Value::Map{{"role", check.role}, {"frames", check.aiHlFrames}};
    if (check.of) value["of"] = *check.of;
    if (check.metadata) value["metadata"] = valueOf(*check.metadata);
    return value;
}

void print(std::ostream& out, const YAML::Emitter& yaml, const std::vector<std::string>& comments) {
    for (const std::string& comment : comments) out << "# " << printable(comment) << '\n';
    out << yaml.c_str() << '\n';
}

}  // namespace

Value valueOf(const Request& request) {
    constexpr const char* kSelect[] = {"gated", "always", "never"};
    if (request.written) return *request.written;
    Value::List queues;
    for (const Queue& queue : request.queues) queues.push_back(valueOf(queue));
    Value value = Value::Map{{"name", request.name},
                             {"frame", request.fwkFrame},
                             {"used", request.used},
                             {"master", request.master},
                             {"need", request.need},
                             {"metadata", valueOf(request.metadata)},
                             {"select", kSelect[static_cast<size_t>(request.select)]},
                             {"clock", request.clockNs},
                             {"queues", std::move(queues)},
                             {"check", valueOf(request.check)}};
    if (request.adapter != "absent") value["adapter"] = request.adapter;  // else as for the request before
    return value;
}

Document documentOf(const Case& theCase) {
    Value::List requests;
    for (const Request& request : theCase.requests) requests.push_back(valueOf(request));
    return {theCase.file, Value::Map{{"requests", std::move(requests)}}, ""};
}

void printHead(std::ostream& out, const Case& platform, const std::vector<std::string>& comments) {
    Value::Map properties;
    for (const auto& [property, value] : platform.properties)
        properties.emplace_back(property, value ? *value : Value());
    YAML::Emitter yaml;
    yaml.SetOutputCharset(YAML::EscapeNonAscii);
    yaml << YAML::BeginMap << YAML::Key << "properties" << YAML::Value;
    write(yaml, properties);
    if (platform.writtenStaticMetadata) {
        yaml << YAML::Key << "staticMetadata" << YAML::Value;
        write(yaml, *platform.writtenStaticMetadata);
    }
    yaml << YAML::EndMap;
    print(out, yaml, comments);
    out << "requests:\n";
}

void printRequest(std::ostream& out, const Value& request, const std::vector<std::string>& comments) {
    YAML::Emitter yaml;
    yaml.SetOutputCharset(YAML::EscapeNonAscii);
    yaml << YAML::BeginSeq;
    write(yaml, request);
    yaml << YAML::EndSeq;
    print(out, yaml, comments);
}

}  // namespace replay
