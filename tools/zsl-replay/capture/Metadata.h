// Camera metadata in case files.

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "capture/Case.h"
#include "capture/Value.h"
#include "metadatautils/ZoMetadata.h"

namespace replay {

// Tags by name; nothing for a null.
std::optional<Tags> readTags(const Value& in);

// The same as a case file gives it, where each tag is of the type that the selector reads.
Value valueOf(const std::optional<Tags>& tags);

// A metadata object with these tags; null for nothing.
std::shared_ptr<ZoMetadata> makeMetadata(const std::optional<Tags>& tags);

// A number in the type that the tag has. `tag` must be a known one.
TagValue tagValue(const std::string& tag, int64_t number);
TagValue seamlessPolicy(const std::vector<std::pair<uint32_t, uint32_t>>& idAndMode);

}  // namespace replay
