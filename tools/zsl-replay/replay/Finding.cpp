#include "replay/Finding.h"

#include <algorithm>
#include <set>

namespace replay {

namespace {

// The moment that a search compares shutter times with.
int64_t comparedMoment(const Request& request, const Account& account) {
    return request.call ? request.call->zsdTs : account.targetNs.value_or(0);
}

// Whether the search ended with a frame after that moment; else the last frame met served.
bool foundAnchor(const Request& request, const Account& account) {
    if (!account.anchor || account.met.empty() || !account.met.back().shutterTimeNs) return false;
    return *account.met.back().shutterTimeNs > comparedMoment(request, account);
}

std::optional<uint32_t> frameAt(const Request& request, int64_t place) {
    const Queue* meta = request.metaQueue();
    const FrameList order = meta != nullptr ? meta->deliveryOrder() : FrameList();
    return place >= 0 && place < static_cast<int64_t>(order.size()) ? std::optional(order[place]) : std::nullopt;
}

// The frame at the logged place, since the frame that the search ended with may have given way to the next.
std::optional<uint32_t> anchorOf(const Request& request, const Account& account) {
    const Queue* meta = request.metaQueue();
    if (meta == nullptr || !foundAnchor(request, account)) return std::nullopt;
    return frameAt(request, static_cast<int64_t>(meta->consumer.size()) + account.anchor->offset);
}

// The presence check moves the begin on by one for each frame that it misses. Past the consumer list no line says where
// the span begins, but a frame that is chosen does.
std::optional<uint32_t> spanBeginOf(const Request& request, const Account& account, const FrameList& chosen) {
    const Queue* meta = request.metaQueue();
    if (!account.anchor || meta == nullptr) return std::nullopt;
    const size_t place = account.anchor->csbegin + account.notHeld.size();
    const auto frame = frameAt(request, static_cast<int64_t>(place));
    if (!frame || place < meta->consumer.size()) return frame;
    return std::find(chosen.begin(), chosen.end(), *frame) != chosen.end() ? frame : std::nullopt;
}

std::map<uint32_t, int64_t> givenTimes(const Request& request) {
    std::map<uint32_t, int64_t> times;
    for (const Queue* queue : queuesByRank(request)) {
        for (const auto* frames : {&queue->held, &queue->lost}) {
            for (const auto& [frame, data] : *frames) {
                if (!data.assumed) times.emplace(frame, data.shutterTimeNs);
            }
        }
    }
    return times;
}

std::string repeatedFrames(const FrameList& chosen) {
    std::map<uint32_t, size_t> counts;
    for (const uint32_t frame : chosen) ++counts[frame];
    std::string text;
    for (const auto& [frame, count] : counts) {
        if (count < 2) continue;
        text += (text.empty() ? "" : ", ") + std::to_string(frame) + " is chosen " + std::to_string(count) + " times";
    }
    return text;
}

// "801 is not held by queue 2 [preview], 802 ..."
std::string framesNotHeld(const Request& request, const FrameList& chosen) {
    std::string text;
    for (const uint32_t frame : std::set<uint32_t>(chosen.begin(), chosen.end())) {
        std::string queues;
        for (const Queue& queue : request.queues) {
            if (queue.held.count(frame) > 0) continue;
            queues += (queues.empty() ? "queue " : " and ") + std::to_string(queue.id) + " [" + queue.name + ']';
        }
        if (queues.empty()) continue;
        text += (text.empty() ? "" : ", ") + std::to_string(frame) + " is not held by " + queues;
    }
    return text;
}

}  // namespace

std::vector<Warning> warningsOf(const Request& request, const Run& run, const Account& account) {
    std::vector<Warning> warnings;
    if (!run.outcome.selected && !request.call) return warnings;
    const FrameList& chosen = run.chosen();
    const auto add = [&warnings](bool holds, const char* kind, std::string text) {
        if (holds) warnings.push_back({kind, true, std::move(text)});
    };
    const bool isEmptyList = request.call ? run.result : !run.outcome.selection.empty();
    const std::string repeated = repeatedFrames(chosen);
    const std::string notHeld = framesNotHeld(request, chosen);
    add(account.fallback, "fallback", "the search in time failed, and the normal strategy was asked");
    add(chosen.empty(), "nothing", isEmptyList ? "an empty list was selected" : "nothing was selected");
    add(!chosen.empty() && chosen.size() < request.need, "short",
        std::to_string(chosen.size()) + " of " + std::to_string(request.need) + " frames needed");
    add(!repeated.empty(), "repeated", repeated);
    add(!notHeld.empty(), "not held", notHeld);
    add(account.anchor && !foundAnchor(request, account), "no anchor",
        account.met.empty() ? "no frame was met that lies after the target"
                            : "no frame met lies after the target: the last one served");
    return warnings;
}

void workOut(Finding& finding) {
    const Request& request = finding.request;
    const int64_t target = comparedMoment(request, finding.account);
    finding.targetNs = target != 0 ? std::optional(target) : std::nullopt;
    finding.anchor = anchorOf(request, finding.account);
    finding.spanBegin = spanBeginOf(request, finding.account, finding.run.chosen());
    finding.shutterTimesNs = givenTimes(request);
    if (finding.anchor && finding.targetNs) {
        const auto time = finding.shutterTimesNs.find(*finding.anchor);
        int64_t distance = 0;
        if (time != finding.shutterTimesNs.end() && !__builtin_sub_overflow(time->second, target, &distance)) {
            finding.anchorDistanceNs = distance;
        }
    }
    finding.warnings = warningsOf(request, finding.run, finding.account);
}

bool Finding::isOpen(uint32_t frame) const {
    return log && !std::binary_search(log->certain.begin(), log->certain.end(), frame);
}

std::vector<const Queue*> queuesByRank(const Request& request) {
    std::vector<const Queue*> queues;
    for (const Queue& queue : request.queues) {
        queues.insert(&queue == request.metaQueue() ? queues.begin() : queues.end(), &queue);
    }
    return queues;
}

std::optional<int64_t> shutterTimeNs(const Request& request, uint32_t frame) {
    for (const Queue* queue : queuesByRank(request)) {
        for (const auto* frames : {&queue->held, &queue->lost}) {
            const auto found = frames->find(frame);
            if (found != frames->end()) return found->second.shutterTimeNs;
        }
    }
    return std::nullopt;
}

}  // namespace replay
