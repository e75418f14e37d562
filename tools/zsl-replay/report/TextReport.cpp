#include "report/TextReport.h"

#include <algorithm>
#include <set>

#include "capture/Text.h"

namespace replay {

namespace {

constexpr size_t kWidth = 110;
constexpr size_t kIndent = 13;
constexpr char kChosenColour[] = "\033[1;32m";
constexpr char kWarningColour[] = "\033[33m";
constexpr char kDiffersColour[] = "\033[1;31m";

std::string gateWords(const Finding& finding) {
    const Account& account = finding.account;
    if (finding.log && !finding.log->showsGate) return "not in the log";
    if (finding.request.call) return "not asked: " + finding.request.call->strategy + " is called directly";
    if (account.disabled) return std::string("not taken: ") + kSwitchProperty + " is true, or not set";
    const bool selected = finding.run.outcome.selected;
    const std::string anyway = selected ? "; the core asks for a selection all the same" : "";
    if (!account.gate) return finding.run.outcome.needed ? "taken" : "not taken" + anyway;
    const GateLine& gate = *account.gate;
    std::string reasons;
    const auto add = [&reasons](bool applies, const std::string& reason) {
        if (applies) append(reasons, reason, "; ");
    };
    const std::string strategy = "motion strategy " + std::to_string(gate.motionStrategy);
    if (gate.needed) {
        add(gate.hdr != 0, "HDR");
        add(gate.hdrsr != 0, "HDR super-resolution");
        add(gate.banding != 0, strategy + " (banding)");
        return "taken: " + reasons + (selected ? "" : "; the core does not ask for a selection");
    }
    add(gate.enableZsl == 0, "ZSL is not enabled");
    add(gate.forceOn == 0, "motion capture is not forced on");
    add(gate.hdr == 0 && gate.hdrsr == 0 && gate.banding == 0,
        "neither HDR nor HDR super-resolution is asked for, and " + strategy + " is not a banding one");
    return "not taken: " + reasons + anyway;
}

class TextWriter {
public:
    TextWriter(const Finding& finding, const TextOptions& options)
        : mFinding(finding), mOptions(options), mChosen(finding.run.chosen().begin(), finding.run.chosen().end()) {
        for (const Queue& queue : finding.request.queues) {
            for (const auto& [frame, data] : queue.lost) mLost.insert(frame);
        }
    }

    std::string write() {
        writeTitle();
        if (isRebuilt(mFinding)) {
            line("gate", gateWords(mFinding));
            writeQueues();
            writeMoments();
            writeSearch();
            writeChosen();
        }
        for (const Warning& warning : mFinding.warnings) {
            line("warning", warning.kind + ": " + warning.text + (warning.certain ? "" : " (not certain)"),
                 kWarningColour);
        }
        if (mFinding.log) writeEvidence(*mFinding.log);
        for (const auto& each : logOf(mFinding.run, mOptions.log)) mText += printable(desk::threadtime(each)) + '\n';
        for (const std::string& each : mFinding.differences) line("DIFFERS", each, kDiffersColour);
        if (mFinding.whatIf) writeDifference("what if", *mFinding.whatIf);
        if (mFinding.against) writeDifference("against", *mFinding.against);
        for (const std::string& each : mFinding.notes) line("note", each);
        writeReasons();
        return std::move(mText);
    }

private:
    void line(std::string label, const std::string& text, const char* colour = nullptr) {
        label.resize(std::max(label.size() + 1, kIndent - 2), ' ');
        label = "  " + label;
        mText += (colour != nullptr && mOptions.colour ? colour + label + "\033[0m" : label) + printable(text) + '\n';
    }

    // Wraps. What `mark` makes of a frame takes the place of its number.
    template <typename Mark>
    void list(const std::string& label, const std::string& head, const FrameList& frames, const Mark& mark,
              const std::string& tail = "") {
        std::string text = head;
        size_t column = kIndent + head.size();
        for (const uint32_t frame : frames) {
            const std::string word = mark(frame);
            if (column + word.size() > kWidth) {
                text.back() = '\n';
                text += std::string(kIndent, ' ');
                column = kIndent;
            }
            column += word.size() + 1;
            const bool coloured = mOptions.colour && word.front() == '[';
            text += (coloured ? kChosenColour + word + "\033[0m" : word) + ' ';
        }
        if (frames.empty()) text += "none ";
        text += tail;
        text.erase(text.find_last_not_of(' ') + 1);
        line(label, "");
        mText.back() = text.front();
        mText += text.substr(1) + '\n';
    }
    void list(const std::string& label, const FrameList& frames, const std::string& tail = "") {
        const auto number = [](uint32_t frame) { return std::to_string(frame); };
        list(label, "", frames, number, tail);
    }

    // [chosen], (lost by some queue), the anchor with a star, what is not certain with a question mark.
    std::string marked(uint32_t frame) const {
        std::string number = std::to_string(frame) + (mFinding.anchor == frame ? "*" : "");
        if (mChosen.count(frame) > 0) return '[' + number + (mFinding.isOpen(frame) ? "?]" : "]");
        return mLost.count(frame) > 0 ? '(' + number + ')' : number;
    }

    void writeTitle() {
        if (mOptions.namesFile) mText += printable(mFinding.file) + ": ";
        mText += printable(mFinding.request.name) + " (request " + std::to_string(mFinding.number);
        if (mFinding.log) mText += ", " + printable(mFinding.log->time);
        if (mFinding.showsFrame) mText += ", framework frame " + std::to_string(mFinding.request.fwkFrame);
        mText += mFinding.platform.recorded ? ", recorded)\n" : ")\n";
    }

    void writeQueues() {
        const Queue* meta = mFinding.request.metaQueue();
        std::string names;
        for (const Queue& queue : mFinding.request.queues) {
            append(names, std::to_string(queue.id) + " [" + queue.name + ']');
        }
        line("queues", names.empty() ? "none" : names + (meta == nullptr ? ", none of them for metadata" : ""));
        if (meta == nullptr) return;
        const auto mark = [this](uint32_t frame) { return marked(frame); };
        list("consumer", "", meta->consumer, mark);
        list("producer", "", meta->producer, mark);
    }

    void writeMoments() {
        const Account& account = mFinding.account;
        if (mFinding.targetNs) {
            const bool hasTimestamp = account.driver && account.targetNs;
            line("target",
                 std::to_string(*mFinding.targetNs) + " ns" +
                     (hasTimestamp ? ", " + milliseconds(*mFinding.targetNs, account.driver->anchorTimestampNs) +
                                         " from the anchor timestamp"
                                   : ""));
        } else if (account.targetNs) {
            line("target", "none: no anchor timestamp");
        }
        std::string strategies;
        for (const std::string& each : account.strategies) append(strategies, each, ", then ");
        if (!strategies.empty()) line("strategy", strategies);
        if (!mFinding.anchor) return;
        line("anchor",
             std::to_string(*mFinding.anchor) +
                 (mFinding.anchorDistanceNs ? ", " + milliseconds(*mFinding.anchorDistanceNs, 0) + " from the target"
                                            : ""));
    }

    // What the library met on its way.
    void writeSearch() {
        const Account& account = mFinding.account;
        for (size_t i = 0; i < account.notHeld.size();) {
            const std::string& queue = account.notHeld[i].queue;
            FrameList frames;
            for (; i < account.notHeld.size() && account.notHeld[i].queue == queue; ++i) {
                frames.push_back(account.notHeld[i].frame);
            }
            list("passed by", frames, "not held by [" + printable(queue) + ']');
        }
        if (mFinding.spanBegin) line("span", "begins at " + std::to_string(*mFinding.spanBegin));
        const Queue* meta = mFinding.request.metaQueue();
        for (const GroupLine& group : account.groups) {
            const bool known = meta != nullptr && group.position < meta->all.size();
            std::string text = known ? std::to_string(meta->all[group.position]) : "?";
            text += " judged by its reference frame " + std::to_string(group.referenceFrame);
            if (mFinding.targetNs) text += ", " + milliseconds(group.timeDiffNs, 0).substr(1) + " off";
            line("group", text + (group.position == account.groups.back().nearestPosition ? "  <- nearest" : ""));
        }
        if (account.beforeThinning) list("collected", *account.beforeThinning);
        if (account.afterThinning) list("thinned", *account.afterThinning);
    }

    void writeChosen() {
        const FrameList& chosen = mFinding.run.chosen();
        const halcore::RequestOutcome& outcome = mFinding.run.outcome;
        if (!mFinding.request.call && !outcome.selected) {
            line("chosen", "selection was not asked for");
            return;
        }
        const auto mark = [this](uint32_t frame) {
            return std::to_string(frame) + (mFinding.isOpen(frame) ? "?" : "");
        };
        const std::string tail = !mFinding.request.call ? "" : mFinding.run.result ? "(true)" : "(false)";
        list("chosen",
             std::to_string(chosen.size()) + " of " + std::to_string(mFinding.request.need) + " needed: ", chosen, mark,
             tail);
        std::string checks;
        for (const auto& [frame, result] : outcome.checks) {
            append(checks, std::to_string(frame) + (result.first && result.second ? " passes" : " fails"));
        }
        if (!checks.empty()) line("checks", checks);
    }

    void writeEvidence(const Evidence& log) {
        if (!log.obstacle.empty()) {
            line("certain", "nothing: it can't be rebuilt");
        } else if (log.settled()) {
            line("certain", mFinding.run.chosen().empty()
                                ? "that nothing is chosen, whichever last used frame the lines allow"
                                : "all of these, whichever last used frame the lines allow");
        } else {
            list("certain", log.certain);
            list("possible", log.possible);
        }
        if (!log.open.empty()) line("open", log.open);
        for (const std::string& each : log.assumptions) line("assumed", each);
        for (const std::string& each : log.missing) line("missing", each);
        line("log", std::to_string(log.reproduced) + " of " + counted(log.lines, "line") + " reproduced" +
                        (mFinding.differences.empty() ? ": consistent with the log" : "") +
                        (mFinding.whatIf ? ", as far as the unchanged request goes" : ""));
    }

    void writeDifference(const std::string& label, const Difference& difference) {
        if (difference.none()) {
            line(label, "nothing differs: the same frames, library calls and log lines");
            return;
        }
        const auto& step = difference.firstStep;
        line(label, !step ? "the library's calls and log lines are the same"
                          : "from step " + std::to_string(step->number) + " of the library's calls and log lines:");
        if (step) line("  before", step->before);
        if (step) line("  after", step->after);
        list("gained", difference.gained);
        list("lost", difference.lost);
        if (difference.reordered) line("order", "the same frames in another order");
        for (const std::string& answer : difference.answers) line("answer", answer);
    }

    // Columns are padded; numbers and times to the right.
    void writeReasons() {
        std::vector<std::vector<std::string>> rows;
        for (const FrameReason& each : mFinding.explain) {
            std::string held;
            const bool isAssumed = each.offsetNs && mFinding.frames.at(each.frame).assumed;
            for (const uint32_t queue : each.queues) held += ' ' + std::to_string(queue);
            rows.push_back({printable(each.list) + '[' + std::to_string(each.position) + ']',
                            std::to_string(each.frame),
                            each.offsetNs ? (isAssumed ? "~" : "") + milliseconds(*each.offsetNs, 0) : "-",
                            "held by" + (held.empty() ? " none" : held), printable(each.reason)});
        }
        std::vector<size_t> widths(5);
        for (const auto& row : rows) {
            for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
        }
        for (const auto& row : rows) {
            for (size_t i = 0; i + 1 < row.size(); ++i) {
                const std::string padding(widths[i] - row[i].size(), ' ');
                mText += "  " + (i == 1 || i == 2 ? padding + row[i] : row[i] + padding);
            }
            mText += "  " + row.back() + '\n';
        }
    }

    const Finding& mFinding;
    const TextOptions& mOptions;
    std::set<uint32_t> mChosen;
    std::set<uint32_t> mLost;
    std::string mText;
};

}  // namespace

std::string counted(size_t number, const std::string& what) {
    return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

bool isRebuilt(const Finding& finding) { return !finding.log || finding.log->obstacle.empty(); }

const std::vector<desk::LogLine>& logOf(const Run& run, LogChannel channel) {
    static const std::vector<desk::LogLine> none;
    return channel == LogChannel::kOnline ? run.log : channel == LogChannel::kOffline ? run.offlineLog : none;
}

std::string textOf(const Finding& finding, const TextOptions& options) { return TextWriter(finding, options).write(); }

}  // namespace replay
