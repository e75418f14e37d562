#include "report/Picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>

#include "report/Canvas.h"
#include "report/Report.h"
#include "replay/Finding.h"
#include "report/TimeWindow.h"

namespace replay {

namespace {

// In pixels.
constexpr double kLeft = 130;
constexpr double kRight = 90;
constexpr double kLeastWidth = 940;
constexpr double kMostWidth = 2600;
constexpr double kLeastPitch = 7;  // between frames
constexpr double kHead = 74;       // the title, and the labels of the two moments
constexpr double kRow = 58;        // a queue, without its numbers
constexpr double kFoot = 66;       // axis and notes
constexpr double kLegend = 44;
constexpr double kDigit = 7;
constexpr size_t kMostPanels = 40;

struct Place {
    uint32_t frame;
    Shape shape;
};

// The frames of a queue, each where it stands first.
std::vector<Place> placesOf(const Queue& queue) {
    std::vector<Place> places;
    std::set<uint32_t> known;
    const auto add = [&](const FrameList& list, Shape shape) {
        for (const uint32_t frame : list) {
            if (known.insert(frame).second) places.push_back({frame, shape});
        }
    };
    add(queue.consumer, Shape::kCircle);
    add(queue.producer, Shape::kSquare);
    add(queue.all, Shape::kDiamond);
    return places;
}

class Panel {
public:
    Panel(const Request& request, const Run& run)
        : mRequest(request), mRun(run), mFacts(factsOf(run)), mChosen(run.chosen().begin(), run.chosen().end()) {
        // A target of 0 stands for none.
        mTargetNs = request.call ? request.call->zsdTs : mFacts.targetNs.value_or(0);
        std::map<uint32_t, int64_t> times;
        for (const Queue& queue : request.queues) {
            for (const Place& place : placesOf(queue)) {
                const auto time = shutterTimeNs(request, place.frame);
                (time ? times[place.frame] = *time : times.erase(place.frame));
                if (!time) mUntimed.insert(place.frame);
            }
        }
        mOriginNs = mTargetNs;
        for (const auto& [frame, ns] : times) {
            if (mTargetNs == 0) mOriginNs = mOriginNs == 0 ? ns : std::min(mOriginNs, ns);
            mNumberWidth = std::max(mNumberWidth, kDigit * static_cast<double>(std::to_string(frame).size() + 1));
        }
        std::vector<double> all;
        std::vector<double> chosen;
        for (const auto& [frame, ns] : times) {
            mMs[frame] = msOf(ns);
            all.push_back(mMs[frame]);
            if (mChosen.count(frame) > 0) chosen.push_back(mMs[frame]);
        }
        std::vector<double> moments;
        for (const int64_t ns : {mTargetNs, mFacts.anchorTimestampNs.value_or(0)}) {
            if (ns != 0) moments.push_back(msOf(ns));
        }
        mWindow = chooseWindow(all, chosen, moments, (kMostWidth - kLeft - kRight) / kLeastPitch);
    }

    double wantedWidth() const {
        const double frames = (mWindow.lastMs - mWindow.firstMs) / mWindow.pitchMs;
        return std::clamp(kLeft + kRight + frames * (frames > 40 ? 14 : 44), kLeastWidth, kMostWidth);
    }
    void setWidth(double width) {
        mWidth = width;
        mScale = (width - kLeft - kRight) / (mWindow.lastMs - mWindow.firstMs);
        mUpright = mWindow.pitchMs * mScale < mNumberWidth;
        mRowHeight = kRow + (mUpright ? mNumberWidth : 12);
    }
    double height() const { return kHead + mRowHeight * static_cast<double>(mRequest.queues.size()) + kFoot; }

    void draw(Canvas& canvas, double top) {
        const bool asked = mRequest.call || mRun.outcome.selected;
        canvas.text(16, top + 22,
                    mRequest.name + " (framework frame " + std::to_string(mRequest.fwkFrame) +
                        "): " + std::to_string(mRequest.need) + " needed, " +
                        (asked ? std::to_string(mRun.chosen().size()) + " chosen" : "selection was not asked for"),
                    {13, true, Align::kLeft, false, mWidth - 32});
        const double bottom = top + height() - kFoot;
        drawMoment(canvas, top + 44, bottom, mFacts.anchorTimestampNs.value_or(0), "anchor timestamp", true);
        drawMoment(canvas, top + 60, bottom, mTargetNs, "target moment", false);
        for (size_t i = 0; i < mRequest.queues.size(); ++i) {
            drawQueue(canvas, mRequest.queues[i], top + kHead + 24 + mRowHeight * static_cast<double>(i));
        }
        drawAxis(canvas, bottom);
        drawNotes(canvas, bottom + 52);
    }

private:
    double msOf(int64_t ns) const { return static_cast<double>(static_cast<__int128>(ns) - mOriginNs) / 1e6; }
    double x(double ms) const { return kLeft + (ms - mWindow.firstMs) * mScale; }
    bool isDrawn(uint32_t frame) const { return mMs.count(frame) > 0 && isInside(mMs.at(frame)); }
    bool isInside(double ms) const { return ms >= mWindow.firstMs && ms <= mWindow.lastMs; }

    void drawMoment(Canvas& canvas, double y, double bottom, int64_t ns, const std::string& name, bool dashed) {
        if (ns == 0) return;
        if (!isInside(msOf(ns))) {
            mNotes += name + " at " + milliseconds(ns, mOriginNs) + "; ";
            return;
        }
        const double at = x(msOf(ns));
        const bool turned = at + 120 > mWidth;
        canvas.line(at, y - 10, at, bottom, dashed ? 1.2 : 1.8, 0.25, dashed);
        canvas.text(at + (turned ? -6 : 6), y, name, {11, false, turned ? Align::kRight : Align::kLeft});
    }

    // The chosen last: their rings lie over their neighbours.
    void drawQueue(Canvas& canvas, const Queue& queue, double y) {
        canvas.line(kLeft, y, mWidth - kRight + 20, y, 1, 0.85);
        canvas.text(16, y - 2, queue.name, {12, true, Align::kLeft, false, kLeft - 40});
        canvas.text(16, y + 13, "queue " + std::to_string(queue.id));
        const std::vector<Place> places = placesOf(queue);
        const double radius = std::clamp(mWindow.pitchMs * mScale * 0.24, 2.2, 7.0);
        for (const bool chosen : {false, true}) {
            for (const Place& place : places) {
                if (mMs.count(place.frame) > 0 && !isDrawn(place.frame)) mOutside.insert(place.frame);
                if ((mChosen.count(place.frame) > 0) != chosen || !isDrawn(place.frame)) continue;
                canvas.mark(x(mMs[place.frame]), y, radius, place.shape, queue.held.count(place.frame) == 0, chosen);
            }
        }
        drawNumbers(canvas, places, y + 22);
    }

    // Upright where frames stand close. First the chosen and the anchor, then every 2nd, 5th, 10th, ..., as there is
    // room.
    void drawNumbers(Canvas& canvas, const std::vector<Place>& places, double y) {
        const double room = mUpright ? 11 : mNumberWidth;
        const TextStyle plain{10, false, mUpright ? Align::kRight : Align::kCentre, mUpright};
        const auto anchor = anchorFrame(mRequest, mFacts);
        uint32_t every = 1;
        for (int i = 0; every * mWindow.pitchMs * mScale < room; ++i) every = i % 3 == 1 ? every / 2 * 5 : every * 2;
        std::set<double> taken;
        for (const bool first : {true, false}) {
            for (const Place& place : places) {
                const bool chosen = mChosen.count(place.frame) > 0;
                const bool goesFirst = chosen || anchor == place.frame;
                if (goesFirst != first || (!first && place.frame % every != 0) || !isDrawn(place.frame)) continue;
                const double at = x(mMs[place.frame]);
                const auto next = taken.upper_bound(at - room);
                if (next != taken.end() && *next < at + room) continue;
                taken.insert(at);
                TextStyle style = plain;
                style.bold = chosen;
                canvas.text(mUpright ? at + 4 : at, mUpright ? y - 6 : y,
                            std::to_string(place.frame) + (anchor == place.frame ? "*" : ""), style);
            }
        }
    }

    void drawAxis(Canvas& canvas, double y) {
        canvas.line(kLeft, y, mWidth - kRight + 20, y, 1, 0);
        double step = 1e-6;
        for (int i = 0; step * mScale < 72; ++i) step *= i % 3 == 1 ? 2.5 : 2;
        const auto last = static_cast<int64_t>(std::floor(mWindow.lastMs / step));
        for (auto tick = static_cast<int64_t>(std::ceil(mWindow.firstMs / step)); tick <= last; ++tick) {
            const double ms = static_cast<double>(tick) * step;
            char label[40];
            std::snprintf(label, sizeof(label), tick == 0 ? "0" : "%+.10g", ms);
            canvas.line(x(ms), y, x(ms), y + 5, 1, 0);
            canvas.text(x(ms), y + 18, label, {10, false, Align::kCentre});
        }
        canvas.text(kLeft, y + 35, mTargetNs != 0 ? "ms from the target moment" : "ms from the first frame");
    }

    void drawNotes(Canvas& canvas, double y) {
        if (!mOutside.empty()) {
            mNotes += "not drawn, outside this time: " + std::to_string(mOutside.size()) + " frames, " +
                      std::to_string(*mOutside.begin()) + " to " + std::to_string(*mOutside.rbegin()) + "; ";
        }
        if (!mUntimed.empty()) {
            mNotes += "no shutter time known: " + join({mUntimed.begin(), mUntimed.end()}) + "; ";
        }
        if (mNotes.empty()) return;
        canvas.text(kLeft, y, mNotes.substr(0, mNotes.size() - 2),
                    {11, false, Align::kLeft, false, mWidth - kLeft - 16});
    }

    const Request& mRequest;
    const Run& mRun;
    const Facts mFacts;
    const std::set<uint32_t> mChosen;
    std::map<uint32_t, double> mMs;  // from the origin
    std::set<uint32_t> mUntimed;
    std::set<uint32_t> mOutside;
    std::string mNotes;
    int64_t mTargetNs = 0;
    int64_t mOriginNs = 0;
    TimeWindow mWindow;
    double mNumberWidth = 0;
    double mRowHeight = 0;
    double mWidth = 0;
    double mScale = 1;
    bool mUpright = false;
};

void drawLegend(Canvas& canvas, double y) {
    const struct {
        const char* text;
        Shape shape;
        bool hollow;
        bool chosen;
    } entries[] = {{"consumer", Shape::kCircle, false, false},
                   {"producer", Shape::kSquare, false, false},
                   {"only in the list of all", Shape::kDiamond, false, false},
                   {"not held by the queue", Shape::kCircle, true, false},
                   {"", Shape::kSquare, false, true},
                   {"chosen", Shape::kCircle, false, true}};
    double x = 26;
    for (const auto& entry : entries) {
        canvas.mark(x, y - 4, 5.5, entry.shape, entry.hollow, entry.chosen);
        x += 16 + canvas.text(x + 16, y, entry.text) + (*entry.text != 0 ? 32 : 12);
    }
    canvas.text(x, y, "*  anchor frame");
}

}  // namespace

void drawPicture(const std::string& file, const Case& theCase, const std::vector<Run>& runs) {
    std::vector<Panel> panels;
    double width = kLeastWidth;
    double height = kLegend;
    for (size_t i = 0; i < std::min(runs.size(), kMostPanels); ++i) {
        panels.emplace_back(theCase.requests[i], runs[i]);
        width = std::max(width, panels.back().wantedWidth());
    }
    for (Panel& panel : panels) {
        panel.setWidth(width);
        height += panel.height();
    }
    Canvas canvas(file, width, height);
    double top = 0;
    for (Panel& panel : panels) {
        panel.draw(canvas, top);
        top += panel.height();
    }
    drawLegend(canvas, top + 26);
    if (runs.size() > kMostPanels) {
        canvas.text(width - 16, top + 26, std::to_string(runs.size() - kMostPanels) + " more requests are not drawn",
                    {11, true, Align::kRight});
    }
    canvas.finish();
}

}  // namespace replay
