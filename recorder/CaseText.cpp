#include "recorder/CaseText.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "api/MetadataValue.h"

namespace recorder {

namespace {

std::string valueText(const camera_metadata_ro_entry_t& entry, size_t offset) {
    if (entry.type == TYPE_INT32) return textOf(zohal::valueAt<int32_t>(entry, offset));
    if (entry.type == TYPE_INT64 || entry.type == TYPE_RATIONAL) return textOf(zohal::valueAt<int64_t>(entry, offset));
    if (entry.type != TYPE_FLOAT && entry.type != TYPE_DOUBLE) return textOf(entry.data.u8[offset]);
    char real[32];
    const bool isFloat = entry.type == TYPE_FLOAT;
    std::snprintf(real, sizeof(real), "%.17g",
                  isFloat ? zohal::valueAt<float>(entry, offset) : zohal::valueAt<double>(entry, offset));
    return real;
}

std::string tagText(const camera_metadata_ro_entry_t& entry) {
    constexpr const char* kTypes[] = {"byte", "int32", "float", "int64", "double", "rational"};
    constexpr size_t kMostBytes = 256;  // no selector reads more of a tag
    const std::string type = entry.type < std::size(kTypes) ? kTypes[entry.type] : textOf(entry.type);
    if (entry.data.u8 == nullptr) return "{type: " + type + ", count: " + std::to_string(entry.count) + '}';
    const size_t size = std::max<size_t>(zohal::elementSize(entry.type), 1);
    std::string values;
    for (size_t i = 0; i < std::min(entry.count, kMostBytes / size); ++i) {
        values += (i == 0 ? "" : ", ") + valueText(entry, i * size);
    }
    return "{type: " + type + ", values: [" + values + "]}";
}

}  // namespace

std::string textOf(const std::string& name) {
    std::string text = "\"";
    for (const char character : name) {
        const auto byte = static_cast<uint8_t>(character);
        char escaped[8] = {character};
        if (byte < 0x20 || byte == 0x7F || byte == '"' || byte == '\\') {
            std::snprintf(escaped, sizeof(escaped), "\\x%02X", byte);
        }
        text += escaped;
    }
    return text + '"';
}

// Frames in a row as such: mostly they are.
std::string textOf(const FrameList& frames) {
    size_t row = 0;
    while (row < frames.size() && frames[row] == frames[0] + row) ++row;
    if (row == frames.size() && row > 2)
        return "{first: " + textOf(frames[0]) + ", count: " + std::to_string(row) + '}';
    return joined('[', frames, ']', [](uint32_t zslFrame) { return textOf(zslFrame); });
}

std::string textOf(zohal::ZSLSelectorResult result) {
    return std::string(result.first ? "[true, " : "[false, ") + (result.second ? "true]" : "false]");
}

std::string textOf(const ZoMetadata* metadata, std::initializer_list<const char*> tags) {
    if (metadata == nullptr) return "null";
    return joined('{', tags, '}', [metadata](const std::string& tag) {
        // Vendor tags have a name, this one has an id.
        const auto entry = tag == "android.control.enableZsl" ? metadata->find(0x10029) : metadata->find(tag.c_str());
        return entry.count == 0 ? "" : tag + ": " + tagText(entry);
    });
}

void Answers::note(const char* question, std::string answer) {
    const auto [noted, isNew] = try_emplace(question, answer);
    changed |= !isNew && noted->second != answer;
    fresh |= isNew || noted->second != answer;
    noted->second = std::move(answer);
}

std::string Answers::text() const {
    return joined('{', *this, '}', [](const auto& each) { return each.first + ": " + each.second; });
}

}  // namespace recorder
