// Reads single values out of camera metadata entries, trusting nothing about them: an entry is present when it has a
// count and data and its payload covers what is read. Values need not be aligned.

#pragma once

#include <system/camera_metadata.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "metadatautils/ZoMetadata.h"

namespace zohal {

// Payload bytes of one element. Of a type that camera metadata does not know each counts as one byte.
inline size_t elementSize(uint8_t type) {
    switch (type) {
        case TYPE_INT32:
        case TYPE_FLOAT:
            return 4;
        case TYPE_INT64:
        case TYPE_DOUBLE:
        case TYPE_RATIONAL:
            return 8;
        default:
            return 1;  // TYPE_BYTE, and what is not known
    }
}

// Payload bytes of an entry, saturating; 0 without data.
inline size_t payloadSize(const camera_metadata_ro_entry_t& entry) {
    if (entry.data.u8 == nullptr) return 0;
    size_t bytes = 0;
    if (__builtin_mul_overflow(entry.count, elementSize(entry.type), &bytes)) return SIZE_MAX;
    return bytes;
}

// The T at a byte offset of a payload that covers it.
template <typename T>
T valueAt(const camera_metadata_ro_entry_t& entry, size_t offset) {
    T value;
    std::memcpy(&value, entry.data.u8 + offset, sizeof(T));
    return value;
}

// The first value of a tag, given by Android tag id or by vendor tag name. A null metadata object has no tags.
template <typename T, typename Tag>
std::optional<T> firstValue(const ZoMetadata* metadata, Tag tag) {
    if (metadata == nullptr) return std::nullopt;
    const camera_metadata_ro_entry_t entry = metadata->find(tag);
    if (payloadSize(entry) < sizeof(T)) return std::nullopt;
    return valueAt<T>(entry, 0);
}

}  // namespace zohal
