// Reads case files.

#pragma once

#include <yaml-cpp/yaml.h>

#include <string>

#include "capture/Case.h"

namespace replay {

// `file` is shown in errors. All throw InputError.

// Parses YAML text that holds one document.
YAML::Node parseCase(const std::string& file, const std::string& text);

// Reads a case from its tree, or from YAML text.
Case readCase(const std::string& file, const YAML::Node& root);
Case readCase(const std::string& file, const std::string& text);

}  // namespace replay
