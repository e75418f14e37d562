// Camera metadata in case files.

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "capture/Case.h"
#include "metadatautils/ZoMetadata.h"

namespace replay {

constexpr char kSeamlessPolicy[] = "nexaro.camera.zoseamlesspolicy.result";

// Tags by name; nothing for a null.
std::optional<Tags> readTags(const Value& in);

// A metadata object with these tags; null for nothing.
std::shared_ptr<ZoMetadata> makeMetadata(const std::optional<Tags>& tags);

// A number as the tag's type holds it.
Value tagValue(const std::string& tag, int64_t number);
Value seamlessPolicy(const std::vector<std::pair<uint32_t, uint32_t>>& idAndMode);

}  // namespace replay
