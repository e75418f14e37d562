#include "report/Report.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

namespace replay {

namespace {

constexpr size_t kWidth = 110;

std::string label(const char* name) {
    std::string text = std::string("  ") + name;
    text.resize(13, ' ');
    return text;
}

std::string gateWords(const Request& request, const Run& run, const Facts& facts) {
    if (request.call) return "not asked: " + request.call->strategy + " is called directly";
    if (facts.disabled) return std::string("not taken: ") + kSwitchProperty + " is true, or not set";
    if (!facts.gate) return run.outcome.needed ? "taken" : "not taken";
    const GateValues& gate = *facts.gate;
    std::string reasons;
    const auto add = [&reasons](bool applies, const std::string& reason) {
        if (applies) reasons += (reasons.empty() ? "" : "; ") + reason;
    };
    const std::string strategy = "motion strategy " + std::to_string(gate.motionStrategy);
    if (gate.needed) {
        add(gate.hdr != 0, "HDR");
        add(gate.hdrsr != 0, "HDR super-resolution");
        add(gate.banding != 0, strategy + " (banding)");
        return "taken: " + reasons;
    }
    add(gate.enableZsl == 0, "ZSL is not enabled");
    add(gate.forceOn == 0, "motion capture is not forced on");
    add(gate.hdr == 0 && gate.hdrsr == 0 && gate.banding == 0,
        "neither HDR nor HDR super-resolution is asked for, and " + strategy + " is not a banding one");
    return "not taken: " + reasons + (run.outcome.selected ? " (selected in any case)" : "");
}

// Marks the frames of one list: [chosen], (lost by some queue), the anchor with a star.
class Strip {
public:
    Strip(const Request& request, const Run& run, std::optional<uint32_t> anchor, bool colour)
        : mChosen(run.chosen().begin(), run.chosen().end()), mAnchor(anchor), mColour(colour) {
        for (const Queue& queue : request.queues) {
            for (const auto& [frame, data] : queue.lost) mLost.insert(frame);
        }
    }

    std::string line(const char* name, const FrameList& frames) const {
        std::string text = label(name);
        size_t column = text.size();
        for (const uint32_t frame : frames) {
            const std::string mark = marked(frame);
            if (column + mark.size() + 1 > kWidth) {
                text.back() = '\n';
                text += std::string(label("").size(), ' ');
                column = label("").size();
            }
            column += mark.size() + 1;
            text += (mColour && mChosen.count(frame) > 0 ? "\033[1;32m" + mark + "\033[0m" : mark) + ' ';
        }
        text.erase(text.find_last_not_of(' ') + 1);
        return frames.empty() ? text + " none" : text;
    }

private:
    std::string marked(uint32_t frame) const {
        const std::string number = std::to_string(frame) + (mAnchor == frame ? "*" : "");
        if (mChosen.count(frame) > 0) return '[' + number + ']';
        return mLost.count(frame) > 0 ? '(' + number + ')' : number;
    }

    std::set<uint32_t> mChosen;
    std::set<uint32_t> mLost;
    std::optional<uint32_t> mAnchor;
    bool mColour;
};

void reportGroups(std::ostream& out, const Request& request, const Facts& facts) {
    const FrameList& all = request.metaQueue() != nullptr ? request.metaQueue()->all : FrameList();
    for (const GroupStart& group : facts.groups) {
        out << label("group") << (group.position < all.size() ? std::to_string(all[group.position]) : "?")
            << " judged by its reference frame " << group.reference.frame << ", "
            << milliseconds(group.timeDiffNs, 0).substr(1) << " off"
            << (group.position == facts.groups.back().nearestPosition ? "  <- nearest" : "") << '\n';
    }
}

void reportChosen(std::ostream& out, const Request& request, const Run& run) {
    if (request.call) {
        out << label("chosen") << join(run.selectList) << "  (" << (run.result ? "true" : "false") << ")\n";
    } else if (run.outcome.selection.empty()) {
        out << label("chosen") << (run.outcome.selected ? "nothing" : "selection was not asked for") << '\n';
    } else {
        out << label("chosen") << join(run.chosen()) << "  (queue";
        for (const auto& [id, frames] : run.outcome.selection) out << ' ' << id;
        out << ")\n";
    }
}

void reportChecks(std::ostream& out, const Run& run) {
    if (run.outcome.checks.empty()) return;
    out << label("checks");
    const char* separator = "";
    for (const auto& [frame, result] : run.outcome.checks) {
        out << separator << frame << (result.first && result.second ? " passes" : " fails");
        separator = ", ";
    }
    out << '\n';
}

const std::vector<desk::LogLine>& logOf(const Run& run, LogChannel channel) {
    static const std::vector<desk::LogLine> none;
    return channel == LogChannel::kOnline ? run.log : channel == LogChannel::kOffline ? run.offlineLog : none;
}

}  // namespace

Facts factsOf(const Run& run) {
    Facts facts;
    for (const desk::LogLine& line : run.log) {
        if (const auto message = splitMessage(line.message)) gather(*message, facts);
    }
    return facts;
}

std::optional<uint32_t> anchorFrame(const Request& request, const Facts& facts) {
    if (!facts.anchorOffset || request.metaQueue() == nullptr) return std::nullopt;
    const FrameList order = request.metaQueue()->deliveryOrder();
    const int64_t place = static_cast<int64_t>(request.metaQueue()->consumer.size()) + *facts.anchorOffset;
    if (place < 0 || place >= static_cast<int64_t>(order.size())) return std::nullopt;
    return order[place];
}

void reportText(std::ostream& out, const Request& request, const Run& run,
                const std::vector<std::string>& differences, const ReportStyle& style) {
    const Facts facts = factsOf(run);
    const std::optional<uint32_t> anchor = anchorFrame(request, facts);
    out << request.name << " (framework frame " << request.fwkFrame << ", " << request.need << " needed)\n";
    out << label("gate") << gateWords(request, run, facts) << '\n';
    if (const Queue* meta = request.metaQueue()) {
        const Strip strip(request, run, anchor, style.colour);
        out << strip.line("consumer", meta->consumer) << '\n' << strip.line("producer", meta->producer) << '\n';
    } else {
        out << label("queues") << "no metadata queue\n";
    }
    if (facts.targetNs) {
        out << label("target") << *facts.targetNs << " ns";
        if (*facts.targetNs != 0) {
            out << ", " << milliseconds(*facts.targetNs, facts.anchorTimestampNs.value_or(0))
                << " from the anchor timestamp";
        }
        out << '\n';
    }
    if (anchor && !facts.shutterTimes.empty()) {
        const int64_t target = request.call ? request.call->zsdTs : facts.targetNs.value_or(0);
        out << label("anchor") << *anchor;
        const ShutterTime& last = facts.shutterTimes.back();
        if (target != 0 && last.frame == *anchor) out << ", " << milliseconds(last.ns, target) << " from the target";
        out << '\n';
    }
    reportGroups(out, request, facts);
    if (facts.beforeThinning) out << label("span") << join(*facts.beforeThinning) << '\n';
    if (facts.afterThinning) out << label("thinned") << join(*facts.afterThinning) << '\n';
    reportChosen(out, request, run);
    reportChecks(out, run);
    for (const auto& line : logOf(run, style.log)) out << desk::threadtime(line) << '\n';
    for (const std::string& difference : differences) out << "  DIFFERS    " << difference << '\n';
}

void reportJson(std::ostream& out, const std::string& file, const Request& request, const Run& run,
                const std::vector<std::string>& differences, LogChannel channel, const nlohmann::ordered_json& more) {
    const Facts facts = factsOf(run);
    nlohmann::ordered_json json;
    json["file"] = file;
    json["request"] = request.name;
    json["frame"] = request.fwkFrame;
    json["needed"] = run.outcome.needed;
    json["selected"] = run.outcome.selected;
    json["selection"] = nlohmann::ordered_json::object();
    for (const auto& [id, frames] : run.outcome.selection) json["selection"][std::to_string(id)] = frames;
    if (request.call) json["call"] = {{"result", run.result}, {"list", run.selectList}};
    if (facts.targetNs) json["target"] = *facts.targetNs;
    if (const auto anchor = anchorFrame(request, facts)) json["anchor"] = *anchor;
    for (const auto& [frame, check] : run.outcome.checks) {
        json["checks"][std::to_string(frame)] = {check.first, check.second};
    }
    json["differences"] = differences;
    for (const auto& line : logOf(run, channel)) json["log"].push_back(desk::threadtime(line));
    json.update(more);
    // A queue name need not be UTF-8.
    out << json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

}  // namespace replay
