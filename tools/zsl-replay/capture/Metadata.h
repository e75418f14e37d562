// Camera metadata in case files.

#pragma once

#include <memory>
#include <optional>
#include <string>

#include "capture/Case.h"
#include "metadatautils/ZoMetadata.h"

namespace replay {

constexpr char kSeamlessPolicy[] = "nexaro.camera.zoseamlesspolicy.result";

// Tags by name; nothing for a null.
std::optional<Tags> readTags(const Value& in);

// A metadata object with these tags; null for nothing.
std::shared_ptr<ZoMetadata> makeMetadata(const std::optional<Tags>& tags);

// Of one record.
Value seamlessPolicy(uint32_t sensorId, uint32_t mode);

}  // namespace replay
