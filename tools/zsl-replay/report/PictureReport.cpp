#include "report/PictureReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>
#include <tuple>

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

double millisecondsBetween(int64_t fromNs, int64_t toNs) {
    return static_cast<double>(static_cast<__int128>(toNs) - fromNs) / 1e6;
}

// A request as it was served once.
struct Serving {
    const char* name;
    Finding finding;
    FrameList chosenBefore;

    double height() const { return kHead + kRow * static_cast<double>(finding.request.queues.size()); }
    std::set<uint32_t> listed() const {
        std::set<uint32_t> frames;
        for (const Queue& queue : finding.request.queues) {
            for (const FrameList* list : {&queue.consumer, &queue.producer, &queue.all}) {
                frames.insert(list->begin(), list->end());
            }
        }
        return frames;
    }
    std::vector<std::pair<std::string, int64_t>> momentsNs() const {
        std::vector<std::pair<std::string, int64_t>> moments;
        const int64_t anchorNs = finding.account.driver ? finding.account.driver->anchorTimestampNs : 0;
        if (anchorNs != 0) moments.emplace_back("anchor timestamp", anchorNs);
        if (finding.targetNs) moments.emplace_back("target moment", *finding.targetNs);
        return moments;
    }
};

// A run that a finding compares with, as a finding of its own.
Finding servedAs(const Request& request, const Run& run) {
    Finding finding;
    finding.request = request;
    finding.run = run;
    workOut(finding);
    return finding;
}

// Of frames: whether each is other than chosen, for the chosen come first; where it stands; its number and signs.
using Numbers = std::set<std::tuple<bool, double, std::string>>;

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
        for (const uint32_t frame : serving.listed()) {
            const auto known = serving.finding.frames.find(frame);
            if (known != serving.finding.frames.end()) timesNs.insert(known->second.shutterTimeNs);
        }
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
        for (const auto& [moment, ns] : serving.momentsNs()) {
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
        canvas.line(x, y, x, y + 5, "axis");
        canvas.text(x, y + 18, tick == 0 ? "0" : fmt::format("{:+.10g}", ms), "number");
    }
    canvas.text(kLeft - kMargin, y + 35, axis.name);
}

// As there is room.
void drawNumbers(Canvas& canvas, const Numbers& numbers, double y) {
    std::vector<double> taken;
    for (const auto& [isOther, x, number] : numbers) {
        const double room = kDigit * static_cast<double>(number.size() + 1);
        const auto isNear = [here = x, room](double other) { return std::abs(other - here) < room; };
        if (std::any_of(taken.begin(), taken.end(), isNear)) continue;
        taken.push_back(x);
        canvas.text(x, y, number, isOther ? "number" : "number bold");
    }
}

// A frame as it stands in the first list that has it, where its time is known.
void drawQueue(Canvas& canvas, const TimeAxis& axis, const Serving& serving, const Queue& queue, double y) {
    canvas.line(kLeft - kMargin, y, axis.end(), y, "row");
    canvas.text(kEdge, y - 2, queue.name, "name");
    canvas.text(kEdge, y + 13, fmt::format("queue {}", queue.id));
    const Finding& finding = serving.finding;
    const std::set<uint32_t> chosen(finding.run.chosen().begin(), finding.run.chosen().end());
    const std::set<uint32_t> before(serving.chosenBefore.begin(), serving.chosenBefore.end());
    const std::pair<const char*, const FrameList&> lists[] = {
        {"consumer", queue.consumer}, {"producer", queue.producer}, {"all", queue.all}};
    std::set<uint32_t> marked;
    Numbers numbers;
    for (const auto& [name, list] : lists) {
        for (const uint32_t frame : list) {
            const auto known = finding.frames.find(frame);
            if (known == finding.frames.end() || !marked.insert(frame).second) continue;
            const int64_t ns = known->second.shutterTimeNs;
            const bool isChosen = chosen.count(frame) > 0;
            const bool wasChosen = before.count(frame) > 0;
            std::string words = !isChosen ? "" : finding.isOpen(frame) ? "uncertain " : "chosen ";
            if (queue.held.count(frame) == 0) words += "not-held ";
            words += name;
            if (isChosen != wasChosen) words += isChosen ? " gained" : " lost";
            canvas.mark(axis.x(ns), y, std::clamp(axis.pitch / 29, 0.3, 1.0), words,
                        fmt::format("{}, {}, {}", frame, milliseconds(ns, axis.originNs), words));
            const char* star = finding.anchor == frame ? "*" : "";
            const char* doubt = isChosen && finding.isOpen(frame) ? "?" : "";
            numbers.emplace(!isChosen, axis.x(ns), fmt::format("{}{}{}", frame, star, doubt));
        }
    }
    drawNumbers(canvas, numbers, y + 25);
}

void draw(Canvas& canvas, const TimeAxis& axis, const Serving& serving, double top) {
    const Finding& finding = serving.finding;
    const std::string choice =
        finding.isAsked() ? fmt::format("{} chosen", finding.run.chosen().size()) : "selection was not asked for";
    std::string untimed;
    for (const uint32_t frame : serving.listed()) {
        if (finding.frames.count(frame) == 0) append(untimed, std::to_string(frame), " ");
    }
    if (!untimed.empty()) untimed = "; no shutter time: " + untimed;
    const std::string caption = fmt::format("{}{} needed, {}{}", serving.name, finding.request.need, choice, untimed);
    double y = top + kLine;
    canvas.text(kEdge, y, caption, "name");
    for (const auto& [name, ns] : serving.momentsNs()) {
        y += kLine;
        if (axis.shows(ns)) {
            canvas.line(axis.x(ns), y - 10, axis.x(ns), top + serving.height(), name);
            canvas.text(axis.x(ns) + 6, y, name);
        } else {
            canvas.text(kLeft, y, name + " at " + milliseconds(ns, axis.originNs));
        }
    }
    y = top + kHead;
    for (const Queue& queue : finding.request.queues) {
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
        servings.push_back({"before: ", servedAs(*finding.unchanged, *before), before->chosen()});
        servings.push_back({"after: ", finding, before->chosen()});
    } else {
        servings.push_back({finding.other ? "first build: " : "", finding, chosen});
    }
    if (finding.other) servings.push_back({"second build: ", servedAs(finding.request, *finding.other), chosen});
    const TimeAxis axis(servings);

    double y = mHeight + 22;
    mCanvas.text(kEdge, y, titleOf(finding, mNamesFile), "title");
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
    mOut.stream() << (mEnding == ".svg" ? mCanvas.svg(mWidth, height) : mCanvas.png(mWidth, height));
    mOut.keep();
}

}  // namespace replay
