// A case and a variant of it: what comes out differently.

#pragma once

#include <yaml-cpp/yaml.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "capture/Document.h"
#include "replay/Session.h"

namespace replay {

struct Variant {
    YAML::Node tree;
    Case changed;
};

// Applies the changes, each of which must leave a case that can be read. Throws InputError, which names the change.
Variant makeVariant(const Case& theCase, const YAML::Node& tree, const Changes& changes);

// Writes the variant as a case file that expects what came out of it. Throws InputError.
void saveVariant(const std::string& file, const Variant& variant, const std::vector<Run>& runs, const Changes& changes);

}  // namespace replay
