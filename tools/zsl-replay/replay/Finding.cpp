#include "replay/Finding.h"

#include <fmt/format.h>

#include <algorithm>

#include "account/LogRequests.h"
#include "capture/Text.h"

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

// The places that the search logged, as frames.
void workOutSearch(Finding& finding) {
    const Account& account = finding.account;
    const Queue* meta = finding.request.metaQueue();
    if (!account.anchor || meta == nullptr) return;
    const FrameList list = meta->deliveryOrder();
    const auto at = [&list](size_t place) { return place < list.size() ? std::optional(list[place]) : std::nullopt; };
    // The frame that the search ended with may have given way to the next.
    const auto offset = static_cast<size_t>(account.anchor->offset);  // may be negative: its sum is not
    if (foundAnchor(finding.request, account)) finding.anchor = at(meta->consumer.size() + offset);
    // The presence check moves the begin on by one for each frame that it misses. Past the consumer list no line says
    // where the span begins, but a frame that is chosen does.
    const size_t begin = account.anchor->csbegin + account.notHeld.size();
    const FrameList& chosen = finding.run.chosen();
    const bool isChosen = std::find(chosen.begin(), chosen.end(), at(begin)) != chosen.end();
    if (begin < meta->consumer.size() || isChosen) finding.spanBegin = at(begin);
}

std::map<uint32_t, FrameData> framesOf(const Request& request) {
    std::map<uint32_t, FrameData> frames;
    if (const Queue* meta = request.metaQueue()) frames = meta->everHeld();
    for (const Queue& queue : request.queues) frames.merge(queue.everHeld());
    return frames;
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
    std::map<uint32_t, size_t> counts;
    for (const uint32_t frame : chosen) ++counts[frame];
    std::string repeated;
    std::string notHeld;
    for (const auto& [frame, count] : counts) {
        if (count > 1) append(repeated, fmt::format("{} is chosen {} times", frame, count));
        std::string queues;
        for (const Queue& queue : request.queues) {
            if (queue.held.count(frame) == 0) append(queues, fmt::format("{} [{}]", queue.id, queue.name), " and ");
        }
        if (!queues.empty()) append(notHeld, fmt::format("{} is not held by queue {}", frame, queues));
    }
    add(account.fallback, "fallback", "the search in time failed, and the normal strategy was asked");
    add(chosen.empty(), "nothing", isEmptyList ? "an empty list was selected" : "nothing was selected");
    add(!chosen.empty() && chosen.size() < request.need, "short",
        fmt::format("{} of {} frames needed", chosen.size(), request.need));
    add(!repeated.empty(), "repeated", repeated);
    add(!notHeld.empty(), "not held", notHeld);
    add(account.anchor && !foundAnchor(request, account), "no anchor",
        account.met.empty() ? "no frame was met that lies after the target"
                            : "no frame met lies after the target: the last one served");
    return warnings;
}

void workOut(Finding& finding) {
    finding.account = loggedRequest(finding.run.offlineLog).account;
    const int64_t target = comparedMoment(finding.request, finding.account);
    if (target != 0) finding.targetNs = target;
    finding.frames = framesOf(finding.request);
    workOutSearch(finding);
    const auto anchor = finding.frames.find(finding.anchor.value_or(0));
    if (finding.anchor && anchor != finding.frames.end() && !anchor->second.assumed) {
        finding.anchorDistanceNs = finding.offsetNs(*finding.anchor);
    }
    finding.warnings = warningsOf(finding.request, finding.run, finding.account);
}

std::optional<int64_t> Finding::offsetNs(uint32_t frame) const {
    const auto known = frames.find(frame);
    int64_t offset = 0;
    if (!targetNs || known == frames.end()) return std::nullopt;
    if (__builtin_sub_overflow(known->second.shutterTimeNs, *targetNs, &offset)) return std::nullopt;
    return offset;
}

bool Finding::isOpen(uint32_t frame) const {
    return log && !std::binary_search(log->certain.begin(), log->certain.end(), frame);
}

}  // namespace replay
