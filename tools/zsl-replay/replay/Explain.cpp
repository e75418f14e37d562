#include "replay/Explain.h"

#include <algorithm>
#include <map>
#include <set>

#include "capture/Metadata.h"
#include "capture/Text.h"

namespace replay {

namespace {

using FrameSet = std::set<uint32_t>;
using Reasons = std::map<uint32_t, std::string>;  // by frame

constexpr char kAnchorTag[] = "nexaro.mfnr.anchorTimeStamp";
constexpr int64_t kFarNs = INT64_MAX / 4;        // moments beyond are not moved: their sums might overflow
constexpr size_t kMostFramesServed = 1'000'000;  // by all trials for one request, which takes seconds

FrameSet chosenIn(const Run& run) { return {run.chosen().begin(), run.chosen().end()}; }

std::string queueName(const Queue& queue) { return '[' + queue.name + ']'; }

// Looks for single changes that bring in frames that were not chosen: the first that does is the frame's reason.
class Trials {
public:
    Trials(Session& session, const Finding& finding, FrameSet open)
        : mSession(session), mFinding(finding), mRequest(finding.request), mOpen(std::move(open)) {
        for (const Queue& queue : mRequest.queues) mFramesATrial += queue.held.size() + 1;
    }

    Reasons find() {
        if (!mFinding.run.outcome.selected && !mRequest.call) {
            Request changed = mRequest;
            changed.select = halcore::Select::kAlways;
            settle(serve(changed), "selection had been asked for");
            return mFound;
        }
        clearUsed();
        holdLost();
        for (size_t off = 1; off <= kMostFrames && off <= mFramesATrial + mRequest.need && !done(); ++off) {
            needFrames(mRequest.need + off);
            if (off <= mRequest.need) needFrames(mRequest.need - off);
        }
        if (mFinding.targetNs) moveTarget(*mFinding.targetNs);
        return mFound;
    }
    bool gaveUp() const { return mFramesServed > kMostFramesServed; }

private:
    bool done() const { return mOpen.empty() || gaveUp(); }

    Run serve(const Request& changed) {
        mFramesServed += mFramesATrial;
        return mSession.serve(changed, {false, false, false});
    }

    void settle(const Run& run, const std::string& condition) {
        for (const uint32_t frame : chosenIn(run)) {
            if (mOpen.erase(frame) > 0) mFound[frame] = "chosen if " + condition;
        }
    }

    void clearUsed() {
        Request changed = mRequest;
        const int64_t last = changed.call ? changed.call->lastZslFrame : changed.used.empty() ? 0 : changed.used.back();
        if (last == 0 || done()) return;
        changed.used.clear();
        if (changed.call) changed.call->lastZslFrame = 0;
        settle(serve(changed), "frame " + std::to_string(static_cast<uint32_t>(last)) + " had not been used");
    }

    // A frame in each of the queues that lack it, then in all of these; then all that a queue has lost.
    void holdLost() {
        for (const uint32_t frame : FrameSet(mOpen)) {
            std::vector<size_t> lacking;
            for (size_t q = 0; q < mRequest.queues.size(); ++q) {
                if (mRequest.queues[q].held.count(frame) == 0) lacking.push_back(q);
            }
            for (const size_t q : lacking) hold(frame, {q});
            if (lacking.size() > 1) hold(frame, lacking);
        }
        for (size_t q = 0; q < mRequest.queues.size(); ++q) {
            if (mRequest.queues[q].lost.empty() || done()) continue;
            Request changed = mRequest;
            changed.queues[q].held.merge(changed.queues[q].lost);
            settle(serve(changed), queueName(changed.queues[q]) + " had lost no frame");
        }
    }

    void hold(uint32_t frame, const std::vector<size_t>& queues) {
        const auto time = shutterTimeNs(mRequest, frame);
        if (done() || mOpen.count(frame) == 0 || !time) return;
        Request changed = mRequest;
        std::string names;
        for (const size_t q : queues) {
            Queue& queue = changed.queues[q];
            const auto lost = queue.lost.find(frame);
            queue.held[frame] = lost != queue.lost.end() ? lost->second : FrameData{*time, 0, false};
            names += (names.empty() ? "" : " and ") + queueName(queue);
        }
        if (chosenIn(serve(changed)).count(frame) == 0) return;
        mOpen.erase(frame);
        mFound[frame] = "chosen if " + names + " still held it";
    }

    void needFrames(size_t count) {
        if (done()) return;
        Request changed = mRequest;
        changed.need = static_cast<uint32_t>(count);
        settle(serve(changed), std::to_string(count) + (count == 1 ? " frame was" : " frames were") + " needed");
    }

    // To every shutter time ahead, and from before every one behind: the nearest first, by whole microseconds, which is
    // what is shown.
    void moveTarget(int64_t target) {
        const auto isFar = [](int64_t ns) { return ns > kFarNs || ns < -kFarNs; };
        if (isFar(target) || mRequest.metaQueue() == nullptr) return;
        std::set<std::pair<int64_t, int64_t>> moves;  // by distance
        for (const auto& [frame, data] : mRequest.metaQueue()->held) {
            if (isFar(data.shutterTimeNs)) continue;
            const int64_t ahead = data.shutterTimeNs - target;
            const int64_t us = ahead > 0 ? (ahead - 1) / 1000 + 1 : ahead / 1000 - 1;
            moves.emplace(std::abs(us), us * 1000);
        }
        const auto& driver = mFinding.account.driver;
        const int64_t anchor = driver ? driver->anchorTimestampNs : 0;
        for (const auto& [distance, ns] : moves) {
            if (done()) return;
            Request changed = mRequest;
            if (changed.call) changed.call->zsdTs += ns;
            if (changed.metadata) (*changed.metadata)[kAnchorTag] = tagValue(kAnchorTag, anchor + ns);
            settle(serve(changed),
                   "the target were " + milliseconds(ns, 0).substr(1) + (ns > 0 ? " later" : " earlier"));
        }
    }

    Session& mSession;
    const Finding& mFinding;
    const Request& mRequest;
    FrameSet mOpen;
    Reasons mFound;
    size_t mFramesATrial = 1;
    size_t mFramesServed = 0;
};

// What the library was seen to do with frames that are not chosen.
Reasons sights(const Account& account) {
    Reasons reasons;
    for (const FrameMet& met : account.met) {
        if (!met.shutterTimeNs) reasons[met.frame] = "the metadata queue had lost it";
    }
    for (const FrameNotHeld& notHeld : account.notHeld) reasons[notHeld.frame] = "[" + notHeld.queue + "] had lost it";
    if (!account.beforeThinning || !account.afterThinning) return reasons;
    for (const uint32_t thinned : *account.beforeThinning) reasons[thinned] = "thinned out of the span";
    for (const uint32_t kept : *account.afterThinning) reasons.erase(kept);
    return reasons;
}

// One entry a place, without reasons.
std::vector<FrameReason> placesOf(const Finding& finding) {
    const Request& request = finding.request;
    std::vector<FrameReason> places;
    FrameSet known;
    const auto add = [&](const std::string& name, const FrameList& list, const FrameSet& except) {
        for (size_t i = 0; i < list.size(); ++i) {
            if (except.count(list[i]) > 0) continue;
            FrameReason place{list[i], name, i, shutterTimeNs(request, list[i]), false, std::nullopt, {}, {}};
            place.assumedTime = place.shutterTimeNs && finding.shutterTimesNs.count(list[i]) == 0;
            int64_t offset = 0;
            if (place.shutterTimeNs && finding.targetNs &&
                !__builtin_sub_overflow(*place.shutterTimeNs, *finding.targetNs, &offset)) {
                place.offsetNs = offset;
            }
            for (const Queue& queue : request.queues) {
                if (queue.held.count(list[i]) > 0) place.queues.push_back(queue.id);
            }
            places.push_back(std::move(place));
        }
        known.insert(list.begin(), list.end());
    };
    const Queue* const meta = request.metaQueue();
    if (meta != nullptr) {
        add("consumer", meta->consumer, {});
        add("producer", meta->producer, {});
        add("all", meta->all, FrameSet(known));
    }
    for (const Queue& queue : request.queues) {
        if (&queue == meta) continue;
        const std::string at = '@' + std::to_string(queue.id);
        add("consumer" + at, queue.consumer, FrameSet(known));
        add("producer" + at, queue.producer, FrameSet(known));
        add("all" + at, queue.all, FrameSet(known));
    }
    return places;
}

bool isPossible(const Finding& finding, uint32_t frame) {
    if (!finding.log || !finding.log->open.empty()) return false;
    const FrameList& possible = finding.log->possible;
    return std::binary_search(possible.begin(), possible.end(), frame);
}

std::string placeIn(const FrameList& selection, uint32_t frame) {
    std::string places;
    for (size_t i = 0; i < selection.size(); ++i) {
        if (selection[i] == frame) places += (places.empty() ? "" : " and ") + std::to_string(i + 1);
    }
    return places.empty() ? "" : "chosen, " + places + " of " + std::to_string(selection.size());
}

}  // namespace

void explain(Session& session, Finding& finding) {
    finding.explain = placesOf(finding);
    FrameSet open;
    for (const FrameReason& place : finding.explain) open.insert(place.frame);
    for (const uint32_t frame : finding.run.chosen()) open.erase(frame);
    const Run control = session.serve(finding.request, {false, false, false});
    if (control.outcome.needed != finding.run.outcome.needed || control.chosen() != finding.run.chosen()) {
        finding.notes.push_back(
            "served once more unchanged, the request came out otherwise: what is said of changes "
            "may be due to that");
    }
    Trials trials(session, finding, std::move(open));
    const Reasons changes = trials.find();
    const Reasons seen = sights(finding.account);
    const bool asked = finding.run.outcome.selected || finding.request.call;
    for (FrameReason& place : finding.explain) {
        place.reason = placeIn(finding.run.chosen(), place.frame);
        if (!place.reason.empty()) continue;
        const auto sight = seen.find(place.frame);
        const auto change = changes.find(place.frame);
        if (!asked) place.reason = "selection was not asked for";
        if (asked && sight != seen.end()) place.reason = sight->second;
        if (isPossible(finding, place.frame)) place.reason = "chosen with another last used frame that the log allows";
        if (change != changes.end()) place.reason += (place.reason.empty() ? "" : "; ") + change->second;
        if (!place.reason.empty()) continue;
        place.reason = trials.gaveUp() ? "not chosen; no single change tried brings it in (stopped: too many frames)"
                                       : "not chosen; no single change brings it in";
    }
}

}  // namespace replay
