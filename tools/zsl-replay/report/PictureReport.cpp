#include "report/PictureReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>

#include "capture/Text.h"
#include "report/TimeWindow.h"

namespace replay {

namespace {

// In pixels.
constexpr double kLeft = 130;
constexpr double kRight = 90;
constexpr double kLeastWidth = 940;
constexpr double kMostWidth = 2600;
constexpr double kLeastPitch = 7;  // between frames
constexpr double kLine = 16;
constexpr double kHead = 54;  // the labels of the two moments
constexpr double kRow = 58;   // a queue, without its numbers
constexpr double kFoot = 66;  // axis and notes
constexpr double kDigit = 7;
constexpr size_t kMostPanels = 40;

bool endsIn(const std::string& file, const std::string& ending) {
    return file.size() > ending.size() && file.compare(file.size() - ending.size(), ending.size(), ending) == 0;
}

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

enum class Change { kNone, kGained, kLost };

void drawMark(Canvas& canvas, double x, double y, double radius, Shape shape, bool hollow, bool chosen, bool open,
              Change change) {
    if (chosen) canvas.outline(x, y, radius * 1.75, shape, {kBlue, std::max(1.2, radius * 0.4), open}, kWhite);
    canvas.outline(x, y, radius, shape, {chosen ? kBlue : kGrey, 1.2}, hollow ? kWhite : chosen ? kBlue : kLightGrey);
    const double reach = radius + 4;
    if (change == Change::kGained) {
        canvas.line(x, y - reach * 2.2, x, y - reach * 1.2, {kBlack, 2});
        canvas.line(x - reach / 2, y - reach * 1.7, x + reach / 2, y - reach * 1.7, {kBlack, 2});
    } else if (change == Change::kLost) {
        canvas.line(x - reach, y - reach, x + reach, y + reach, {kBlack, 2});
        canvas.line(x - reach, y + reach, x + reach, y - reach, {kBlack, 2});
    }
}

// Where moments stand on the page; panels that compare share one.
struct TimeAxis {
    int64_t originNs = 0;
    std::string name;
    TimeWindow window;
    double width = 0;
    double scale = 1;

    double msOf(int64_t ns) const { return static_cast<double>(static_cast<__int128>(ns) - originNs) / 1e6; }
    double x(int64_t ns) const { return kLeft + (msOf(ns) - window.firstMs) * scale; }
    bool isInside(int64_t ns) const { return msOf(ns) >= window.firstMs && msOf(ns) <= window.lastMs; }
    double pitch() const { return window.pitchMs * scale; }
};

// One request as it was served: a row for each queue.
class Rows {
public:
    // `before` tells gained and lost frames; null without a comparison.
    Rows(const Finding& finding, const Finding* before, const char* caption) : mFinding(finding), mCaption(caption) {
        const FrameList& chosen = finding.run.chosen();
        mChosen.insert(chosen.begin(), chosen.end());
        if (before != nullptr) mBefore.emplace(before->run.chosen().begin(), before->run.chosen().end());
        for (const Queue& queue : finding.request.queues) {
            for (const Place& place : placesOf(queue)) {
                const auto time = shutterTimeNs(finding.request, place.frame);
                (time ? mTimesNs[place.frame] = *time : mTimesNs.erase(place.frame));
                if (!time) mUntimed.insert(place.frame);
            }
        }
    }

    const Finding& finding() const { return mFinding; }
    const std::map<uint32_t, int64_t>& timesNs() const { return mTimesNs; }
    bool isChosen(uint32_t frame) const { return mChosen.count(frame) > 0; }
    std::string counts() const {
        const bool asked = mFinding.request.call || mFinding.run.outcome.selected;
        return (mCaption.empty() ? "" : mCaption + ' ') + std::to_string(mFinding.request.need) + " needed, " +
               (asked ? std::to_string(mFinding.run.chosen().size()) + " chosen" : "selection was not asked for");
    }
    int64_t anchorTimestampNs() const {
        return mFinding.account.driver ? mFinding.account.driver->anchorTimestampNs : 0;
    }
    double numberWidth() const {
        size_t digits = 0;
        for (const auto& [frame, ns] : mTimesNs) digits = std::max(digits, std::to_string(frame).size());
        return kDigit * static_cast<double>(digits + 1);
    }

    void setAxis(const TimeAxis& axis, double numberWidth) {
        mAxis = axis;
        mUpright = axis.pitch() < numberWidth;
        mNumberRoom = mUpright ? 11 : numberWidth;
        mRowHeight = kRow + (mUpright ? numberWidth : 12);
    }
    double height() const { return kHead + mRowHeight * static_cast<double>(mFinding.request.queues.size()); }

    void draw(Canvas& canvas, double top) {
        canvas.text(16, top + 16, mCaption, {12, true, Align::kLeft, false, kLeft - 20});
        drawMoment(canvas, top + 16, top + height(), anchorTimestampNs(), "anchor timestamp", true);
        drawMoment(canvas, top + 32, top + height(), mFinding.targetNs.value_or(0), "target moment", false);
        double y = top + kHead + 18;
        for (const Queue& queue : mFinding.request.queues) {
            drawQueue(canvas, queue, y);
            y += mRowHeight;
        }
    }

    std::string notes() const {
        std::string notes = mNotes;
        if (!mOutside.empty()) {
            notes += "not drawn, outside this time: " + std::to_string(mOutside.size()) + " frames, " +
                     std::to_string(*mOutside.begin()) + " to " + std::to_string(*mOutside.rbegin()) + "; ";
        }
        if (!mUntimed.empty()) {
            notes += "no shutter time known: " + join({mUntimed.begin(), mUntimed.end()}) + "; ";
        }
        return notes;
    }

private:
    bool isDrawn(uint32_t frame) const { return mTimesNs.count(frame) > 0 && mAxis.isInside(mTimesNs.at(frame)); }
    double x(uint32_t frame) const { return mAxis.x(mTimesNs.at(frame)); }

    Change changeOf(uint32_t frame) const {
        if (!mBefore || isChosen(frame) == (mBefore->count(frame) > 0)) return Change::kNone;
        return isChosen(frame) ? Change::kGained : Change::kLost;
    }

    void drawMoment(Canvas& canvas, double y, double bottom, int64_t ns, const std::string& name, bool dashed) {
        if (ns == 0) return;
        if (!mAxis.isInside(ns)) {
            mNotes += name + " at " + milliseconds(ns, mAxis.originNs) + "; ";
            return;
        }
        const double at = mAxis.x(ns);
        const bool turned = at + 120 > mAxis.width;
        canvas.line(at, y - 10, at, bottom, {0x404040, dashed ? 1.2 : 1.8, dashed});
        canvas.text(at + (turned ? -6 : 6), y, name, {11, false, turned ? Align::kRight : Align::kLeft});
    }

    // The chosen last: their rings lie over their neighbours.
    void drawQueue(Canvas& canvas, const Queue& queue, double y) {
        canvas.line(kLeft, y, mAxis.width - kRight + 20, y, {kPale});
        canvas.text(16, y - 2, queue.name, {12, true, Align::kLeft, false, kLeft - 40});
        canvas.text(16, y + 13, "queue " + std::to_string(queue.id));
        const std::vector<Place> places = placesOf(queue);
        const double radius = std::clamp(mAxis.pitch() * 0.24, 2.2, 7.0);
        for (const bool chosen : {false, true}) {
            for (const Place& place : places) {
                if (mTimesNs.count(place.frame) > 0 && !isDrawn(place.frame)) mOutside.insert(place.frame);
                if (isChosen(place.frame) != chosen || !isDrawn(place.frame)) continue;
                canvas.beginGroup(titleOf(queue, place.frame));
                drawMark(canvas, x(place.frame), y, radius, place.shape, queue.held.count(place.frame) == 0, chosen,
                         mFinding.isOpen(place.frame), changeOf(place.frame));
                canvas.endGroup();
            }
        }
        drawNumbers(canvas, places, y + 25);
    }

    std::string titleOf(const Queue& queue, uint32_t frame) const {
        std::string title = std::to_string(frame);
        if (mFinding.targetNs)
            title += ", " + milliseconds(mTimesNs.at(frame), *mFinding.targetNs) + " from the target";
        if (queue.held.count(frame) == 0) title += ", not held";
        if (isChosen(frame)) title += mFinding.isOpen(frame) ? ", chosen (not certain)" : ", chosen";
        const Change change = changeOf(frame);
        return title + (change == Change::kGained ? ", gained" : change == Change::kLost ? ", lost" : "");
    }

    // Upright where frames stand close. First the chosen, the anchor and what changed, then every 2nd, 5th, 10th, ...,
    // as there is room.
    void drawNumbers(Canvas& canvas, const std::vector<Place>& places, double y) {
        uint32_t every = 1;
        for (int i = 0; every * mAxis.pitch() < mNumberRoom; ++i) every = i % 3 == 1 ? every / 2 * 5 : every * 2;
        std::set<double> taken;
        for (const bool first : {true, false}) {
            for (const Place& place : places) {
                const bool isAnchor = mFinding.anchor == place.frame;
                const bool goesFirst = isChosen(place.frame) || isAnchor || changeOf(place.frame) != Change::kNone;
                if (goesFirst != first || (!first && place.frame % every != 0) || !isDrawn(place.frame)) continue;
                const double at = x(place.frame);
                const auto next = taken.upper_bound(at - mNumberRoom);
                if (next != taken.end() && *next < at + mNumberRoom) continue;
                taken.insert(at);
                const bool isOpen = isChosen(place.frame) && mFinding.isOpen(place.frame);
                canvas.text(mUpright ? at + 4 : at, mUpright ? y - 6 : y,
                            std::to_string(place.frame) + (isAnchor ? "*" : "") + (isOpen ? "?" : ""),
                            {10, isChosen(place.frame), mUpright ? Align::kRight : Align::kCentre, mUpright});
            }
        }
    }

    const Finding& mFinding;
    std::string mCaption;
    std::set<uint32_t> mChosen;
    std::optional<std::set<uint32_t>> mBefore;
    std::map<uint32_t, int64_t> mTimesNs;
    std::set<uint32_t> mUntimed;
    std::set<uint32_t> mOutside;
    std::string mNotes;
    TimeAxis mAxis;
    bool mUpright = false;
    double mNumberRoom = 0;
    double mRowHeight = 0;
};

TimeAxis axisOf(const std::vector<Rows>& parts) {
    TimeAxis axis;
    std::vector<int64_t> all;
    std::vector<int64_t> chosen;
    std::vector<int64_t> moments;
    for (const Rows& rows : parts) {
        const int64_t target = rows.finding().targetNs.value_or(0);
        if (axis.originNs != 0 && target != axis.originNs) axis.name = "ms from the upper target moment";
        if (axis.originNs == 0) axis.originNs = target;
        for (const int64_t ns : {target, rows.anchorTimestampNs()}) {
            if (ns != 0) moments.push_back(ns);
        }
        for (const auto& [frame, ns] : rows.timesNs()) {
            all.push_back(ns);
            if (rows.isChosen(frame)) chosen.push_back(ns);
        }
    }
    if (axis.name.empty()) axis.name = axis.originNs != 0 ? "ms from the target moment" : "ms from the first frame";
    if (axis.originNs == 0 && !all.empty()) axis.originNs = *std::min_element(all.begin(), all.end());
    const auto inMs = [&axis](const std::vector<int64_t>& times) {
        std::vector<double> ms;
        for (const int64_t ns : times) ms.push_back(axis.msOf(ns));
        return ms;
    };
    const double most = (kMostWidth - kLeft - kRight) / kLeastPitch;
    axis.window = chooseWindow(inMs(all), inMs(chosen), inMs(moments), most);
    const double length = axis.window.lastMs - axis.window.firstMs;
    const double frames = length / axis.window.pitchMs;
    axis.width = std::clamp(kLeft + kRight + frames * (frames > 40 ? 14 : 44), kLeastWidth, kMostWidth);
    axis.scale = (axis.width - kLeft - kRight) / length;
    return axis;
}

void drawAxis(Canvas& canvas, const TimeAxis& axis, double y) {
    canvas.line(kLeft, y, axis.width - kRight + 20, y, {kBlack});
    double step = 1e-6;
    for (int i = 0; step * axis.scale < 72; ++i) step *= i % 3 == 1 ? 2.5 : 2;
    const auto last = static_cast<int64_t>(std::floor(axis.window.lastMs / step));
    for (auto tick = static_cast<int64_t>(std::ceil(axis.window.firstMs / step)); tick <= last; ++tick) {
        const double ms = static_cast<double>(tick) * step;
        const double x = kLeft + (ms - axis.window.firstMs) * axis.scale;
        char label[40];
        std::snprintf(label, sizeof(label), tick == 0 ? "0" : "%+.10g", ms);
        canvas.line(x, y, x, y + 5, {kBlack});
        canvas.text(x, y + 18, label, {10, false, Align::kCentre});
    }
    canvas.text(kLeft, y + 35, axis.name);
}

// What stands above the rows; the title first.
std::vector<std::string> headingOf(const Finding& finding, const std::vector<Rows>& parts, bool namesFile) {
    std::vector<std::string> lines = {(namesFile ? finding.file + ": " : "") + finding.request.name};
    if (finding.showsFrame) lines[0] += " (framework frame " + std::to_string(finding.request.fwkFrame) + ')';
    lines.emplace_back();
    for (const Rows& rows : parts) lines[1] += (lines[1].empty() ? "" : "; ") + rows.counts();
    for (const Warning& warning : finding.warnings) {
        lines.push_back("warning: " + warning.kind + ": " + warning.text + (warning.certain ? "" : " (not certain)"));
    }
    return lines;
}

// A run that a finding compares with, as a finding of its own.
Finding servedAs(const Request& request, const Run& run) {
    Finding finding;
    finding.request = request;
    finding.run = run;
    finding.account = accountOf(run.log);
    workOut(finding);
    return finding;
}

// Returns the panel's width and height.
std::pair<double, double> drawPanel(Canvas& canvas, const Finding& finding, bool namesFile, double top) {
    std::optional<Finding> before;
    std::optional<Finding> other;
    if (finding.before) before = servedAs(finding.unchanged.value_or(finding.request), *finding.before);
    if (finding.other) other = servedAs(finding.request, *finding.other);
    std::vector<Rows> parts;
    if (before) parts.emplace_back(*before, nullptr, "before");
    parts.emplace_back(finding, before ? &*before : nullptr, before ? "after" : other ? "first build" : "");
    if (other) parts.emplace_back(*other, &finding, "second build");
    const TimeAxis axis = axisOf(parts);
    double numberWidth = 0;
    for (const Rows& rows : parts) numberWidth = std::max(numberWidth, rows.numberWidth());

    double y = top + 22;
    for (const std::string& line : headingOf(finding, parts, namesFile)) {
        const bool isTitle = y == top + 22;
        canvas.text(16, y, line, {isTitle ? 13.0 : 11.0, isTitle, Align::kLeft, false, axis.width - 32});
        y += kLine;
    }
    std::string notes;
    for (Rows& rows : parts) {
        rows.setAxis(axis, numberWidth);
        rows.draw(canvas, y);
        y += rows.height();
        notes += rows.notes();
    }
    drawAxis(canvas, axis, y);
    if (!notes.empty()) {
        notes.resize(notes.size() - 2);
        canvas.text(kLeft, y + 52, notes, {11, false, Align::kLeft, false, axis.width - kLeft - 16});
    }
    return {axis.width, y + kFoot - top};
}

// Returns the base line of its last row.
double drawLegend(Canvas& canvas, double y, double width, bool compares, bool hasOpen) {
    const struct {
        const char* text;
        Shape shape;
        bool hollow, chosen, open;
        Change change;
        bool shown;
    } entries[] = {{"consumer", Shape::kCircle, false, false, false, Change::kNone, true},
                   {"producer", Shape::kSquare, false, false, false, Change::kNone, true},
                   {"only in the list of all", Shape::kDiamond, false, false, false, Change::kNone, true},
                   {"not held by the queue", Shape::kCircle, true, false, false, Change::kNone, true},
                   {"", Shape::kSquare, false, true, false, Change::kNone, true},
                   {"chosen", Shape::kCircle, false, true, false, Change::kNone, true},
                   {"chosen, not certain", Shape::kCircle, false, true, true, Change::kNone, hasOpen},
                   {"gained", Shape::kCircle, false, true, false, Change::kGained, compares},
                   {"lost", Shape::kCircle, false, false, false, Change::kLost, compares}};
    constexpr double kWidestEntry = 190;
    double x = 26;
    for (const auto& entry : entries) {
        if (!entry.shown) continue;
        if (x + kWidestEntry > width) {
            x = 26;
            y += 32;
        }
        drawMark(canvas, x, y - 4, 5.5, entry.shape, entry.hollow, entry.chosen, entry.open, entry.change);
        x += 16 + canvas.text(x + 16, y, entry.text) + (*entry.text != 0 ? 32 : 12);
    }
    canvas.text(x, y, "*  anchor frame");
    return y;
}

}  // namespace

bool canDrawTo(const std::string& file) { return endsIn(file, ".svg") || endsIn(file, ".png"); }

PictureReport::PictureReport(const std::string& file, const std::vector<std::string>& inputs, bool namesFile)
    : mOut(file, inputs), mIsSvg(endsIn(file, ".svg")), mNamesFile(namesFile), mWidth(kLeastWidth) {}

void PictureReport::add(const Finding& finding) {
    if (++mRequests > kMostPanels) return;
    const auto [width, height] = drawPanel(mCanvas, finding, mNamesFile, mHeight);
    mWidth = std::max(mWidth, width);
    mHeight += height;
    mCompares |= finding.before || finding.other;
    const FrameList& chosen = finding.run.chosen();
    mHasOpen |= std::any_of(chosen.begin(), chosen.end(), [&](uint32_t frame) { return finding.isOpen(frame); });
}

void PictureReport::finish() {
    double y = drawLegend(mCanvas, mHeight + 26, mWidth, mCompares, mHasOpen);
    if (mRequests > kMostPanels) {
        y += 20;
        mCanvas.text(26, y, std::to_string(mRequests - kMostPanels) + " more requests are not drawn", {11, true});
    }
    const double height = y + 18;
    mIsSvg ? mCanvas.writeSvg(mOut.stream(), mWidth, height) : mCanvas.writePng(mOut.stream(), mWidth, height);
    mOut.keep();
}

}  // namespace replay
