// Changes of a case file's tree from the command line. Trees are copied along the path that changes, never written to:
// an alias may share a node with other requests.

#pragma once

#include <yaml-cpp/yaml.h>

#include <string>

#include "capture/Case.h"

namespace replay {

// KEY=VALUE: the key is the path of a request's key, such as "queues[1].lost" or "metadata.nexaro.hdr.enabled", in
// every request, or in request N (from 1) when it starts with "N:"; a list's next index appends. The value is YAML.
YAML::Node withSetting(const YAML::Node& root, const std::string& setting);

// FRAME[@QUEUE]: the queue with that id, or every queue, has lost the frame. `theCase` is what the tree reads as.
YAML::Node withoutFrame(const YAML::Node& root, const Case& theCase, const std::string& drop);

// Both throw InputError("expected ..., found ...").

// The same for the key of one request, by its path.
YAML::Node withRequestKey(const YAML::Node& root, size_t request, const std::string& path, const YAML::Node& value);

}  // namespace replay
