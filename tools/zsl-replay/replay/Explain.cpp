#include "replay/Explain.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "capture/Metadata.h"
#include "capture/Text.h"

namespace replay {

namespace {

using FrameSet = std::set<uint32_t>;
using Reasons = std::map<uint32_t, std::string>;  // by frame

constexpr Recording kBare = {false, false, false};
constexpr char kAnchorTag[] = "nexaro.mfnr.anchorTimeStamp";
constexpr int64_t kFarNs = INT64_MAX / 4;        // moments beyond are not moved: their sums might overflow
constexpr size_t kMostFramesServed = 1'000'000;  // by all trials for one request, which takes seconds

std::string queueName(const Queue& queue) { return '[' + queue.name + ']'; }

// Changes one thing of a request.
struct Trial {
    std::string condition;  // "chosen if ..."
    std::function<void(Request&)> change;
    std::optional<uint32_t> frame;  // the only one that it says something of
};

// Single changes that may bring in frames that were not chosen, the likeliest first.
class Trials {
public:
    Trials(const Finding& finding, const FrameSet& open) : mRequest(finding.request) {
        for (const Queue& queue : mRequest.queues) mFrames += queue.held.size() + 1;
        if (!finding.run.outcome.selected && !mRequest.call) {
            add("selection had been asked for", [](Request& changed) { changed.select = halcore::Select::kAlways; });
            return;
        }
        clearUsed();
        for (const uint32_t frame : open) hold(frame);
        holdAll();
        needFrames();
        if (finding.targetNs) moveTarget(*finding.targetNs, finding.account.driver);
    }

    const std::vector<Trial>& list() const { return mTrials; }
    bool isCut() const { return mTrials.size() * mFrames > kMostFramesServed; }

private:
    void add(std::string condition, std::function<void(Request&)> change, std::optional<uint32_t> frame = {}) {
        if (!isCut()) mTrials.push_back({std::move(condition), std::move(change), frame});
    }

    void clearUsed() {
        const auto& call = mRequest.call;
        const int64_t last = call ? call->lastZslFrame : mRequest.used.empty() ? 0 : mRequest.used.back();
        if (last == 0) return;
        add("frame " + std::to_string(static_cast<uint32_t>(last)) + " had not been used", [](Request& changed) {
            changed.used.clear();
            if (changed.call) changed.call->lastZslFrame = 0;
        });
    }

    // In the queues that lack it.
    void hold(uint32_t frame) {
        const auto time = shutterTimeNs(mRequest, frame);
        if (!time) return;
        std::vector<size_t> lacking;
        std::string names;
        for (size_t q = 0; q < mRequest.queues.size(); ++q) {
            const Queue& queue = mRequest.queues[q];
            if (queue.held.count(frame) > 0) continue;
            lacking.push_back(q);
            names += (names.empty() ? "" : " and ") + queueName(queue);
        }
        const auto change = [frame, time = *time, lacking](Request& changed) {
            for (const size_t q : lacking) {
                Queue& queue = changed.queues[q];
                const auto lost = queue.lost.find(frame);
                queue.held[frame] = lost != queue.lost.end() ? lost->second : FrameData{time, 0, false};
            }
        };
        if (!lacking.empty()) add(names + " still held it", change, frame);
    }

    // All that a queue has lost.
    void holdAll() {
        for (size_t q = 0; q < mRequest.queues.size(); ++q) {
            if (mRequest.queues[q].lost.empty()) continue;
            add(queueName(mRequest.queues[q]) + " had lost no frame",
                [q](Request& changed) { changed.queues[q].held.merge(changed.queues[q].lost); });
        }
    }

    void needFrames() {
        const auto need = [this](size_t count) {
            add(std::to_string(count) + (count == 1 ? " frame was" : " frames were") + " needed",
                [count](Request& changed) { changed.need = static_cast<uint32_t>(count); });
        };
        for (size_t off = 1; off <= mFrames + mRequest.need && !isCut(); ++off) {
            need(mRequest.need + off);
            if (off <= mRequest.need) need(mRequest.need - off);
        }
    }

    // To every shutter time ahead, and from before every one behind: the nearest first, by whole microseconds, which is
    // what is shown.
    void moveTarget(int64_t target, const std::optional<DriverLine>& driver) {
        const auto isFar = [](int64_t ns) { return ns > kFarNs || ns < -kFarNs; };
        if (isFar(target) || mRequest.metaQueue() == nullptr) return;
        std::set<std::pair<int64_t, int64_t>> moves;  // by distance
        for (const auto& [frame, data] : mRequest.metaQueue()->held) {
            if (isFar(data.shutterTimeNs)) continue;
            const int64_t ahead = data.shutterTimeNs - target;
            const int64_t us = ahead > 0 ? (ahead - 1) / 1000 + 1 : ahead / 1000 - 1;
            moves.emplace(std::abs(us), us * 1000);
        }
        const int64_t anchor = driver ? driver->anchorTimestampNs : 0;
        for (const auto& [distance, ns] : moves) {
            const auto change = [ns = ns, anchor](Request& changed) {
                if (changed.call) changed.call->zsdTs += ns;
                if (changed.metadata) (*changed.metadata)[kAnchorTag] = tagValue(kAnchorTag, anchor + ns);
            };
            add("the target were " + milliseconds(ns, 0).substr(1) + (ns > 0 ? " later" : " earlier"), change);
        }
    }

    const Request& mRequest;
    size_t mFrames = 1;  // that one trial serves
    std::vector<Trial> mTrials;
};

// The first change that brings in a frame is its reason.
Reasons changesThatBringIn(FrameSet open, const std::vector<Trial>& trials, Session& session, const Request& request) {
    Reasons reasons;
    for (const Trial& trial : trials) {
        if (open.empty()) break;
        if (trial.frame && open.count(*trial.frame) == 0) continue;
        Request changed = request;
        trial.change(changed);
        const Run run = session.serve(changed, kBare);
        for (const uint32_t frame : run.chosen()) {
            const bool isMeant = !trial.frame || frame == *trial.frame;
            if (isMeant && open.erase(frame) > 0) reasons[frame] = "chosen if " + trial.condition;
        }
    }
    return reasons;
}

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

FrameReason placeOf(const Finding& finding, uint32_t frame, std::string list, size_t position) {
    const Request& request = finding.request;
    FrameReason place{frame, std::move(list), position, shutterTimeNs(request, frame), false, std::nullopt, {}, {}};
    place.assumedTime = place.shutterTimeNs && finding.shutterTimesNs.count(frame) == 0;
    int64_t offset = 0;
    if (place.shutterTimeNs && finding.targetNs &&
        !__builtin_sub_overflow(*place.shutterTimeNs, *finding.targetNs, &offset)) {
        place.offsetNs = offset;
    }
    for (const Queue& queue : request.queues) {
        if (queue.held.count(frame) > 0) place.queues.push_back(queue.id);
    }
    return place;
}

// One entry a place, without reasons.
std::vector<FrameReason> placesOf(const Finding& finding) {
    std::vector<FrameReason> places;
    FrameSet known;
    const Queue* const meta = finding.request.metaQueue();
    for (const Queue* queue : queuesByRank(finding.request)) {
        const std::string at = queue == meta ? "" : '@' + std::to_string(queue->id);
        const auto add = [&](const char* name, const FrameList& list, const FrameSet& except) {
            for (size_t i = 0; i < list.size(); ++i) {
                if (except.count(list[i]) == 0) places.push_back(placeOf(finding, list[i], name + at, i));
            }
            known.insert(list.begin(), list.end());
        };
        add("consumer", queue->consumer, FrameSet(known));
        add("producer", queue->producer, queue == meta ? FrameSet() : known);
        add("all", queue->all, FrameSet(known));
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
    const FrameList& chosen = finding.run.chosen();
    FrameSet open;
    for (const FrameReason& place : finding.explain) open.insert(place.frame);
    for (const uint32_t frame : chosen) open.erase(frame);
    const Run control = session.serve(finding.request, kBare);
    if (control.outcome.needed != finding.run.outcome.needed || control.chosen() != chosen) {
        finding.notes.push_back(
            "served once more unchanged, the request came out otherwise: what is said of changes "
            "may be due to that");
    }
    const Trials trials(finding, open);
    const Reasons changes = changesThatBringIn(std::move(open), trials.list(), session, finding.request);
    const Reasons seen = sights(finding.account);
    const bool asked = finding.run.outcome.selected || finding.request.call;
    for (FrameReason& place : finding.explain) {
        place.reason = placeIn(chosen, place.frame);
        if (!place.reason.empty()) continue;
        const auto sight = seen.find(place.frame);
        const auto change = changes.find(place.frame);
        if (!asked) place.reason = "selection was not asked for";
        if (asked && sight != seen.end()) place.reason = sight->second;
        if (isPossible(finding, place.frame)) place.reason = "chosen with another last used frame that the log allows";
        if (change != changes.end()) place.reason += (place.reason.empty() ? "" : "; ") + change->second;
        if (!place.reason.empty()) continue;
        place.reason = std::string("not chosen; no single change ") +
                       (trials.isCut() ? "tried brings it in (stopped: too many frames)" : "brings it in");
    }
}

}  // namespace replay
