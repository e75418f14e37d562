#include "replay/SingleChange.h"

#include <algorithm>

#include "account/Messages.h"
#include "capture/Metadata.h"
#include "capture/Queues.h"
#include "report/Report.h"

namespace replay {

namespace {

constexpr char kAnchorTag[] = "nexaro.mfnr.anchorTimeStamp";
constexpr int64_t kFarNs = INT64_MAX / 4;        // moments beyond are not moved: their sums might overflow
constexpr size_t kMostFramesServed = 1'000'000;  // by all replays for one request, which takes seconds

FrameSet chosenIn(const Run& run) { return {run.chosen().begin(), run.chosen().end()}; }

// Looks for single changes that bring in frames that were not chosen.
class Changer {
public:
    Changer(const Case& theCase, size_t request, const Run& run, const SessionOptions& options, FrameSet open)
        : mCase(theCase),
          mIndex(request),
          mRequest(theCase.requests[request]),
          mRun(run),
          mOptions{options.plugin, options.vendorDir},
          mOpen(std::move(open)) {
        for (size_t i = 0; i <= request; ++i) {
            for (const Queue& queue : theCase.requests[i].queues) mFramesAReplay += queue.held.size() + 1;
        }
    }

    Reasons find() {
        if (!mRun.outcome.selected && !mRequest.call) {
            Request changed = mRequest;
            changed.select = halcore::Select::kAlways;
            settle(replay(changed), "selection had been asked for");
            return mFound;
        }
        clearUsed();
        holdLost();
        for (size_t off = 1; off <= kMostFrames && off <= mFramesAReplay + mRequest.need && !done(); ++off) {
            needFrames(mRequest.need + off);
            if (off <= mRequest.need) needFrames(mRequest.need - off);
        }
        moveTarget();
        return mFound;
    }
    bool gaveUp() const { return mFramesServed > kMostFramesServed; }

private:
    bool done() const { return mOpen.empty() || gaveUp(); }

    Run replay(const Request& changed) {
        mFramesServed += mFramesAReplay;
        Session session(mCase, mOptions);
        for (size_t i = 0; i < mIndex; ++i) session.serve(mCase.requests[i]);
        return session.serve(changed);
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
        settle(replay(changed), "frame " + std::to_string(static_cast<uint32_t>(last)) + " had not been used");
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
            settle(replay(changed), "queue " + std::to_string(changed.queues[q].id) + " had lost no frame");
        }
    }

    void hold(uint32_t frame, const std::vector<size_t>& queues) {
        const auto time = shutterTimeNs(mRequest, frame);
        if (done() || mOpen.count(frame) == 0 || !time) return;
        Request changed = mRequest;
        std::string ids;
        for (const size_t q : queues) {
            Queue& queue = changed.queues[q];
            const auto lost = queue.lost.find(frame);
            queue.held[frame] = lost != queue.lost.end() ? lost->second : FrameData{*time, 0};
            ids += (ids.empty() ? "queue " : " and queue ") + std::to_string(queue.id);
        }
        if (chosenIn(replay(changed)).count(frame) == 0) return;
        mOpen.erase(frame);
        mFound[frame] = "chosen if " + ids + " still held it";
    }

    void needFrames(size_t count) {
        if (done()) return;
        Request changed = mRequest;
        changed.need = static_cast<uint32_t>(count);
        settle(replay(changed), std::to_string(count) + (count == 1 ? " frame was" : " frames were") + " needed");
    }

    // To every shutter time ahead, and from before every one behind: the nearest first, by whole microseconds, which is
    // what is shown.
    void moveTarget() {
        const auto target = targetOf(mRequest, mRun);
        const auto isFar = [](int64_t ns) { return ns > kFarNs || ns < -kFarNs; };
        if (!target || isFar(*target) || mRequest.metaQueue() == nullptr) return;
        std::set<std::pair<int64_t, int64_t>> moves;  // by distance
        for (const auto& [frame, data] : mRequest.metaQueue()->held) {
            if (isFar(data.shutterTimeNs)) continue;
            const int64_t ahead = data.shutterTimeNs - *target;
            const int64_t us = ahead > 0 ? (ahead - 1) / 1000 + 1 : ahead / 1000 - 1;
            moves.emplace(std::abs(us), us * 1000);
        }
        const int64_t anchor = factsOf(mRun).anchorTimestampNs.value_or(0);
        for (const auto& [distance, ns] : moves) {
            if (done()) return;
            Request changed = mRequest;
            if (changed.call) changed.call->zsdTs += ns;
            if (changed.metadata) (*changed.metadata)[kAnchorTag] = tagValue(kAnchorTag, anchor + ns);
            const Run run = replay(changed);
            const auto reached = targetOf(changed, run);
            if (!reached || *reached == *target) return;  // it does not follow the anchor
            settle(run, "the target moment were " + milliseconds(*reached, *target).substr(1) +
                            (*reached > *target ? " later" : " earlier"));
        }
    }

    const Case& mCase;
    const size_t mIndex;
    const Request& mRequest;
    const Run& mRun;
    const SessionOptions mOptions;
    FrameSet mOpen;
    Reasons mFound;
    size_t mFramesAReplay = 1;
    size_t mFramesServed = 0;
};

}  // namespace

std::optional<int64_t> shutterTimeNs(const Request& request, uint32_t frame) {
    std::vector<const Queue*> queues;
    if (request.metaQueue() != nullptr) queues.push_back(request.metaQueue());
    for (const Queue& queue : request.queues) queues.push_back(&queue);
    for (const Queue* queue : queues) {
        for (const auto* frames : {&queue->held, &queue->lost}) {
            const auto found = frames->find(frame);
            if (found != frames->end()) return found->second.shutterTimeNs;
        }
    }
    return std::nullopt;
}

std::optional<int64_t> targetOf(const Request& request, const Run& run) {
    return request.call ? request.call->zsdTs : factsOf(run).targetNs;
}

Reasons findSingleChanges(const Case& theCase, size_t request, const Run& run, const SessionOptions& options,
                          const FrameSet& open, bool& gaveUp) {
    Changer changer(theCase, request, run, options, open);
    Reasons found = changer.find();
    gaveUp = changer.gaveUp();
    return found;
}

}  // namespace replay
