// A case and a variant of it: what comes out differently.

#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "capture/Document.h"
#include "replay/Session.h"

namespace replay {

struct Variant {
    Document document;
    Case changed;
};

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
void saveVariant(const std::string& file, const Variant& variant, const std::vector<Run>& runs, const Changes& changes);

}  // namespace replay
