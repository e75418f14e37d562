// A case and a variant of it: what comes out differently.

#pragma once

#include <yaml-cpp/yaml.h>

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "capture/Case.h"
#include "replay/Session.h"

namespace replay {

// The changes as given on the command line.
struct Changes {
    std::vector<std::string> settings;  // KEY=VALUE, applied first, in the order given
    std::vector<std::string> drops;     // FRAME[@QUEUE]

    bool empty() const { return settings.empty() && drops.empty(); }
    std::string words() const;  // as options
};

struct Variant {
    YAML::Node tree;
    Case changed;
};

// Applies the changes, each of which must leave a case that can be read. Throws InputError, which names the change.
Variant makeVariant(const Case& theCase, const YAML::Node& tree, const Changes& changes);

// Runs of one request, traced, of the case and of its variant.
struct RunDifference {
    struct Step {
        size_t number;  // from 1, calls and log lines counted together
        std::string before;
        std::string after;
    };
    FrameList gained;
    FrameList lost;
    bool reordered = false;
    std::vector<std::string> answers;  // of the gate, a strategy called directly, the checks
    std::optional<Step> firstStep;

    bool none() const { return gained.empty() && lost.empty() && !reordered && answers.empty() && !firstStep; }
};
RunDifference compareRuns(const Run& before, const Run& after);

void reportDifference(std::ostream& out, const RunDifference& difference);
nlohmann::ordered_json differenceJson(const RunDifference& difference);

// Writes the variant as a case file that expects what came out of it. Throws InputError.
void saveVariant(const std::string& file, const Variant& variant, const std::vector<Run>& runs,
                 const Changes& changes);

}  // namespace replay
