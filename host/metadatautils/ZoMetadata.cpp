#include "metadatautils/ZoMetadata.h"

#include <utility>

#include "metadatautils/StaticMetadataWraper.h"

camera_metadata_ro_entry_t ZoMetadata::view(const Entry& entry, uint32_t tag) {
    camera_metadata_ro_entry_t result{};
    result.tag = tag;
    result.type = entry.type;
    result.count = entry.count;
    result.data.u8 = entry.payload.empty() ? nullptr : entry.payload.data();
    return result;
}

camera_metadata_ro_entry_t ZoMetadata::find(uint32_t tag) const {
    const auto found = mByTag.find(tag);
    return found != mByTag.end() ? view(found->second, tag) : camera_metadata_ro_entry_t{};
}

camera_metadata_ro_entry_t ZoMetadata::find(const char* name) const {
    const auto found = mByName.find(name);
    return found != mByName.end() ? view(found->second, 0) : camera_metadata_ro_entry_t{};
}

void ZoMetadata::set(uint32_t tag, uint8_t type, size_t count, std::vector<uint8_t> payload) {
    mByTag[tag] = {type, count, std::move(payload)};
}

void ZoMetadata::set(const std::string& name, uint8_t type, size_t count, std::vector<uint8_t> payload) {
    mByName[name] = {type, count, std::move(payload)};
}

StaticMetadataWraper* StaticMetadataWraper::getInstance() {
    static StaticMetadataWraper instance;
    return &instance;
}

std::shared_ptr<ZoMetadata> StaticMetadataWraper::getStaticMetadata(uint32_t logicalId) {
    const auto found = mByCamera.find(logicalId);
    return found != mByCamera.end() ? found->second : nullptr;
}

void StaticMetadataWraper::setStaticMetadata(uint32_t logicalId, std::shared_ptr<ZoMetadata> metadata) {
    mByCamera[logicalId] = std::move(metadata);
}
