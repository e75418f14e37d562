#include "report/TextReport.h"

#include <algorithm>
#include <iomanip>
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
    if (finding.account.disabled) text += std::string(": ") + kSwitchProperty + " is true, or not set";
    if (const auto& gate = finding.account.gate) {
        text += ": ZSL enabled " + std::to_string(gate->enableZsl) + ", forced on " + std::to_string(gate->forceOn) +
                ", HDR " + std::to_string(gate->hdr) + ", HDR super-resolution " + std::to_string(gate->hdrsr) +
                ", motion strategy " + std::to_string(gate->motionStrategy) + ", banding " +
                std::to_string(gate->banding);
    }
    if (outcome.needed && !outcome.selected) text += "; the core does not ask for a selection";
    if (!outcome.needed && outcome.selected) text += "; the core asks for a selection all the same";
    return text;
}

class TextWriter {
public:
    TextWriter(const Finding& finding, const TextOptions& options) : mFinding(finding), mOptions(options) {}

    std::string write() {
        writeTitle();
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
    void line(std::string label, const std::string& text, const char* colour = nullptr) {
        label.resize(std::max(label.size() + 1, kIndent - 2), ' ');
        label = "  " + label;
        mText += (colour != nullptr && mOptions.colour ? colour + label + "\033[0m" : label) + printable(text) + '\n';
    }

    // A line that may be long: it wraps between words.
    void list(const std::string& label, const std::string& words, const char* colour = nullptr) {
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
            const std::string number = std::to_string(frame) + (mFinding.anchor == frame ? "*" : "");
            if (chosen.count(frame) > 0)
                append(words, '[' + number + (mFinding.isOpen(frame) ? "?]" : "]"), " ");
            else if (lost.count(frame) > 0)
                append(words, '(' + number + ')', " ");
            else
                append(words, number, " ");
        }
        return words.empty() ? "none" : words;
    }

    void writeTitle() {
        if (mOptions.namesFile) mText += printable(mFinding.file) + ": ";
        mText += printable(mFinding.request.name) + " (request " + std::to_string(mFinding.number);
        if (mFinding.log) mText += ", " + printable(mFinding.log->firstLine.time);
        if (mFinding.showsFrame()) mText += ", framework frame " + std::to_string(mFinding.request.fwkFrame);
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
        list("consumer", marked(meta->consumer));
        list("producer", marked(meta->producer));
    }

    void writeSearch() {
        const Account& account = mFinding.account;
        if (const auto& target = mFinding.targetNs) {
            std::string text = std::to_string(*target) + " ns";
            if (account.driver && account.targetNs) {
                text += ", " + milliseconds(*target, account.driver->anchorTimestampNs) + " from the anchor timestamp";
            }
            line("target", text);
        } else if (account.targetNs) {
            line("target", "none: zsdTs is 0");
        }
        std::string strategies;
        for (const std::string& each : account.strategies) append(strategies, each, ", then ");
        if (!strategies.empty()) line("strategy", strategies);
        if (!mFinding.anchor) return;
        std::string text = std::to_string(*mFinding.anchor);
        if (const auto& distance = mFinding.anchorDistanceNs)
            text += ", " + milliseconds(*distance, 0) + " from the target";
        line("anchor", text);
    }

    // What the library met on its way.
    void writeSteps() {
        const Account& account = mFinding.account;
        std::map<std::string, FrameList> passedBy;
        for (const FrameNotHeld& each : account.notHeld) passedBy[each.queue].push_back(each.frame);
        for (const auto& [queue, frames] : passedBy) list("passed by", join(frames) + " not held by [" + queue + ']');
        if (mFinding.spanBegin) line("span", "begins at " + std::to_string(*mFinding.spanBegin));
        const Queue* meta = mFinding.request.metaQueue();
        for (const GroupLine& group : account.groups) {
            const bool known = meta != nullptr && group.position < meta->all.size();
            std::string text = known ? std::to_string(meta->all[group.position]) : "?";
            text += " judged by its reference frame " + std::to_string(group.referenceFrame);
            if (mFinding.targetNs) text += ", " + milliseconds(group.timeDiffNs, 0).substr(1) + " off";
            line("group", text + (group.position == account.groups.back().nearestPosition ? "  <- nearest" : ""));
        }
        if (account.beforeThinning) list("collected", join(*account.beforeThinning));
        if (account.afterThinning) list("thinned", join(*account.afterThinning));
    }

    void writeChosen() {
        const FrameList& chosen = mFinding.run.chosen();
        const halcore::RequestOutcome& outcome = mFinding.run.outcome;
        const bool isCall = mFinding.request.call.has_value();
        if (!isCall && !outcome.selected) {
            line("chosen", "selection was not asked for");
            return;
        }
        std::string text = std::to_string(chosen.size()) + " of " + std::to_string(mFinding.request.need) + " needed:";
        for (const uint32_t frame : chosen) text += ' ' + std::to_string(frame) + (mFinding.isOpen(frame) ? "?" : "");
        if (chosen.empty()) text += " none";
        if (isCall) text += mFinding.run.result ? " (true)" : " (false)";
        list("chosen", text, kChosenColour);
        std::string checks;
        for (const auto& [frame, result] : outcome.checks) {
            append(checks, std::to_string(frame) + (result.first && result.second ? " passes" : " fails"));
        }
        if (!checks.empty()) list("checks", checks);
    }

    void writeEvidence(const Evidence& log) {
        if (!log.obstacle.empty()) {
            line("certain", "nothing: it can't be rebuilt");
        } else if (log.settled()) {
            line("certain", "the selection, whichever last used frame the lines allow");
        } else {
            list("certain", join(log.certain));
            list("possible", join(log.possible));
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
        if (const auto& step = difference.firstStep) {
            line(label, "from step " + std::to_string(step->number) + " of the library's calls and log lines:");
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
            std::ostringstream row;
            row << "  " << std::left << std::setw(11) << each.list + '[' + std::to_string(each.position) + ']'
                << std::right << "  " << std::setw(4) << each.frame << "  " << std::setw(12)
                << (each.offsetNs ? (isAssumed ? "~" : "") + milliseconds(*each.offsetNs, 0) : "-") << "  held by "
                << std::left << std::setw(5) << join(each.queues) << "  " << each.reason;
            mText += printable(row.str()) + '\n';
        }
    }

    const Finding& mFinding;
    const TextOptions& mOptions;
    std::string mText;
};

}  // namespace

std::string counted(size_t number, const std::string& what) {
    return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

std::string textOf(const Warning& warning) {
    return warning.kind + ": " + warning.text + (warning.certain ? "" : " (not certain)");
}

std::string textOf(const Finding& finding, const TextOptions& options) { return TextWriter(finding, options).write(); }

}  // namespace replay
