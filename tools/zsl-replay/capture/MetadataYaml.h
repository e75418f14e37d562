// Camera metadata in case files.

#pragma once

#include <memory>
#include <optional>
#include <string>

#include "capture/Case.h"
#include "capture/YamlInput.h"
#include "metadatautils/ZoMetadata.h"

namespace replay {

// Tags by name; nothing for a null.
std::optional<Tags> readTags(const Yaml& in);

// A metadata object with these tags; null for nothing.
std::shared_ptr<ZoMetadata> makeMetadata(const std::optional<Tags>& tags);

// A value in the type that the tag has, as a case file would give it. `tag` must be a known one.
TagValue tagValue(const std::string& tag, int64_t value);
TagValue seamlessPolicy(const std::vector<std::pair<uint32_t, uint32_t>>& idAndMode);

// What tagValue() or seamlessPolicy() made, as a case file gives it.
YAML::Node toYaml(const std::string& tag, const TagValue& value);

}  // namespace replay
