#include "report/TimeWindow.h"

#include <algorithm>

namespace replay {

namespace {

double middleOf(std::vector<double> values, double fallback) {
    if (values.empty()) return fallback;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

TimeWindow chooseWindow(std::vector<double> frames, const std::vector<double>& chosen,
                        const std::vector<double>& moments, double mostFrames) {
    if (frames.empty()) frames.push_back(0);
    std::sort(frames.begin(), frames.end());
    std::vector<double> gaps;
    for (size_t i = 1; i < frames.size(); ++i) {
        if (frames[i] > frames[i - 1]) gaps.push_back(frames[i] - frames[i - 1]);
    }
    const double pitch = middleOf(gaps, 33);
    const double room = pitch * mostFrames;
    const double centre = middleOf(chosen, frames.back());
    TimeWindow window{centre, centre, pitch};
    const auto take = [&window](const std::vector<double>& times, double from, double to) {
        for (const double ms : times) {
            if (ms < from || ms > to) continue;
            window.firstMs = std::min(window.firstMs, ms);
            window.lastMs = std::max(window.lastMs, ms);
        }
    };
    const double begin = std::max(frames.front(), std::min(centre - room / 2, frames.back() - room));
    take(frames, begin, begin + room);
    const double margin = std::max(12 * pitch, window.lastMs - window.firstMs);
    take(moments, window.firstMs - margin, window.lastMs + margin);
    window.firstMs -= pitch / 2;
    window.lastMs += pitch / 2;
    return window;
}

}  // namespace replay
