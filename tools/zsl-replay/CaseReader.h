// Reads case files.

#pragma once

#include <string>
#include <vector>

#include "Case.h"
#include "Settings.h"

namespace replay {

// Reads a case from YAML text. `file` is shown in errors. Throws InputError.
Case readCase(const std::string& file, const std::string& text, const std::vector<Setting>& settings = {});

}  // namespace replay
