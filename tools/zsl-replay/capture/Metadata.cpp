#include "capture/Metadata.h"

#include <algorithm>
#include <charconv>
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

// By the platform's numbers.
constexpr const char* kTypes[] = {"byte", "int32", "float", "int64", "double", "rational"};
constexpr size_t kTypeCount = sizeof(kTypes) / sizeof(kTypes[0]);

// Of a type that camera metadata does not know, bytes.
size_t elementSize(uint8_t type) { return std::max<size_t>(zohal::elementSize(type), 1); }

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
void appendElement(TagValue& value, const Value& in) {
    switch (value.type) {
        case TYPE_FLOAT:
            append(value.payload, static_cast<float>(in.real()));
            break;
        case TYPE_DOUBLE:
            append(value.payload, in.real());
            break;
        case TYPE_INT32:
            append(value.payload, static_cast<uint32_t>(in.number<int64_t>(INT32_MIN, UINT32_MAX)));
            break;
        case TYPE_INT64:
        case TYPE_RATIONAL:
            append(value.payload, in.number<int64_t>());
            break;
        default:
            append(value.payload, in.number<uint8_t>());
    }
    ++value.count;
}

TagValue readElements(uint8_t type, const Value& in) {
    TagValue value{type, 0, {}};
    if (!in.isList()) {
        appendElement(value, in);
    } else {
        for (const Value& each : in.elements("values")) appendElement(value, each);
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
    uint8_t number = 0;
    if (in.isText() && parseNumber(in.text(""), number)) return number;
    for (size_t type = 0; type < kTypeCount; ++type) {
        if (in.isText() && in.text("") == kTypes[type]) return static_cast<uint8_t>(type);
    }
    in.fail("a type: byte, int32, float, int64, double, rational, or the number of another from 0 to 255");
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
    const KnownTag* known = findTag(tag);
    if (known != nullptr) return readElements(known->type, in);
    std::string names = kSeamlessPolicy;
    for (const KnownTag& each : kKnownTags) names += std::string(", ") + each.name;
    key.fail("a tag that the selector reads (" + names + "), or {type: ..., values: [...]} as the value");
}

// The bytes of an element, sign-extended.
int64_t wholeNumber(const uint8_t* bytes, size_t size) {
    uint64_t bits = 0;
    std::memcpy(&bits, bytes, size);
    if (size == 4) return static_cast<int32_t>(static_cast<uint32_t>(bits));
    return static_cast<int64_t>(bits);
}

// The shortest text that reads back to the same number.
template <typename T>
NodePtr realNode(const uint8_t* bytes) {
    T number = 0;
    std::memcpy(&number, bytes, sizeof(T));
    if (number != number) return makeText(".nan");
    char text[32];
    const auto end = std::to_chars(text, text + sizeof(text), number).ptr;
    const std::string shown(text, end);
    return makeText(shown == "inf" || shown == "-inf" ? shown.substr(0, shown.size() - 3) + ".inf" : shown);
}

NodePtr elementNode(uint8_t type, const uint8_t* bytes) {
    if (type == TYPE_FLOAT) return realNode<float>(bytes);
    if (type == TYPE_DOUBLE) return realNode<double>(bytes);
    return makeNumber(wholeNumber(bytes, elementSize(type)));
}

// Records as [sensor id, sensor mode]; null where they hold more than that.
NodePtr policyNode(const TagValue& value) {
    Node::List records;
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    for (size_t at = 0; at + kPolicyRecordSize <= value.payload.size(); at += kPolicyRecordSize) {
        pairs.emplace_back(wholeNumber(value.payload.data() + at, 4),
                           wholeNumber(value.payload.data() + at + kPolicyModeOffset, 4));
        records.push_back(makeList({makeNumber(pairs.back().first), makeNumber(pairs.back().second)}));
    }
    const TagValue again = seamlessPolicy(pairs);
    const bool isSame = value.type == again.type && value.count == again.count && value.payload == again.payload;
    return isSame ? makeList(std::move(records)) : nullptr;
}

NodePtr valueNode(const std::string& tag, const TagValue& value) {
    if (tag == kSeamlessPolicy) {
        if (NodePtr records = policyNode(value)) return records;
    }
    const size_t size = elementSize(value.type);
    Node::List elements;
    for (size_t at = 0; at + size <= value.payload.size(); at += size) {
        elements.push_back(elementNode(value.type, value.payload.data() + at));
    }
    const KnownTag* known = findTag(tag);
    const bool isPlain = known != nullptr && known->type == value.type && value.count == elements.size();
    if (isPlain && elements.size() == 1) return elements.front();
    const bool counts = value.count != elements.size();
    NodePtr list = makeList(std::move(elements));
    if (isPlain) return list;
    MapMaker map;
    map.set("type", value.type < kTypeCount ? makeText(kTypes[value.type]) : makeNumber(value.type));
    if (!value.payload.empty()) map.set("values", list);
    if (counts) map.set("count", makeNumber(value.count));
    return map.make();
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

NodePtr nodeOf(const std::optional<Tags>& tags) {
    if (!tags) return std::make_shared<Node>();
    MapMaker map;
    for (const auto& [tag, value] : *tags) map.set(tag, valueNode(tag, value));
    return map.make();
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

}  // namespace replay
