#include "report/PictureReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>

#include "capture/Text.h"

namespace replay {

namespace {

// In pixels.
constexpr double kLeft = 130;
constexpr double kRight = 90;
constexpr double kLeastWidth = 940;
constexpr double kMostWidth = 8000;
constexpr double kPitch = 44;  // between frames, as far as the width allows
constexpr double kLine = 16;
constexpr double kHead = 54;  // the labels of the two moments
constexpr double kRow = 70;   // a queue
constexpr double kFoot = 66;  // axis and notes
constexpr double kLegend = 76;
constexpr double kDigit = 7;

bool endsIn(const std::string& file, const std::string& ending) {
    return file.size() > ending.size() && file.compare(file.size() - ending.size(), ending.size(), ending) == 0;
}

enum class Change { kNone, kGained, kLost };

struct Mark {
    Shape shape;
    bool hollow = false;
    bool chosen = false;
    bool open = false;
    Change change = Change::kNone;
};

void drawMark(Canvas& canvas, double x, double y, double radius, const Mark& mark) {
    if (mark.chosen) {
        canvas.outline(x, y, radius * 1.75, mark.shape, {kBlue, std::max(1.2, radius * 0.4), mark.open}, kWhite);
    }
    canvas.outline(x, y, radius, mark.shape, {mark.chosen ? kBlue : kGrey, 1.2},
                   mark.hollow   ? kWhite
                   : mark.chosen ? kBlue
                                 : kLightGrey);
    const double reach = radius + 4;
    if (mark.change == Change::kGained) {
        canvas.line(x, y - reach * 2.2, x, y - reach * 1.2, {kBlack, 2});
        canvas.line(x - reach / 2, y - reach * 1.7, x + reach / 2, y - reach * 1.7, {kBlack, 2});
    } else if (mark.change == Change::kLost) {
        canvas.line(x - reach, y - reach, x + reach, y + reach, {kBlack, 2});
        canvas.line(x - reach, y + reach, x + reach, y - reach, {kBlack, 2});
    }
}

// Where moments stand on the page; panels that compare share one.
struct TimeAxis {
    int64_t originNs = 0;
    const char* name = "";
    double firstMs = 0;
    double lastMs = 0;
    double pitch = 0;  // usual distance of two frames, in pixels
    double width = 0;
    double scale = 1;

    double msOf(int64_t ns) const { return static_cast<double>(static_cast<__int128>(ns) - originNs) / 1e6; }
    double x(int64_t ns) const { return kLeft + (msOf(ns) - firstMs) * scale; }
    bool isInside(int64_t ns) const { return msOf(ns) >= firstMs && msOf(ns) <= lastMs; }
};

// One request as it was served: a row for each queue.
class Rows {
public:
    // `before` tells gained and lost frames; null without a comparison.
    Rows(const Finding& finding, const Finding* before, const char* caption)
        : mFinding(finding), mBefore(before), mCaption(caption) {
        for (const Queue& queue : finding.request.queues) {
            for (const FrameList* list : {&queue.consumer, &queue.producer, &queue.all}) {
                for (const uint32_t frame : *list) {
                    const auto known = finding.frames.find(frame);
                    if (known != finding.frames.end())
                        mTimesNs[frame] = known->second.shutterTimeNs;
                    else
                        mUntimed.insert(frame);
                }
            }
        }
    }

    const Finding& finding() const { return mFinding; }
    const std::map<uint32_t, int64_t>& timesNs() const { return mTimesNs; }
    std::string counts() const {
        const bool asked = mFinding.request.call || mFinding.run.outcome.selected;
        return (mCaption.empty() ? "" : mCaption + ' ') + std::to_string(mFinding.request.need) + " needed, " +
               (asked ? std::to_string(mFinding.run.chosen().size()) + " chosen" : "selection was not asked for");
    }
    int64_t anchorTimestampNs() const {
        return mFinding.account.driver ? mFinding.account.driver->anchorTimestampNs : 0;
    }
    double height() const { return kHead + kRow * static_cast<double>(mFinding.request.queues.size()); }

    // Returns what could not be drawn.
    std::string draw(Canvas& canvas, const TimeAxis& axis, double top) const {
        std::string notes =
            mUntimed.empty() ? "" : "no shutter time: " + join({mUntimed.begin(), mUntimed.end()}) + "; ";
        canvas.text(16, top + 16, mCaption, {12, true});
        const auto drawMoment = [&](double y, int64_t ns, const std::string& name, bool dashed) {
            if (ns == 0) return;
            if (!axis.isInside(ns)) {
                notes += name + " at " + milliseconds(ns, axis.originNs) + "; ";
                return;
            }
            const double x = axis.x(ns);
            const bool turned = x + 120 > axis.width;
            canvas.line(x, y - 10, x, top + height(), {kBlack, dashed ? 1.2 : 1.8, dashed});
            canvas.text(turned ? x - 6 : x + 6, y, name, {11, false, turned ? "end" : "start"});
        };
        drawMoment(top + 16, anchorTimestampNs(), "anchor timestamp", true);
        drawMoment(top + 32, mFinding.targetNs.value_or(0), "target moment", false);
        double y = top + kHead + 18;
        for (const Queue& queue : mFinding.request.queues) {
            drawQueue(canvas, axis, queue, y);
            y += kRow;
        }
        return notes;
    }

private:
    static bool chooses(const Finding& finding, uint32_t frame) {
        const FrameList& chosen = finding.run.chosen();
        return std::find(chosen.begin(), chosen.end(), frame) != chosen.end();
    }

    // Each frame as it stands in the first list that has it, where its time is known.
    std::map<uint32_t, Mark> marksOf(const Queue& queue) const {
        std::map<uint32_t, Mark> marks;
        const auto add = [&](const FrameList& list, Shape shape) {
            for (const uint32_t frame : list) {
                if (mTimesNs.count(frame) == 0) continue;
                const bool chosen = chooses(mFinding, frame);
                const bool changed = mBefore != nullptr && chooses(*mBefore, frame) != chosen;
                marks.insert({frame,
                              {shape, queue.held.count(frame) == 0, chosen, chosen && mFinding.isOpen(frame),
                               !changed ? Change::kNone
                               : chosen ? Change::kGained
                                        : Change::kLost}});
            }
        };
        add(queue.consumer, Shape::kCircle);
        add(queue.producer, Shape::kSquare);
        add(queue.all, Shape::kDiamond);
        return marks;
    }

    // The chosen last: their rings lie over their neighbours. Their numbers first, then others as there is room.
    void drawQueue(Canvas& canvas, const TimeAxis& axis, const Queue& queue, double y) const {
        canvas.line(kLeft, y, axis.width - kRight + 20, y, {kPale});
        canvas.text(16, y - 2, queue.name, {12, true});
        canvas.text(16, y + 13, "queue " + std::to_string(queue.id));
        const std::map<uint32_t, Mark> marks = marksOf(queue);
        for (const bool chosen : {false, true}) {
            for (const auto& [frame, mark] : marks) {
                if (mark.chosen != chosen) continue;
                canvas.beginGroup(titleOf(frame, mark));
                drawMark(canvas, axis.x(mTimesNs.at(frame)), y, std::clamp(axis.pitch * 0.24, 2.2, 7.0), mark);
                canvas.endGroup();
            }
        }
        std::set<double> taken;
        for (const bool first : {true, false}) {
            for (const auto& [frame, mark] : marks) {
                const bool isAnchor = mFinding.anchor == frame;
                if ((mark.chosen || isAnchor || mark.change != Change::kNone) != first) continue;
                const std::string label = std::to_string(frame) + (isAnchor ? "*" : "") + (mark.open ? "?" : "");
                const double room = kDigit * static_cast<double>(label.size() + 1);
                const double x = axis.x(mTimesNs.at(frame));
                const auto next = taken.upper_bound(x - room);
                if (next != taken.end() && *next < x + room) continue;
                taken.insert(x);
                canvas.text(x, y + 25, label, {10, mark.chosen, "middle"});
            }
        }
    }

    std::string titleOf(uint32_t frame, const Mark& mark) const {
        std::string title = std::to_string(frame);
        if (mFinding.targetNs) {
            title += ", " + milliseconds(mTimesNs.at(frame), *mFinding.targetNs) + " from the target";
        }
        if (mark.hollow) title += ", not held";
        if (mark.chosen) title += mark.open ? ", chosen (not certain)" : ", chosen";
        return title + (mark.change == Change::kGained ? ", gained" : mark.change == Change::kLost ? ", lost" : "");
    }

    const Finding& mFinding;
    const Finding* mBefore;
    std::string mCaption;
    std::map<uint32_t, int64_t> mTimesNs;
    std::set<uint32_t> mUntimed;
};

// All frames, and moments that are not so far off that nothing else could be told apart.
TimeAxis axisOf(const std::vector<Rows>& parts) {
    TimeAxis axis;
    std::set<int64_t> timesNs;
    for (const Rows& rows : parts) {
        for (const auto& [frame, ns] : rows.timesNs()) timesNs.insert(ns);
    }
    axis.name = parts.size() > 1 ? "ms from the upper target moment" : "ms from the target moment";
    axis.originNs = parts.front().finding().targetNs.value_or(0);
    if (axis.originNs == 0) axis.name = "ms from the first frame";
    if (axis.originNs == 0 && !timesNs.empty()) axis.originNs = *timesNs.begin();
    std::vector<double> gaps;
    double lastMs = 0;
    for (const int64_t ns : timesNs) {
        const double ms = axis.msOf(ns);
        if (ns != *timesNs.begin()) gaps.push_back(ms - lastMs);
        lastMs = ms;
    }
    const auto middle = gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2);
    std::nth_element(gaps.begin(), middle, gaps.end());
    const double pitchMs = gaps.empty() ? 33 : *middle;
    axis.firstMs = timesNs.empty() ? 0 : axis.msOf(*timesNs.begin());
    axis.lastMs = lastMs;
    const double reach = std::max(12 * pitchMs, axis.lastMs - axis.firstMs);
    const double from = axis.firstMs - reach;
    const double to = axis.lastMs + reach;
    for (const Rows& rows : parts) {
        for (const int64_t ns : {rows.finding().targetNs.value_or(0), rows.anchorTimestampNs()}) {
            const double ms = axis.msOf(ns);
            if (ns == 0 || ms < from || ms > to) continue;
            axis.firstMs = std::min(axis.firstMs, ms);
            axis.lastMs = std::max(axis.lastMs, ms);
        }
    }
    axis.firstMs -= pitchMs / 2;
    axis.lastMs += pitchMs / 2;
    const double length = axis.lastMs - axis.firstMs;
    // Long gaps take room, but not all of it.
    const double places = std::min(length / pitchMs, 2.0 * static_cast<double>(timesNs.size()));
    axis.width = std::clamp(kLeft + kRight + places * kPitch, kLeastWidth, kMostWidth);
    axis.scale = (axis.width - kLeft - kRight) / length;
    axis.pitch = pitchMs * axis.scale;
    return axis;
}

void drawAxis(Canvas& canvas, const TimeAxis& axis, double y) {
    canvas.line(kLeft, y, axis.width - kRight + 20, y, {kBlack});
    double step = 1e-6;
    for (int i = 0; step * axis.scale < 72; ++i) step *= i % 3 == 1 ? 2.5 : 2;
    const auto last = static_cast<int64_t>(std::floor(axis.lastMs / step));
    for (auto tick = static_cast<int64_t>(std::ceil(axis.firstMs / step)); tick <= last; ++tick) {
        const double ms = static_cast<double>(tick) * step;
        const double x = kLeft + (ms - axis.firstMs) * axis.scale;
        char label[40];
        std::snprintf(label, sizeof(label), tick == 0 ? "0" : "%+.10g", ms);
        canvas.line(x, y, x, y + 5, {kBlack});
        canvas.text(x, y + 18, label, {10, false, "middle"});
    }
    canvas.text(kLeft, y + 35, axis.name);
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

void drawLegend(Canvas& canvas, double y) {
    const std::pair<const char*, Mark> entries[] = {{"consumer", {Shape::kCircle}},
                                                    {"producer", {Shape::kSquare}},
                                                    {"only in the list of all", {Shape::kDiamond}},
                                                    {"not held by the queue", {Shape::kCircle, true}},
                                                    {"chosen", {Shape::kCircle, false, true}},
                                                    {"chosen, not certain", {Shape::kCircle, false, true, true}},
                                                    {"gained", {Shape::kCircle, false, true, false, Change::kGained}},
                                                    {"lost", {Shape::kCircle, false, false, false, Change::kLost}}};
    canvas.text(26 + 4 * 190, y, "*  anchor frame");
    for (size_t i = 0; i < std::size(entries); ++i) {
        const double x = 26 + 190 * static_cast<double>(i % 4);
        const double base = y + (i < 4 ? 0 : 32);
        drawMark(canvas, x, base - 4, 5.5, entries[i].second);
        canvas.text(x + 16, base, entries[i].first);
    }
}

}  // namespace

bool canDrawTo(const std::string& file) { return endsIn(file, ".svg") || endsIn(file, ".png"); }

PictureReport::PictureReport(const std::string& file, const std::vector<std::string>& inputs, bool namesFile)
    : mOut(file, inputs), mIsSvg(endsIn(file, ".svg")), mNamesFile(namesFile), mWidth(kLeastWidth) {}

void PictureReport::add(const Finding& finding) {
    std::optional<Finding> before;
    std::optional<Finding> other;
    if (finding.before) before = servedAs(finding.unchanged.value_or(finding.request), *finding.before);
    if (finding.other) other = servedAs(finding.request, *finding.other);
    std::vector<Rows> parts;
    if (before) parts.emplace_back(*before, nullptr, "before");
    parts.emplace_back(finding, before ? &*before : nullptr, before ? "after" : other ? "first build" : "");
    if (other) parts.emplace_back(*other, &finding, "second build");
    const TimeAxis axis = axisOf(parts);

    double y = mHeight + 22;
    std::string title = (mNamesFile ? finding.file + ": " : "") + finding.request.name;
    if (finding.showsFrame) title += " (framework frame " + std::to_string(finding.request.fwkFrame) + ')';
    mCanvas.text(16, y, title, {13, true});
    std::string counts;
    for (const Rows& rows : parts) counts += (counts.empty() ? "" : "; ") + rows.counts();
    mCanvas.text(16, y += kLine, counts);
    for (const Warning& warning : finding.warnings) {
        mCanvas.text(16, y += kLine,
                     "warning: " + warning.kind + ": " + warning.text + (warning.certain ? "" : " (not certain)"));
    }
    y += kLine;
    std::string notes;
    for (const Rows& rows : parts) {
        notes += rows.draw(mCanvas, axis, y);
        y += rows.height();
    }
    drawAxis(mCanvas, axis, y);
    if (!notes.empty()) mCanvas.text(kLeft, y + 52, notes.substr(0, notes.size() - 2));
    mWidth = std::max(mWidth, axis.width);
    mHeight = y + kFoot;
}

void PictureReport::finish() {
    drawLegend(mCanvas, mHeight + 26);
    const double height = mHeight + kLegend;
    if (mIsSvg)
        mOut.stream() << mCanvas.svg(mWidth, height);
    else
        mCanvas.writePng(mOut.stream(), mWidth, height);
    mOut.keep();
}

}  // namespace replay
