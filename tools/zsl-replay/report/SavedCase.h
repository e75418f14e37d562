// Keeps findings as a case file that expects what came out.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "capture/CaseFile.h"
#include "replay/Finding.h"
#include "report/Output.h"

namespace replay {

class SavedCase {
public:
    // The origin stands at its head, as a comment.
    SavedCase(const std::string& file, const std::vector<std::string>& inputs, const std::string& origin);

    // Properties and static metadata of the first finding are the file's. Of a request from a log the selection is
    // expected where the log settles it; else its lines are, and a comment says why.
    void add(const Finding& finding);
    void finish();

private:
    void comment(const std::string& text);
    void commentOn(const Evidence& log);

    OutputFile mOut;
    std::optional<Case> mPlatform;
};

}  // namespace replay
