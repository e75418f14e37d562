#include "capture/MetadataYaml.h"

#include <cstring>

#include "api/MetadataValue.h"

namespace replay {

namespace {

constexpr char kSeamlessPolicy[] = "nexaro.camera.zoseamlesspolicy.result";
constexpr size_t kPolicyRecordSize = 52;
constexpr size_t kPolicyModeOffset = 40;

constexpr char kEnableZsl[] = "android.control.enableZsl";
constexpr uint32_t kEnableZslId = 0x10029;

struct KnownTag {
    const char* name;
    uint8_t type;
};
const KnownTag kKnownTags[] = {
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

struct TypeName {
    const char* name;
    uint8_t type;
};
const TypeName kTypes[] = {{"byte", TYPE_BYTE},   {"int32", TYPE_INT32},   {"float", TYPE_FLOAT},
                           {"int64", TYPE_INT64}, {"double", TYPE_DOUBLE}, {"rational", TYPE_RATIONAL}};

const KnownTag* findTag(const std::string& name) {
    for (const KnownTag& tag : kKnownTags) {
        if (name == tag.name) return &tag;
    }
    return nullptr;
}

template <typename T>
void append(std::vector<uint8_t>& payload, T value) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
    payload.insert(payload.end(), bytes, bytes + sizeof(T));
}

// One element; of a rational the 64 bits.
void appendElement(TagValue& value, const Yaml& in) {
    switch (value.type) {
        case TYPE_BYTE:
            append(value.payload, in.number<uint8_t>());
            break;
        case TYPE_FLOAT:
            append(value.payload, static_cast<float>(in.real()));
            break;
        case TYPE_DOUBLE:
            append(value.payload, in.real());
            break;
        case TYPE_INT32:
            append(value.payload, static_cast<uint32_t>(in.number<int64_t>(INT32_MIN, UINT32_MAX)));
            break;
        default:
            append(value.payload, in.number<int64_t>());
    }
    ++value.count;
}

TagValue readElements(uint8_t type, const Yaml& in) {
    TagValue value{type, 0, {}};
    if (!in.isSequence()) {
        appendElement(value, in);
    } else {
        for (const Yaml& each : in.elements("values")) appendElement(value, each);
    }
    return value;
}

TagValue readPolicy(const Yaml& in) {
    std::vector<std::pair<uint32_t, uint32_t>> records;
    for (const Yaml& each : in.elements("[sensor id, sensor mode] of each record")) {
        const auto pair = each.elements("[sensor id, sensor mode]");
        if (pair.size() != 2) each.fail("[sensor id, sensor mode]");
        records.emplace_back(pair[0].number<uint32_t>(), pair[1].number<uint32_t>());
    }
    return seamlessPolicy(records);
}

// {type, values, count}: the count may be less than there are values, or any at all when there are none (no data).
TagValue readTyped(const Yaml& in) {
    in.asMap({"type", "values", "count"});
    const std::string name = in["type"] ? in["type"].text("a type") : "";
    for (const TypeName& known : kTypes) {
        if (name != known.name) continue;
        TagValue value = in["values"] ? readElements(known.type, in["values"]) : TagValue{known.type, 0, {}};
        const uint64_t most = value.count > 0 ? value.count : UINT64_MAX;
        if (in["count"]) value.count = in["count"].number<uint64_t>(0, most);
        return value;
    }
    (in["type"] ? in["type"] : in).fail("a type: byte, int32, float, int64, double or rational");
}

TagValue readValue(const std::string& tag, const Yaml& key, const Yaml& in) {
    if (in.isMap()) return readTyped(in);
    if (tag == kSeamlessPolicy) return readPolicy(in);
    const KnownTag* known = findTag(tag);
    if (known == nullptr) key.fail("a tag that the selector reads, or {type: ..., values: [...]} as the value");
    return readElements(known->type, in);
}

}  // namespace

std::optional<Tags> readTags(const Yaml& in) {
    if (in.isNull()) return std::nullopt;
    Tags tags;
    in.asMap().forEach([&](const Yaml& key, const Yaml& value) {
        const std::string tag = key.text("a tag");
        tags[tag] = readValue(tag, key, value);
    });
    return tags;
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
    TagValue value{findTag(tag)->type, 1, {}};
    if (value.type == TYPE_BYTE) append(value.payload, static_cast<uint8_t>(number));
    if (value.type == TYPE_INT32) append(value.payload, static_cast<uint32_t>(number));
    if (value.type == TYPE_INT64) append(value.payload, number);
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

YAML::Node toYaml(const std::string& tag, const TagValue& value) {
    const auto number = [&value](size_t at, size_t size) {
        int64_t result = 0;
        std::memcpy(&result, value.payload.data() + at, size);
        return result;
    };
    if (tag != kSeamlessPolicy) return YAML::Node(number(0, value.payload.size()));
    YAML::Node records(YAML::NodeType::Sequence);
    for (size_t at = 0; at < value.payload.size(); at += kPolicyRecordSize) {
        records.push_back(std::vector<int64_t>{number(at, 4), number(at + kPolicyModeOffset, 4)});
    }
    return records;
}

}  // namespace replay
