#include "capture/Metadata.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cstring>

#include "api/MetadataValue.h"

namespace replay {

namespace {

constexpr char kSeamlessPolicy[] = "nexaro.camera.zoseamlesspolicy.result";
constexpr size_t kPolicyRecordSize = 52;
constexpr size_t kPolicyModeOffset = 40;

constexpr char kEnableZsl[] = "android.control.enableZsl";
constexpr uint32_t kEnableZslId = 0x10029;

const std::vector<std::pair<std::string, uint8_t>> kKnownTags = {
    {kSeamlessPolicy, TYPE_BYTE},
    {kEnableZsl, TYPE_BYTE},
    {"nexaro.ai.zosd.motionCaptureEnabledIcon", TYPE_BYTE},
    {"nexaro.hdr.enabled", TYPE_BYTE},
    {"nexaro.hdr.sr.enabled", TYPE_BYTE},
    {"nexaro.mfnr.anchorTimeStamp", TYPE_INT64},
    {"nexaro.ai.zosd.motionCaptureType", TYPE_INT32},
    {"com.nexaro.camera.sensorpolicy.mask", TYPE_INT32},
    {"com.nexaro.camera.sensorpolicy.mcxFrameresult", TYPE_INT32},
    {"com.nexaro.ext.control.policy.sensorMode", TYPE_INT32},
};

// By the platform's numbers.
constexpr const char* kTypes[] = {"byte", "int32", "float", "int64", "double", "rational"};
constexpr size_t kTypeCount = sizeof(kTypes) / sizeof(kTypes[0]);

// Of a type that camera metadata does not know, bytes.
size_t elementSize(uint8_t type) { return std::max<size_t>(zohal::elementSize(type), 1); }

std::optional<uint8_t> typeOf(const std::string& tag) {
    for (const auto& [name, type] : kKnownTags) {
        if (tag == name) return type;
    }
    return std::nullopt;
}

template <typename T>
void append(TagValue& value, T element) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&element);
    value.payload.insert(value.payload.end(), bytes, bytes + sizeof(T));
    ++value.count;
}

// One element; of a rational the 64 bits.
void readElement(const Value& in, TagValue& value) {
    switch (value.type) {
        case TYPE_FLOAT:
            return append(value, static_cast<float>(in.real()));
        case TYPE_DOUBLE:
            return append(value, in.real());
        case TYPE_INT32:
            return append(value, static_cast<uint32_t>(in.number<int64_t>(INT32_MIN, UINT32_MAX)));
        case TYPE_INT64:
        case TYPE_RATIONAL:
            return append(value, in.number<int64_t>());
        default:
            return append(value, in.number<uint8_t>());
    }
}

TagValue readElements(uint8_t type, const Value& in) {
    TagValue value{type, 0, {}};
    if (!in.isList()) {
        readElement(in, value);
    } else {
        for (const Value& each : in.elements("values")) readElement(each, value);
    }
    return value;
}

TagValue readPolicy(const Value& in) {
    std::vector<std::pair<uint32_t, uint32_t>> records;
    for (const Value& each : in.elements("[sensor id, sensor mode] of each record")) {
        const auto pair = each.elements("[sensor id, sensor mode]");
        if (pair.size() != 2) each.fail("[sensor id, sensor mode]");
        records.emplace_back(pair[0].number<uint32_t>(), pair[1].number<uint32_t>());
    }
    return seamlessPolicy(records);
}

uint8_t readType(const Value& in) {
    constexpr char kPossible[] =
        "a type: byte, int32, float, int64, double, rational, or the number of another from 0 to 255";
    const std::string& text = in.text(kPossible);
    auto type = static_cast<uint8_t>(std::find(kTypes, kTypes + kTypeCount, text) - kTypes);
    if (type == kTypeCount && !parseNumber(text, type)) in.fail(kPossible);
    return type;
}

// {type, values, count}: the count may be less than there are values, or any at all when there are none (no data).
TagValue readTyped(const Value& in) {
    in.asMap({"type", "values", "count"});
    const uint8_t type = readType(in["type"]);
    TagValue value = in["values"] ? readElements(type, in["values"]) : TagValue{type, 0, {}};
    const uint64_t most = value.count > 0 ? value.count : UINT64_MAX;
    if (in["count"]) value.count = in["count"].number<uint64_t>(0, most);
    return value;
}

TagValue readValue(const std::string& tag, const Value& key, const Value& in) {
    if (in.isMap()) return readTyped(in);
    if (tag == kSeamlessPolicy) return readPolicy(in);
    if (const auto type = typeOf(tag)) return readElements(*type, in);
    std::string names;
    for (const auto& [name, type] : kKnownTags) names += (names.empty() ? "" : ", ") + name;
    key.fail("a tag that the selector reads (" + names + "), or {type: ..., values: [...]} as the value");
}

template <typename T>
T elementAt(const TagValue& value, size_t at) {
    T element;
    std::memcpy(&element, value.payload.data() + at, sizeof(T));
    return element;
}

void writeElement(YAML::Emitter& out, const TagValue& value, size_t at) {
    switch (value.type) {
        case TYPE_FLOAT:
            out << elementAt<float>(value, at);
            break;
        case TYPE_DOUBLE:
            out << elementAt<double>(value, at);
            break;
        case TYPE_INT32:
            out << elementAt<int32_t>(value, at);
            break;
        case TYPE_INT64:
        case TYPE_RATIONAL:
            out << elementAt<int64_t>(value, at);
            break;
        default:
            out << int{value.payload[at]};
    }
}

void writeElements(YAML::Emitter& out, const TagValue& value) {
    out << YAML::Flow << YAML::BeginSeq;
    for (size_t at = 0; at < value.payload.size(); at += elementSize(value.type)) writeElement(out, value, at);
    out << YAML::EndSeq;
}

std::vector<std::pair<uint32_t, uint32_t>> policyRecords(const TagValue& value) {
    std::vector<std::pair<uint32_t, uint32_t>> records;
    for (size_t at = 0; at + kPolicyRecordSize <= value.payload.size(); at += kPolicyRecordSize) {
        records.emplace_back(elementAt<uint32_t>(value, at), elementAt<uint32_t>(value, at + kPolicyModeOffset));
    }
    return records;
}

void writeValue(YAML::Emitter& out, const std::string& tag, const TagValue& value) {
    const auto records = policyRecords(value);
    const bool isWhole = value.count == value.payload.size() / elementSize(value.type);
    if (tag == kSeamlessPolicy && value.type == TYPE_BYTE && isWhole &&
        value.payload == seamlessPolicy(records).payload) {
        out << YAML::Flow << YAML::BeginSeq;
        for (const auto& [id, mode] : records) out << std::vector<uint32_t>{id, mode};
        out << YAML::EndSeq;
    } else if (tag != kSeamlessPolicy && typeOf(tag) == value.type && isWhole) {
        value.count == 1 ? writeElement(out, value, 0) : writeElements(out, value);
    } else {
        out << YAML::Flow << YAML::BeginMap << YAML::Key << "type" << YAML::Value;
        value.type < kTypeCount ? out << kTypes[value.type] : out << int{value.type};
        if (!value.payload.empty()) {
            out << YAML::Key << "values" << YAML::Value;
            writeElements(out, value);
        }
        out << YAML::Key << "count" << YAML::Value << value.count << YAML::EndMap;
    }
}

}  // namespace

std::optional<Tags> readTags(const Value& in) {
    if (in.isNull()) return std::nullopt;
    Tags tags;
    in.asMap().forEach([&](const Value& key, const Value& value) {
        const std::string& tag = key.text("a tag");
        tags[tag] = readValue(tag, key, value);
    });
    return tags;
}

void writeTags(YAML::Emitter& out, const std::string& key, const std::optional<Tags>& tags) {
    out << YAML::Key << key << YAML::Value;
    if (!tags) {
        out << YAML::Null;
        return;
    }
    out << YAML::BeginMap;
    for (const auto& [tag, value] : *tags) {
        out << YAML::Key << tag << YAML::Value;
        writeValue(out, tag, value);
    }
    out << YAML::EndMap;
}

std::shared_ptr<ZoMetadata> makeMetadata(const std::optional<Tags>& tags) {
    if (!tags) return nullptr;
    auto metadata = std::make_shared<ZoMetadata>();
    for (const auto& [name, value] : *tags) {
        if (name == kEnableZsl) {
            metadata->set(kEnableZslId, value.type, value.count, value.payload);
        } else {
            metadata->set(name, value.type, value.count, value.payload);
        }
    }
    return metadata;
}

TagValue tagValue(const std::string& tag, int64_t number) {
    TagValue value{*typeOf(tag), 0, {}};
    append(value, number);
    value.payload.resize(elementSize(value.type));  // the low bytes come first
    return value;
}

TagValue seamlessPolicy(const std::vector<std::pair<uint32_t, uint32_t>>& idAndMode) {
    TagValue value{TYPE_BYTE, 0, std::vector<uint8_t>(idAndMode.size() * kPolicyRecordSize)};
    for (size_t i = 0; i < idAndMode.size(); ++i) {
        uint8_t* record = value.payload.data() + i * kPolicyRecordSize;
        std::memcpy(record, &idAndMode[i].first, sizeof(uint32_t));
        std::memcpy(record + kPolicyModeOffset, &idAndMode[i].second, sizeof(uint32_t));
    }
    value.count = value.payload.size();
    return value;
}

}  // namespace replay
