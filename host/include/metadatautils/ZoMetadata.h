// Camera metadata, looked up by Android tag id or by vendor tag name.

#pragma once

#include <system/camera_metadata.h>

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

class ZoMetadata {
public:
    // The tag's entry, with count 0 when it is not set. The data belongs to this object and lasts until the tag is set
    // again.
    camera_metadata_ro_entry_t find(uint32_t tag) const;
    camera_metadata_ro_entry_t find(const char* name) const;

    // Desk only: sets a tag. The payload's size is count x the type's size for well-formed metadata, which is not
    // checked: tests hand in other.
    void set(uint32_t tag, uint8_t type, size_t count, std::vector<uint8_t> payload);
    void set(const std::string& name, uint8_t type, size_t count, std::vector<uint8_t> payload);

private:
    struct Entry {
        uint8_t type;
        size_t count;
        std::vector<uint8_t> payload;
    };
    static camera_metadata_ro_entry_t view(const Entry& entry, uint32_t tag);

    std::map<uint32_t, Entry> mByTag;
    std::map<std::string, Entry, std::less<>> mByName;
};
