#include "recorder/CaseText.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "api/MetadataValue.h"
#include "metadatautils/StaticMetadataWraper.h"

namespace recorder {

namespace {

constexpr char kEnableZsl[] = "android.control.enableZsl";  // has an id, vendor tags have names

// The elements of a list or map, but for those without a text.
template <typename Range, typename Text>
std::string joined(char open, const Range& range, char close, Text text) {
    std::string result(1, open);
    for (const auto& element : range) {
        const std::string next = text(element);
        if (!next.empty()) result += (result.size() > 1 ? ", " : "") + next;
    }
    return result + close;
}

std::string valueText(const camera_metadata_ro_entry_t& entry, size_t offset) {
    if (entry.type == TYPE_INT32) return std::to_string(zohal::valueAt<int32_t>(entry, offset));
    if (entry.type == TYPE_INT64 || entry.type == TYPE_RATIONAL)
        return std::to_string(zohal::valueAt<int64_t>(entry, offset));
    if (entry.type != TYPE_FLOAT && entry.type != TYPE_DOUBLE) return std::to_string(entry.data.u8[offset]);
    char real[32];
    const bool isFloat = entry.type == TYPE_FLOAT;
    std::snprintf(real, sizeof(real), "%.17g",
                  isFloat ? zohal::valueAt<float>(entry, offset) : zohal::valueAt<double>(entry, offset));
    return real;
}

std::string tagText(const camera_metadata_ro_entry_t& entry) {
    constexpr const char* kTypes[] = {"byte", "int32", "float", "int64", "double", "rational"};
    constexpr size_t kMostBytes = 256;  // no selector reads more of a tag
    const std::string type = entry.type < std::size(kTypes) ? kTypes[entry.type] : std::to_string(entry.type);
    if (entry.data.u8 == nullptr) return "{type: " + type + ", count: " + std::to_string(entry.count) + '}';
    const size_t size = std::max<size_t>(zohal::elementSize(entry.type), 1);
    std::vector<size_t> offsets(std::min(entry.count, kMostBytes / size));
    for (size_t i = 0; i < offsets.size(); ++i) offsets[i] = i * size;
    return "{type: " + type +
           ", values: " + joined('[', offsets, ']', [&](size_t offset) { return valueText(entry, offset); }) + '}';
}

std::string tagsText(const ZoMetadata* metadata, std::initializer_list<const char*> names) {
    if (metadata == nullptr) return "null";
    return joined('{', names, '}', [metadata](const char* name) {
        const auto entry = name == kEnableZsl ? metadata->find(0x10029) : metadata->find(name);
        return entry.count == 0 ? "" : std::string(name) + ": " + tagText(entry);
    });
}

}  // namespace

std::string textOf(int64_t number) { return std::to_string(number); }

// Frames in a row as such: mostly they are.
std::string textOf(const FrameList& frames) {
    size_t row = 0;
    while (row < frames.size() && frames[row] == frames[0] + row) ++row;
    if (row < frames.size() || row < 3)
        return joined('[', frames, ']', [](uint32_t frame) { return std::to_string(frame); });
    return "{first: " + std::to_string(frames[0]) + ", count: " + std::to_string(row) + '}';
}

std::string textOf(const std::string& name) {
    std::string text = "\"";
    for (size_t i = 0; i < name.size(); ++i) {
        // The control characters of Latin-1 have two bytes.
        const bool isHighControl = name[i] == '\xC2' && i + 1 < name.size() && (name[i + 1] & 0xE0) == 0x80;
        const auto byte = static_cast<uint8_t>(name[isHighControl ? ++i : i]);
        char escaped[8] = {name[i]};
        if (byte < 0x20 || byte == 0x7F || byte == '"' || byte == '\\' || isHighControl) {
            std::snprintf(escaped, sizeof(escaped), "\\x%02X", byte);
        }
        text += escaped;
    }
    return text + '"';
}

std::string textOf(const std::map<std::string, std::string>& map) {
    return joined('{', map, '}', [](const auto& each) { return each.first + ": " + each.second; });
}

std::string textOf(const std::map<uint32_t, std::string>& map) {
    return joined('{', map, '}', [](const auto& each) {
        return each.second.empty() ? "" : std::to_string(each.first) + ": " + each.second;
    });
}

std::string flagsText(zohal::ZSLSelectorResult result) {
    return std::string("[") + (result.first ? "true, " : "false, ") + (result.second ? "true]" : "false]");
}

std::string requestTags(const ZoMetadata* metadata) {
    return tagsText(metadata, {kEnableZsl, "nexaro.ai.zosd.motionCaptureEnabledIcon", "nexaro.hdr.enabled",
                               "nexaro.hdr.sr.enabled", "nexaro.mfnr.anchorTimeStamp",
                               "nexaro.ai.zosd.motionCaptureType", "nexaro.camera.zoseamlesspolicy.result"});
}

std::string checkTags(const ZoMetadata* metadata) {
    return tagsText(metadata,
                    {"com.nexaro.camera.sensorpolicy.mcxFrameresult", "com.nexaro.ext.control.policy.sensorMode"});
}

std::string staticTags(uint32_t camera) {
    const auto metadata = StaticMetadataWraper::getInstance()->getStaticMetadata(camera);
    return metadata ? tagsText(metadata.get(), {"com.nexaro.camera.sensorpolicy.mask"}) : "{}";
}

std::string headText(const std::string& motionSwitch, const std::map<uint32_t, std::string>& staticTags) {
    return "recorded: 1\nproperties: {vendor.zohal.selector.motion.zsl.disable: " +
           (motionSwitch.empty() ? "null" : textOf(motionSwitch)) + "}\nstaticMetadata: " + textOf(staticTags) +
           "\nrequests:\n";
}

void Answers::note(const char* question, std::string answer) {
    const auto [noted, isNew] = try_emplace(question, answer);
    changed |= !isNew && noted->second != answer;
    noted->second = std::move(answer);
}

bool QueueNotes::isType(zohal::ZSLQueueType type) const {
    const auto noted = answers.find("type");
    return noted != answers.end() && noted->second == textOf(type);
}

std::string Request::text() const {
    std::string text = "- frame: " + textOf(fwkFrame) + "\n  master: " + textOf(master) + '\n' + comments;
    for (const auto& [name, value] : fields) text += "  " + name + ": " + value + '\n';
    const bool selected = expect.count("selection") != 0;
    const auto gate = expect.find("gate");
    // Gate and selection agree by default.
    const bool agree = gate != expect.end() && gate->second == (selected ? "true" : "false");
    if (!agree) text += selected ? "  select: always\n" : "  select: never\n";
    text += "  queues:\n";
    bool changed = fields.changed;
    for (const auto& queue : queues) {
        if (!queue) text += "  # a null handle\n";
        if (!queue || queue->answers.empty()) continue;
        auto answers = queue->answers;
        answers["frames"] = textOf(queue->frames);
        text += "  - " + textOf(answers) + '\n';
        changed |= answers.changed;
    }
    text += "  check: {" + checkOf + "of: " + textOf(checked) + "}\n";
    auto expected = expect;
    if (!checks.empty()) expected["checks"] = textOf(checks);
    text += "  expect: " + textOf(expected) + '\n';
    if (changed) text += "  # one question had two answers; this request may not replay exactly\n";
    return text + "# end\n";
}

}  // namespace recorder
