// The stretch of time that a picture shows.

#pragma once

#include <vector>

namespace replay {

struct TimeWindow {
    double firstMs = 0;
    double lastMs = 0;
    double pitchMs = 0;  // usual distance of two frames
};

// Room for so many frames at the usual distance, about the middle of the chosen ones, else at the newest; widened for
// moments that are not far off.
TimeWindow chooseWindow(std::vector<double> frames, const std::vector<double>& chosen,
                        const std::vector<double>& moments, double mostFrames);

}  // namespace replay
