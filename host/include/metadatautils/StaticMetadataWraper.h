// The static metadata of the device's cameras.

#pragma once

#include <cstdint>
#include <map>
#include <memory>

class ZoMetadata;

class StaticMetadataWraper {
public:
    static StaticMetadataWraper* getInstance();

    // Null for a camera that is not known.
    std::shared_ptr<ZoMetadata> getStaticMetadata(uint32_t logicalId);

    // Desk only: what the next getStaticMetadata() answers for a camera; null makes it unknown.
    void setStaticMetadata(uint32_t logicalId, std::shared_ptr<ZoMetadata> metadata);

private:
    std::map<uint32_t, std::shared_ptr<ZoMetadata>> mByCamera;
};
