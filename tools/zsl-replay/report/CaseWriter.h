// Writes case files of requests that were rebuilt from a log.

#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "capture/Case.h"

namespace replay {

// Writes a case, request by request, that reads back as the same one. It holds what a log can tell: no static metadata,
// no strategy called directly, and of what must come out the gate's answer and the selection.
class CaseWriter {
public:
    // `platform` gives the properties.
    CaseWriter(std::ostream& out, const Case& platform);

    // The comments are lines ahead of the request.
    void add(const Request& request, const std::vector<std::string>& comments = {});

private:
    std::ostream& mOut;
};

}  // namespace replay
