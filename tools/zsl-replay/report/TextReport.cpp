#include "report/TextReport.h"

#include <fmt/format.h>

#include <map>
#include <set>
#include <sstream>

#include "capture/Text.h"

namespace replay {

namespace {

constexpr size_t kWidth = 110;
constexpr size_t kIndent = 13;
constexpr char kChosenColour[] = "\033[1;32m";
constexpr char kWarningColour[] = "\033[33m";
constexpr char kDiffersColour[] = "\033[1;31m";

// The gate's answer, the flags that its line shows, and what the core made of it.
std::string gateWords(const Finding& finding) {
    if (!finding.showsGate()) return "not in the log";
    if (finding.request.call) return "not asked: " + finding.request.call->strategy + " is called directly";
    const halcore::RequestOutcome& outcome = finding.run.outcome;
    std::string text = outcome.needed ? "taken" : "not taken";
    if (finding.account.disabled) text += fmt::format(": {} is true, or not set", kSwitchProperty);
    if (const auto& gate = finding.account.gate) {
        text += fmt::format(
            ": ZSL enabled {}, forced on {}, HDR {}, HDR super-resolution {}, motion strategy {}, banding {}",
            gate->enableZsl, gate->forceOn, gate->hdr, gate->hdrsr, gate->motionStrategy, gate->banding);
    }
    if (outcome.needed && !outcome.selected) text += "; the core does not ask for a selection";
    if (!outcome.needed && outcome.selected) text += "; the core asks for a selection all the same";
    return text;
}

class TextWriter {
public:
    TextWriter(const Finding& finding, const TextOptions& options) : mFinding(finding), mOptions(options) {}

    std::string write() {
        mText = printable(titleOf(mFinding, mOptions.namesFile)) + '\n';
        if (mFinding.canServe()) {
            line("gate", gateWords(mFinding));
            writeQueues();
            writeSearch();
            writeSteps();
            writeChosen();
        }
        for (const Warning& warning : mFinding.warnings) line("warning", textOf(warning), kWarningColour);
        if (mFinding.log) writeEvidence(*mFinding.log);
        if (mOptions.log != nullptr) {
            for (desk::LogLine each : mFinding.run.*mOptions.log) {
                each.message = printable(each.message);
                mText += desk::threadtime(each) + '\n';
            }
        }
        for (const std::string& each : mFinding.differences) line("DIFFERS", each, kDiffersColour);
        if (mFinding.whatIf) writeDifference("what if", *mFinding.whatIf);
        if (mFinding.against) writeDifference("against", *mFinding.against);
        for (const std::string& each : mFinding.notes) line("note", each);
        writeReasons();
        return std::move(mText);
    }

private:
    void line(const char* label, const std::string& text, const char* colour = "") {
        mText += fmt::format("{}  {:<10} {}{}\n", mOptions.colour ? colour : "", label,
                             mOptions.colour && *colour != 0 ? "\033[0m" : "", printable(text));
    }

    // A line that may be long: it wraps between words.
    void list(const char* label, const std::string& words, const char* colour = "") {
        line(label, "", colour);
        mText.pop_back();
        size_t column = kIndent;
        std::istringstream rest(printable(words));
        for (std::string word; rest >> word;) {
            if (column + word.size() > kWidth) {
                mText.back() = '\n';
                mText.append(kIndent, ' ');
                column = kIndent;
            }
            mText += word + ' ';
            column += word.size() + 1;
        }
        mText.back() = '\n';
    }

    // [chosen], (lost by some queue), the anchor with a star, what is not certain with a question mark.
    std::string marked(const FrameList& frames) const {
        const std::set<uint32_t> chosen(mFinding.run.chosen().begin(), mFinding.run.chosen().end());
        std::set<uint32_t> lost;
        for (const Queue& queue : mFinding.request.queues) {
            for (const auto& [frame, data] : queue.lost) lost.insert(frame);
        }
        std::string words;
        for (const uint32_t frame : frames) {
            std::string word = fmt::format("{}{}", frame, mFinding.anchor == frame ? "*" : "");
            if (chosen.count(frame) > 0)
                word = fmt::format("[{}{}]", word, mFinding.isOpen(frame) ? "?" : "");
            else if (lost.count(frame) > 0)
                word = fmt::format("({})", word);
            append(words, word, " ");
        }
        return words.empty() ? "none" : words;
    }

    void writeQueues() {
        const Queue* meta = mFinding.request.metaQueue();
        std::string names;
        for (const Queue& queue : mFinding.request.queues) {
            append(names, fmt::format("{} [{}]", queue.id, queue.name));
        }
        line("queues", names.empty() ? "none" : names + (meta == nullptr ? ", none of them for metadata" : ""));
        if (meta == nullptr) return;
        list("consumer", marked(meta->consumer));
        list("producer", marked(meta->producer));
    }

    void writeSearch() {
        const Account& account = mFinding.account;
        if (const auto& target = mFinding.targetNs) {
            std::string text = fmt::format("{} ns", *target);
            if (account.driver && account.targetNs) {
                text += ", " + milliseconds(*target, account.driver->anchorTimestampNs) + " from the anchor timestamp";
            }
            line("target", text);
        } else if (account.targetNs) {
            line("target", "none: zsdTs is 0");
        }
        if (!account.strategies.empty()) line("strategy", fmt::format("{}", fmt::join(account.strategies, ", then ")));
        const auto& distance = mFinding.anchorDistanceNs;
        const std::string away = distance ? fmt::format(", {} from the target", milliseconds(*distance, 0)) : "";
        if (mFinding.anchor) line("anchor", fmt::format("{}{}", *mFinding.anchor, away));
    }

    // What the library met on its way.
    void writeSteps() {
        const Account& account = mFinding.account;
        std::map<std::string, FrameList> passedBy;
        for (const FrameNotHeld& each : account.notHeld) passedBy[each.queue].push_back(each.frame);
        for (const auto& [queue, frames] : passedBy) {
            list("passed by", fmt::format("{} not held by [{}]", join(frames), queue));
        }
        if (mFinding.spanBegin) line("span", fmt::format("begins at {}", *mFinding.spanBegin));
        const Queue* meta = mFinding.request.metaQueue();
        for (const GroupLine& group : account.groups) {
            const bool known = meta != nullptr && group.position < meta->all.size();
            std::string text = known ? std::to_string(meta->all[group.position]) : "?";
            text += fmt::format(" judged by its reference frame {}", group.referenceFrame);
            if (mFinding.targetNs) text += ", " + milliseconds(group.timeDiffNs, 0).substr(1) + " off";
            line("group", text + (group.position == account.groups.back().nearestPosition ? "  <- nearest" : ""));
        }
        if (account.beforeThinning) list("collected", join(*account.beforeThinning));
        if (account.afterThinning) list("thinned", join(*account.afterThinning));
    }

    void writeChosen() {
        if (!mFinding.isAsked()) return line("chosen", "selection was not asked for");
        const FrameList& chosen = mFinding.run.chosen();
        std::string text = fmt::format("{} of {} needed:", chosen.size(), mFinding.request.need);
        for (const uint32_t frame : chosen) text += fmt::format(" {}{}", frame, mFinding.isOpen(frame) ? "?" : "");
        if (chosen.empty()) text += " none";
        if (mFinding.request.call) text += mFinding.run.result ? " (true)" : " (false)";
        list("chosen", text, kChosenColour);
        std::string checks;
        for (const auto& [frame, result] : mFinding.run.outcome.checks) {
            append(checks, fmt::format("{} {}", frame, result.first && result.second ? "passes" : "fails"));
        }
        if (!checks.empty()) list("checks", checks);
    }

    void writeEvidence(const Evidence& log) {
        if (log.settled()) {
            line("certain", "the selection, whichever last used frame the lines allow");
        } else if (log.obstacle.empty()) {
            list("certain", join(log.certain));
            list("possible", join(log.possible));
        }
        if (!log.open.empty()) line("open", log.open);
        for (const std::string& each : log.assumptions) line("assumed", each);
        for (const std::string& each : log.missing) line("missing", each);
        line("log", fmt::format("{} of {} reproduced{}{}", log.reproduced, counted(log.lines, "line"),
                                mFinding.differences.empty() ? ": consistent with the log" : "",
                                mFinding.whatIf ? ", as far as the unchanged request goes" : ""));
    }

    void writeDifference(const char* label, const Difference& difference) {
        if (difference.none()) return line(label, "nothing differs: the same frames, library calls and log lines");
        if (const auto& step = difference.firstStep) {
            line(label, fmt::format("from step {} of the library's calls and log lines:", step->number));
            line("  before", step->before);
            line("  after", step->after);
        } else {
            line(label, "the library's calls and log lines are the same");
        }
        list("gained", join(difference.gained));
        list("lost", join(difference.lost));
        if (difference.reordered) line("order", "the same frames in another order");
        for (const std::string& answer : difference.answers) line("answer", answer);
    }

    void writeReasons() {
        for (const FrameReason& each : mFinding.explain) {
            const bool isAssumed = each.offsetNs && mFinding.frames.at(each.frame).assumed;
            const std::string offset = each.offsetNs ? (isAssumed ? "~" : "") + milliseconds(*each.offsetNs, 0) : "-";
            mText += fmt::format("  {:<11}  {:>4}  {:>12}  held by {:<5}  {}\n",
                                 fmt::format("{}[{}]", each.list, each.position), each.frame, offset, join(each.queues),
                                 printable(each.reason));
        }
    }

    const Finding& mFinding;
    const TextOptions& mOptions;
    std::string mText;
};

}  // namespace

std::string counted(size_t number, const std::string& what) {
    return fmt::format("{} {}{}", number, what, number == 1 ? "" : "s");
}

std::string titleOf(const Finding& finding, bool namesFile) {
    std::string title = namesFile ? finding.file + ": " : "";
    title += fmt::format("{} (request {}", finding.request.name, finding.number);
    if (finding.log) title += ", " + finding.log->firstLine.time;
    if (finding.showsFrame()) title += fmt::format(", framework frame {}", finding.request.fwkFrame);
    return title + (finding.platform.recorded ? ", recorded)" : ")");
}

std::string textOf(const Warning& warning) {
    return fmt::format("{}: {}{}", warning.kind, warning.text, warning.certain ? "" : " (not certain)");
}

std::string textOf(const Finding& finding, const TextOptions& options) { return TextWriter(finding, options).write(); }

}  // namespace replay
