// Draws findings: the queues as rows over time, and what was chosen.

#pragma once

#include <string>
#include <vector>

#include "replay/Finding.h"
#include "report/Canvas.h"
#include "report/Output.h"

namespace replay {

// Whether the name ends in .svg or .png, as a picture's must.
bool canDrawTo(const std::string& file);

// One panel a request. Where a finding compares, the panel has the runs below each other on one time axis: the
// unchanged request above the changed one, the first build above the second.
class PictureReport {
public:
    PictureReport(const std::string& file, const std::vector<std::string>& inputs, bool namesFile);
    void add(const Finding& finding);
    void finish();

private:
    OutputFile mOut;
    bool mIsSvg;
    bool mNamesFile;
    Canvas mCanvas;
    double mWidth;
    double mHeight = 0;
    size_t mRequests = 0;
    bool mCompares = false;
    bool mHasOpen = false;
};

}  // namespace replay
