#include "capture/Metadata.h"

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

std::optional<uint8_t> typeOf(const std::string& tag) {
    for (const auto& [name, type] : kKnownTags) {
        if (tag == name) return type;
    }
    return std::nullopt;
}

void append(TagValue& value, int64_t number, size_t size) {
    const auto* const low = reinterpret_cast<const uint8_t*>(&number);  // the low bytes come first
    value.payload.insert(value.payload.end(), low, low + size);
}

// Numbers of a whole type; of another, which has no exact ones, the bytes.
void readElement(const Value& in, TagValue& value) {
    if (value.type == TYPE_INT64) {
        append(value, in.number<int64_t>(), sizeof(int64_t));
    } else if (value.type == TYPE_INT32) {
        append(value, in.number<int64_t>(INT32_MIN, UINT32_MAX), sizeof(int32_t));
    } else {
        append(value, in.number<uint8_t>(), 1);
    }
}

TagValue readElements(uint8_t type, const Value& in) {
    TagValue value{type, 0, {}};
    if (in.isList()) {
        for (const Value& each : in.list("values")) readElement(each, value);
    } else {
        readElement(in, value);
    }
    value.count = value.payload.size() / std::max<size_t>(zohal::elementSize(type), 1);  // of an unknown type bytes
    return value;
}

TagValue readPolicy(const Value& in) {
    std::vector<std::pair<uint32_t, uint32_t>> records;
    for (const Value& each : in.list("[sensor id, sensor mode] of each record")) {
        const Value::List& pair = each.list("[sensor id, sensor mode]");
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
    in.map({"type", "values", "count"});
    const Value* const values = in.find("values");
    const Value* const count = in.find("count");
    TagValue value = readElements(readType(in.at("type")), values != nullptr ? *values : Value::List());
    const uint64_t most = value.payload.empty() ? UINT64_MAX : value.count;
    if (count != nullptr) value.count = count->number<uint64_t>(0, most);
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

Value valueOf(const std::string& tag, const TagValue& value) {
    Value::List elements;
    if (tag == kSeamlessPolicy) {
        for (size_t at = 0; at + kPolicyRecordSize <= value.payload.size(); at += kPolicyRecordSize) {
            elements.push_back(
                FrameList{elementAt<uint32_t>(value, at), elementAt<uint32_t>(value, at + kPolicyModeOffset)});
        }
        return elements;
    }
    if (value.type == TYPE_INT64) return elementAt<int64_t>(value, 0);
    if (value.type == TYPE_INT32) return elementAt<int32_t>(value, 0);
    return elementAt<uint8_t>(value, 0);
}

}  // namespace

std::optional<Tags> readTags(const Value& in) {
    if (in.isNull()) return std::nullopt;
    Tags tags;
    for (const auto& [key, value] : in.map()) {
        const std::string& tag = key.text("a tag");
        tags[tag] = readValue(tag, key, value);
    }
    return tags;
}

Value valueOf(const std::optional<Tags>& tags) {
    if (!tags) return {};
    Value::Map entries;
    for (const auto& [tag, value] : *tags) entries.emplace_back(tag, valueOf(tag, value));
    return entries;
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
    TagValue value{*typeOf(tag), 1, {}};
    append(value, number, zohal::elementSize(value.type));
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
