#include "report/PictureReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>

#include "capture/Text.h"
#include "report/TextReport.h"

namespace replay {

namespace {

// In pixels.
constexpr double kEdge = 16;
constexpr double kLeft = 152;   // of the first frame
constexpr double kRight = 132;  // behind the last one: a moment's name fits in
constexpr double kMargin = 22;  // of rows and axis beyond both
constexpr double kPitch = 44;   // between frames, as far as the width allows
constexpr double kLeastWidth = 940;
constexpr double kMostWidth = 8000;
constexpr double kLine = 16;
constexpr double kHead = 74;  // from the top of a run to its first row: its caption, the names of two moments
constexpr double kRow = 62;   // a queue
constexpr double kFoot = 66;  // axis and notes
constexpr double kLegend = 44;
constexpr double kDigit = 7;

bool endsIn(const std::string& file, const std::string& ending) {
    return file.size() > ending.size() && file.compare(file.size() - ending.size(), ending.size(), ending) == 0;
}

double millisecondsBetween(int64_t fromNs, int64_t toNs) {
    return static_cast<double>(static_cast<__int128>(toNs) - fromNs) / 1e6;
}

bool chooses(const Finding& finding, uint32_t frame) {
    const FrameList& chosen = finding.run.chosen();
    return std::find(chosen.begin(), chosen.end(), frame) != chosen.end();
}

// A request as it was served once.
struct Serving {
    const Finding& finding;
    const Finding* before;  // from which frames are gained and lost; null: nothing is compared
    std::string caption;
    std::map<uint32_t, int64_t> timesNs;
    std::set<uint32_t> untimed;
    std::vector<std::pair<const char*, int64_t>> momentsNs{};  // their names are their styles, too

    Serving(const Finding& served, const Finding* compared, const std::string& name);
    double height() const { return kHead + kRow * static_cast<double>(finding.request.queues.size()); }
};

Serving::Serving(const Finding& served, const Finding* compared, const std::string& name)
    : finding(served), before(compared) {
    const Request& request = finding.request;
    for (const Queue& queue : request.queues) {
        for (const FrameList* list : {&queue.consumer, &queue.producer, &queue.all}) {
            for (const uint32_t frame : *list) {
                if (const auto ns = shutterTimeNs(request, frame))
                    timesNs[frame] = *ns;
                else
                    untimed.insert(frame);
            }
        }
    }
    const auto& driver = finding.account.driver;
    if (driver && driver->anchorTimestampNs != 0) momentsNs.emplace_back("anchor timestamp", driver->anchorTimestampNs);
    if (finding.targetNs) momentsNs.emplace_back("target moment", *finding.targetNs);
    const bool isAsked = request.call || finding.run.outcome.selected;
    caption = name + std::to_string(request.need) + " needed, " +
              (isAsked ? std::to_string(finding.run.chosen().size()) + " chosen" : "selection was not asked for");
}

// Where moments stand on the page, those of all servings that a panel compares.
struct TimeAxis {
    int64_t originNs;
    int64_t firstNs = INT64_MAX;
    int64_t lastNs = INT64_MIN;
    double pitch = kPitch;  // usual distance of two frames
    double scale = 1;       // pixels a millisecond
    double width = kLeastWidth;

    explicit TimeAxis(const std::vector<Serving>& servings);
    double x(int64_t ns) const { return kLeft + millisecondsBetween(firstNs, ns) * scale; }
    bool shows(int64_t ns) const { return ns >= firstNs && ns <= lastNs; }
    double end() const { return width - kRight + kMargin; }
};

// From the first to the last frame, and to a moment that is at most a dozen frames away from them: were it farther, the
// frames could not be told apart.
TimeAxis::TimeAxis(const std::vector<Serving>& servings) : originNs(servings.front().finding.targetNs.value_or(0)) {
    std::set<int64_t> timesNs;
    for (const Serving& serving : servings) {
        for (const auto& [frame, ns] : serving.timesNs) timesNs.insert(ns);
    }
    if (timesNs.empty()) timesNs.insert(originNs);
    const int64_t firstFrameNs = *timesNs.begin();
    const int64_t lastFrameNs = *timesNs.rbegin();
    std::vector<double> gapsMs;
    for (auto next = std::next(timesNs.begin()); next != timesNs.end(); ++next) {
        gapsMs.push_back(millisecondsBetween(*std::prev(next), *next));
    }
    std::sort(gapsMs.begin(), gapsMs.end());
    const double pitchMs = gapsMs.empty() ? 33 : gapsMs[gapsMs.size() / 2];
    for (const Serving& serving : servings) {
        for (const auto& [name, ns] : serving.momentsNs) {
            const double awayMs = std::max(millisecondsBetween(ns, firstFrameNs), millisecondsBetween(lastFrameNs, ns));
            if (awayMs < 12 * pitchMs) timesNs.insert(ns);
        }
    }
    firstNs = *timesNs.begin();
    lastNs = *timesNs.rbegin();
    if (originNs == 0) originNs = firstNs;
    const double lengthMs = std::max(millisecondsBetween(firstNs, lastNs), pitchMs);
    // Long gaps take room, but not all of it.
    const double places = std::min(lengthMs / pitchMs, 2.0 * static_cast<double>(timesNs.size()));
    width = std::clamp(kLeft + places * kPitch + kRight, kLeastWidth, kMostWidth);
    scale = (width - kLeft - kRight) / lengthMs;
    pitch = pitchMs * scale;
}

void drawAxis(Canvas& canvas, const TimeAxis& axis, const std::string& name, double y) {
    canvas.line(kLeft - kMargin, y, axis.end(), y, "axis");
    double step = 1e-6;
    for (int i = 0; step * axis.scale < 72; ++i) step *= i % 3 == 1 ? 2.5 : 2;
    const double firstMs = millisecondsBetween(axis.originNs, axis.firstNs);
    const double lastMs = millisecondsBetween(axis.originNs, axis.lastNs);
    for (double tick = std::ceil(firstMs / step); tick * step <= lastMs; ++tick) {
        const double x = kLeft + (tick * step - firstMs) * axis.scale;
        char label[40];
        std::snprintf(label, sizeof(label), tick == 0 ? "0" : "%+.10g", tick * step);
        canvas.line(x, y, x, y + 5, "axis");
        canvas.text(x, y + 18, label, "number");
    }
    canvas.text(kLeft - kMargin, y + 35, name);
}

// Each frame as it stands in the first list that has it, where its time is known. The chosen come first.
std::vector<std::pair<uint32_t, Mark>> marksOf(const Serving& serving, const Queue& queue) {
    const Finding& finding = serving.finding;
    const std::pair<const char*, const FrameList&> lists[] = {
        {"consumer", queue.consumer}, {"producer", queue.producer}, {"all", queue.all}};
    std::map<uint32_t, Mark> marks;
    for (const auto& [name, list] : lists) {
        for (const uint32_t frame : list) {
            if (serving.timesNs.count(frame) == 0) continue;
            const bool isChosen = chooses(finding, frame);
            const bool isChanged = serving.before != nullptr && chooses(*serving.before, frame) != isChosen;
            const char* change = !isChanged ? "" : isChosen ? "gained" : "lost";
            const bool isCertain = !isChosen || !finding.isOpen(frame);
            marks.insert({frame, {name, queue.held.count(frame) > 0, isChosen, isCertain, change}});
        }
    }
    std::vector<std::pair<uint32_t, Mark>> sorted(marks.begin(), marks.end());
    std::stable_partition(sorted.begin(), sorted.end(), [](const auto& each) { return each.second.isChosen; });
    return sorted;
}

void drawQueue(Canvas& canvas, const TimeAxis& axis, const Serving& serving, const Queue& queue, double y) {
    canvas.line(kLeft - kMargin, y, axis.end(), y, "row");
    canvas.text(kEdge, y - 2, queue.name, "name");
    canvas.text(kEdge, y + 13, "queue " + std::to_string(queue.id));
    const auto marks = marksOf(serving, queue);
    // The chosen last: their rings lie over their neighbours.
    for (auto each = marks.rbegin(); each != marks.rend(); ++each) {
        const int64_t ns = serving.timesNs.at(each->first);
        canvas.mark(axis.x(ns), y, std::clamp(axis.pitch / 29, 0.3, 1.0), each->second,
                    std::to_string(each->first) + ", " + milliseconds(ns, axis.originNs));
    }
    // Their numbers first, others as there is room.
    std::vector<double> taken;
    for (const auto& [frame, mark] : marks) {
        const std::string anchor = serving.finding.anchor == frame ? "*" : "";
        const std::string number = std::to_string(frame) + anchor + (mark.isCertain ? "" : "?");
        const double x = axis.x(serving.timesNs.at(frame));
        const double room = kDigit * static_cast<double>(number.size() + 1);
        const auto isNear = [&](double other) { return std::abs(other - x) < room; };
        if (std::any_of(taken.begin(), taken.end(), isNear)) continue;
        taken.push_back(x);
        canvas.text(x, y + 25, number, mark.isChosen ? "number bold" : "number");
    }
}

// Returns what could not be drawn.
std::string draw(Canvas& canvas, const TimeAxis& axis, const Serving& serving, double top) {
    const FrameList untimed(serving.untimed.begin(), serving.untimed.end());
    std::string notes = untimed.empty() ? "" : "no shutter time: " + join(untimed) + "; ";
    double y = top + kLine;
    canvas.text(kEdge, y, serving.caption, "name");
    for (const auto& [name, ns] : serving.momentsNs) {
        if (axis.shows(ns)) {
            y += kLine;
            canvas.line(axis.x(ns), y - 10, axis.x(ns), top + serving.height(), name);
            canvas.text(axis.x(ns) + 6, y, name);
        } else {
            notes += std::string(name) + " at " + milliseconds(ns, axis.originNs) + "; ";
        }
    }
    y = top + kHead;
    for (const Queue& queue : serving.finding.request.queues) {
        drawQueue(canvas, axis, serving, queue, y);
        y += kRow;
    }
    return notes;
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
    const std::pair<const char*, Mark> entries[] = {{"consumer", {}},
                                                    {"producer", {"producer"}},
                                                    {"only in all", {"all"}},
                                                    {"not held", {"consumer", false}},
                                                    {"chosen", {"consumer", true, true}},
                                                    {"not certain", {"consumer", true, true, false}},
                                                    {"gained", {"consumer", true, true, true, "gained"}},
                                                    {"lost", {"consumer", true, false, true, "lost"}}};
    double x = kEdge + 10;
    for (const auto& [label, mark] : entries) {
        canvas.mark(x, y - 4, 0.8, mark, label);
        canvas.text(x + 14, y, label);
        x += 104;
    }
    canvas.text(x - 10, y, "* anchor");
}

}  // namespace

bool canDrawTo(const std::string& file) { return endsIn(file, ".svg") || endsIn(file, ".png"); }

PictureReport::PictureReport(const std::string& file, const std::vector<std::string>& inputs, bool namesFile)
    : mOut(file, inputs), mIsSvg(endsIn(file, ".svg")), mNamesFile(namesFile), mWidth(kLeastWidth) {}

void PictureReport::add(const Finding& finding) {
    Finding before;
    Finding other;
    std::vector<Serving> servings;
    if (finding.before) {
        before = servedAs(*finding.unchanged, *finding.before);
        servings.emplace_back(before, nullptr, "before: ");
    }
    servings.emplace_back(finding, finding.before ? &before : nullptr,
                          finding.before  ? "after: "
                          : finding.other ? "first build: "
                                          : "");
    if (finding.other) {
        other = servedAs(finding.request, *finding.other);
        servings.emplace_back(other, &finding, "second build: ");
    }
    const TimeAxis axis(servings);

    double y = mHeight + 22;
    std::string title = (mNamesFile ? finding.file + ": " : "") + finding.request.name;
    if (finding.showsFrame) title += " (framework frame " + std::to_string(finding.request.fwkFrame) + ')';
    mCanvas.text(kEdge, y, title, "title");
    for (const Warning& warning : finding.warnings) mCanvas.text(kEdge, y += kLine, "warning: " + textOf(warning));
    y += 4;
    std::string notes;
    for (const Serving& serving : servings) {
        notes += draw(mCanvas, axis, serving, y);
        y += serving.height();
    }
    const char* moment = !servings.front().finding.targetNs ? "first frame"
                         : servings.size() > 1              ? "upper target moment"
                                                            : "target moment";
    drawAxis(mCanvas, axis, std::string("ms from the ") + moment, y);
    mCanvas.text(kLeft - kMargin, y + 52, notes.substr(0, notes.size() - 2));
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
