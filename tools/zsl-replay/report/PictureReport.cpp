#include "report/PictureReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>

#include "capture/Text.h"
#include "report/TextReport.h"

namespace replay {

namespace {

// In pixels.
constexpr double kEdge = 16;
constexpr double kLeft = 152;         // of the first frame
constexpr double kRight = 132;        // behind the last one: a moment's name fits in
constexpr double kMargin = 22;        // of rows and axis beyond both
constexpr double kPitch = 44;         // between frames, as far as the length allows
constexpr double kMostLength = 5000;  // of an axis
constexpr double kLine = 16;
constexpr double kHead = 74;  // from the top of a run to its first row: its caption, the names of two moments
constexpr double kRow = 62;   // a queue
constexpr double kFoot = 60;  // the axis
constexpr double kLegend = 44;
constexpr double kDigit = 7;

// A request as it was served once.
struct Serving {
    Finding finding;
    std::string caption;
    std::map<uint32_t, int64_t> timesNs;
    std::vector<std::pair<std::string, int64_t>> momentsNs;
    std::set<uint32_t> chosen;
    std::set<uint32_t> chosenBefore;

    Serving(const std::string& name, const Finding& served, const FrameList& before);
    double height() const { return kHead + kRow * static_cast<double>(finding.request.queues.size()); }
};

Serving::Serving(const std::string& name, const Finding& served, const FrameList& before)
    : finding(served),
      chosen(served.run.chosen().begin(), served.run.chosen().end()),
      chosenBefore(before.begin(), before.end()) {
    const Request& request = finding.request;
    std::set<uint32_t> untimed;
    for (const Queue& queue : request.queues) {
        for (const FrameList* list : {&queue.consumer, &queue.producer, &queue.all}) {
            for (const uint32_t frame : *list) {
                const auto known = finding.frames.find(frame);
                if (known != finding.frames.end())
                    timesNs[frame] = known->second.shutterTimeNs;
                else
                    untimed.insert(frame);
            }
        }
    }
    const auto& driver = finding.account.driver;
    if (driver && driver->anchorTimestampNs != 0) momentsNs.emplace_back("anchor timestamp", driver->anchorTimestampNs);
    if (finding.targetNs) momentsNs.emplace_back("target moment", *finding.targetNs);
    caption =
        name + std::to_string(request.need) + " needed, " +
        (finding.isAsked() ? std::to_string(finding.run.chosen().size()) + " chosen" : "selection was not asked for");
    if (!untimed.empty()) caption += "; no shutter time: " + join({untimed.begin(), untimed.end()});
}

// A run that a finding compares with, as a finding of its own.
Finding servedAs(const Request& request, const Run& run) {
    Finding finding;
    finding.request = request;
    finding.run = run;
    finding.account = accountOf(run.offlineLog);
    workOut(finding);
    return finding;
}

// Where moments stand on the page, those of all servings that a panel compares.
struct TimeAxis {
    int64_t originNs;
    const char* name;
    int64_t firstNs;
    int64_t lastNs;
    double scale;  // pixels a millisecond
    double pitch;  // usual distance of two frames

    explicit TimeAxis(const std::vector<Serving>& servings);
    double x(int64_t ns) const { return kLeft + millisecondsBetween(firstNs, ns) * scale; }
    bool shows(int64_t ns) const { return ns >= firstNs && ns <= lastNs; }
    double end() const { return x(lastNs) + kMargin; }
};

// From the first to the last frame, and to a moment that is at most a dozen frames away from them: were it farther, the
// frames could not be told apart.
TimeAxis::TimeAxis(const std::vector<Serving>& servings)
    : originNs(servings.front().finding.targetNs.value_or(0)),
      name(originNs != 0 ? "ms from the target moment" : "ms from the first frame") {
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
        for (const auto& [moment, ns] : serving.momentsNs) {
            const double awayMs = std::max(millisecondsBetween(ns, firstFrameNs), millisecondsBetween(lastFrameNs, ns));
            if (awayMs < 12 * pitchMs) timesNs.insert(ns);
        }
    }
    firstNs = *timesNs.begin();
    lastNs = *timesNs.rbegin();
    if (originNs == 0) originNs = firstFrameNs;
    scale = kPitch / std::max(pitchMs, millisecondsBetween(firstNs, lastNs) * kPitch / kMostLength);
    pitch = pitchMs * scale;
}

void drawAxis(Canvas& canvas, const TimeAxis& axis, double y) {
    canvas.line(kLeft - kMargin, y, axis.end(), y, "axis");
    const double step = std::pow(10, std::ceil(std::log10(60 / axis.scale)));
    const double firstMs = millisecondsBetween(axis.originNs, axis.firstNs);
    const auto last = static_cast<int64_t>(std::floor(millisecondsBetween(axis.originNs, axis.lastNs) / step));
    for (auto tick = static_cast<int64_t>(std::ceil(firstMs / step)); tick <= last; ++tick) {
        const double ms = static_cast<double>(tick) * step;
        const double x = kLeft + (ms - firstMs) * axis.scale;
        char label[40];
        std::snprintf(label, sizeof(label), tick == 0 ? "0" : "%+.10g", ms);
        canvas.line(x, y, x, y + 5, "axis");
        canvas.text(x, y + 18, label, "number");
    }
    canvas.text(kLeft - kMargin, y + 35, axis.name);
}

// What each frame is, as it stands in the first list that has it, where its time is known.
std::map<uint32_t, std::string> marksOf(const Serving& serving, const Queue& queue) {
    const std::pair<const char*, const FrameList&> lists[] = {
        {"consumer", queue.consumer}, {"producer", queue.producer}, {"all", queue.all}};
    std::map<uint32_t, std::string> marks;
    for (const auto& [name, list] : lists) {
        for (const uint32_t frame : list) {
            if (serving.timesNs.count(frame) == 0) continue;
            const bool isChosen = serving.chosen.count(frame) > 0;
            const bool wasChosen = serving.chosenBefore.count(frame) > 0;
            std::string words = !isChosen ? "" : serving.finding.isOpen(frame) ? "uncertain " : "chosen ";
            if (queue.held.count(frame) == 0) words += "not-held ";
            words += name;
            if (isChosen != wasChosen) words += isChosen ? " gained" : " lost";
            marks.emplace(frame, words);
        }
    }
    return marks;
}

void drawQueue(Canvas& canvas, const TimeAxis& axis, const Serving& serving, const Queue& queue, double y) {
    canvas.line(kLeft - kMargin, y, axis.end(), y, "row");
    canvas.text(kEdge, y - 2, queue.name, "name");
    canvas.text(kEdge, y + 13, "queue " + std::to_string(queue.id));
    const auto marks = marksOf(serving, queue);
    for (const auto& [frame, words] : marks) {
        const int64_t ns = serving.timesNs.at(frame);
        canvas.mark(axis.x(ns), y, std::clamp(axis.pitch / 29, 0.3, 1.0), words,
                    std::to_string(frame) + ", " + milliseconds(ns, axis.originNs) + ", " + words);
    }
    // The numbers of the chosen first, then others as there is room.
    std::vector<double> taken;
    for (const bool isChosen : {true, false}) {
        for (const auto& [frame, words] : marks) {
            if (isChosen != (serving.chosen.count(frame) > 0)) continue;
            std::string number = std::to_string(frame) + (serving.finding.anchor == frame ? "*" : "");
            if (isChosen && serving.finding.isOpen(frame)) number += '?';
            const double x = axis.x(serving.timesNs.at(frame));
            const double room = kDigit * static_cast<double>(number.size() + 1);
            const auto isNear = [&](double other) { return std::abs(other - x) < room; };
            if (std::any_of(taken.begin(), taken.end(), isNear)) continue;
            taken.push_back(x);
            canvas.text(x, y + 25, number, isChosen ? "number bold" : "number");
        }
    }
}

void draw(Canvas& canvas, const TimeAxis& axis, const Serving& serving, double top) {
    double y = top + kLine;
    canvas.text(kEdge, y, serving.caption, "name");
    for (const auto& [name, ns] : serving.momentsNs) {
        y += kLine;
        if (axis.shows(ns)) {
            canvas.line(axis.x(ns), y - 10, axis.x(ns), top + serving.height(), name.c_str());
            canvas.text(axis.x(ns) + 6, y, name);
        } else {
            canvas.text(kLeft, y, name + " at " + milliseconds(ns, axis.originNs));
        }
    }
    y = top + kHead;
    for (const Queue& queue : serving.finding.request.queues) {
        drawQueue(canvas, axis, serving, queue, y);
        y += kRow;
    }
}

void drawLegend(Canvas& canvas, double y) {
    double x = kEdge + 10;
    for (const std::string words : {"consumer", "producer", "all", "not-held consumer", "chosen consumer",
                                    "uncertain consumer", "chosen consumer gained", "consumer lost"}) {
        canvas.mark(x, y - 4, 0.8, words, words);
        canvas.text(x + kLine, y, words);
        x += 2.4 * kLine + 6.2 * static_cast<double>(words.size());
    }
    canvas.text(x - 10, y, "* anchor");
}

}  // namespace

PictureReport::PictureReport(const std::string& file, const std::vector<std::string>& inputs, bool namesFile)
    : mOut(file, inputs), mEnding(std::filesystem::path(file).extension()), mNamesFile(namesFile) {
    if (mEnding == ".svg" || mEnding == ".png") return;
    throw InputError("--picture: expected a name ending in .svg or .png, found " + file);
}

void PictureReport::add(const Finding& finding) {
    std::vector<Serving> servings;
    const FrameList& chosen = finding.run.chosen();
    if (const auto& before = finding.before) {
        servings.emplace_back("before: ", servedAs(*finding.unchanged, *before), before->chosen());
        servings.emplace_back("after: ", finding, before->chosen());
    } else {
        servings.emplace_back(finding.other ? "first build: " : "", finding, chosen);
    }
    if (finding.other) servings.emplace_back("second build: ", servedAs(finding.request, *finding.other), chosen);
    const TimeAxis axis(servings);

    double y = mHeight + 22;
    std::string title = (mNamesFile ? finding.file + ": " : "") + finding.request.name;
    if (finding.showsFrame()) title += " (framework frame " + std::to_string(finding.request.fwkFrame) + ')';
    mCanvas.text(kEdge, y, title, "title");
    for (const Warning& warning : finding.warnings) mCanvas.text(kEdge, y += kLine, "warning: " + textOf(warning));
    y += 4;
    for (const Serving& serving : servings) {
        draw(mCanvas, axis, serving, y);
        y += serving.height();
    }
    drawAxis(mCanvas, axis, y);
    mWidth = std::max(mWidth, axis.x(axis.lastNs) + kRight);
    mHeight = y + kFoot;
}

void PictureReport::finish() {
    drawLegend(mCanvas, mHeight + 26);
    const double height = mHeight + kLegend;
    if (mEnding == ".svg")
        mOut.stream() << mCanvas.svg(mWidth, height);
    else
        mCanvas.writePng(mOut.stream(), mWidth, height);
    mOut.keep();
}

}  // namespace replay
