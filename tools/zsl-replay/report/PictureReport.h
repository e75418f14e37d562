// Draws findings: the queues as rows over time, and what was chosen.

#pragma once

#include <string>
#include <vector>

#include "replay/Finding.h"
#include "report/Canvas.h"
#include "report/Output.h"

namespace replay {

// One panel a request. Where a finding compares, the panel has the runs below each other on one time axis: the
// unchanged request above the changed one, the first build above the second.
class PictureReport {
public:
    // Throws InputError for a name that ends in neither .svg nor .png.
    PictureReport(const std::string& file, const std::vector<std::string>& inputs, bool namesFile);
    void add(const Finding& finding);
    void finish();

private:
    OutputFile mOut;
    std::string mEnding;
    bool mNamesFile;
    Canvas mCanvas;
    double mWidth = 1040;  // the legend's
    double mHeight = 0;
};

}  // namespace replay
