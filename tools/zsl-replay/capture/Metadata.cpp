#include "capture/Metadata.h"

#include "api/MetadataValue.h"

namespace replay {

namespace {

constexpr size_t kPolicyRecordSize = 52;
constexpr size_t kPolicyModeOffset = 40;

constexpr char kEnableZsl[] = "android.control.enableZsl";
constexpr uint32_t kEnableZslId = 0x10029;

const std::map<std::string, uint8_t> kKnownTags = {
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

const Value::Words kTypes = {"byte", "int32", "float", "int64", "double", "rational"};  // by the platform's numbers

// In the platform's own form.
struct Entry {
    uint8_t type = 0;
    size_t count = 0;
    std::vector<uint8_t> payload;
};

template <typename T>
void append(Entry& entry, T number) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&number);
    entry.payload.insert(entry.payload.end(), bytes, bytes + sizeof(T));
}

// A record of the seamless policy, [sensor id, sensor mode]. All else in it is 0.
void appendRecord(Entry& entry, const Value& in) {
    const size_t begin = entry.payload.size();
    if (in.list("[sensor id, sensor mode]").size() != 2) in.fail("[sensor id, sensor mode]");
    append(entry, in.list()[0].number<uint32_t>());
    entry.payload.resize(begin + kPolicyModeOffset);
    append(entry, in.list()[1].number<uint32_t>());
    entry.payload.resize(begin + kPolicyRecordSize);
}

// Numbers of a whole type; of another, which has no exact ones, the bytes.
void appendElement(Entry& entry, const Value& in) {
    if (entry.type == TYPE_INT64) {
        append(entry, in.number<int64_t>());
    } else if (entry.type == TYPE_INT32) {
        append(entry, static_cast<uint32_t>(in.number<int64_t>(INT32_MIN, UINT32_MAX)));
    } else {
        append(entry, in.number<uint8_t>());
    }
}

// One element, or a list.
Entry readElements(uint8_t type, const Value& in, void (*append)(Entry& entry, const Value& in)) {
    Entry entry{type, 0, {}};
    for (const Value& each : in.isList() ? in.list() : Value::List{in}) append(entry, each);
    entry.count = entry.payload.size() / zohal::elementSize(type);  // of an unknown type bytes
    return entry;
}

// {type, values, count}: the count may be less than there are values, or any at all when there are none (no data).
Entry readTyped(const Value& in) {
    in.map({"type", "values", "count"});
    const Value& given = in.at("type");
    uint8_t type = 0;
    if (!given.isText() || !parseNumber(given.text(), type)) {
        type = static_cast<uint8_t>(given.oneOf(kTypes, "the number of a type from 0 to 255, or "));
    }
    const Value* const values = in.find("values");
    Entry entry = readElements(type, values != nullptr ? *values : Value::List(), appendElement);
    const uint64_t most = entry.payload.empty() ? UINT64_MAX : entry.count;
    if (const Value* const count = in.find("count")) entry.count = count->number<uint64_t>(0, most);
    return entry;
}

Entry readEntry(const Value& tag, const Value& in) {
    if (in.isMap()) return readTyped(in);
    const auto known = kKnownTags.find(tag.text());
    if (known == kKnownTags.end()) {
        std::string names;
        for (const auto& [name, type] : kKnownTags) replay::append(names, name);
        tag.fail("a tag that the selector reads (" + names + "), or {type: ..., values: [...]} as the value");
    }
    return readElements(known->second, in, known->first == kSeamlessPolicy ? appendRecord : appendElement);
}

}  // namespace

std::optional<Tags> readTags(const Value& in) {
    if (in.isNull()) return std::nullopt;
    Tags tags;
    for (const auto& [key, value] : in.map()) {
        readEntry(key, value);
        tags[key.text()] = value;
    }
    return tags;
}

std::shared_ptr<ZoMetadata> makeMetadata(const std::optional<Tags>& tags) {
    if (!tags) return nullptr;
    auto metadata = std::make_shared<ZoMetadata>();
    for (const auto& [tag, value] : *tags) {
        const Entry entry = readEntry(tag, value);
        if (tag == kEnableZsl) {
            metadata->set(kEnableZslId, entry.type, entry.count, entry.payload);
        } else {
            metadata->set(tag, entry.type, entry.count, entry.payload);
        }
    }
    return metadata;
}

Value seamlessPolicy(uint32_t sensorId, uint32_t mode) { return Value::List{FrameList{sensorId, mode}}; }

}  // namespace replay
