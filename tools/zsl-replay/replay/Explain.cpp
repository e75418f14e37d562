#include "replay/Explain.h"

#include <fmt/format.h>

#include <functional>
#include <map>
#include <set>

#include "capture/Text.h"

namespace replay {

namespace {

using FrameSet = std::set<uint32_t>;
using Reasons = std::map<uint32_t, std::string>;  // by frame

constexpr char kAnchorTag[] = "nexaro.mfnr.anchorTimeStamp";
constexpr int64_t kFarNs = INT64_MAX / 4;        // moments beyond are not moved: their sums might overflow
constexpr size_t kMostFramesServed = 1'000'000;  // by all trials for one request, which takes seconds

bool isFar(int64_t ns) { return ns > kFarNs || ns < -kFarNs; }

// What the library was seen to do with frames.
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

class Explainer {
public:
    Explainer(Session& session, Finding& finding)
        : mSession(session), mFinding(finding), mRequest(finding.request), mReasons(sights(finding.account)) {}

    void explain() {
        if (const Queue* meta = mRequest.metaQueue()) {
            addPlaces("consumer", meta->consumer, {});
            addPlaces("producer", meta->producer, {});
            addPlaces("all", meta->all, meta->deliveryOrder());
        }
        noteChoice();
        compareControl();
        tryChanges();
        for (FrameReason& place : mFinding.explain) {
            const std::string& reason = mReasons[place.frame];
            place.reason = reason.empty() ? "not chosen; no single change tried brings it in" : reason;
        }
        if (isCut() && !mOpen.empty()) mFinding.notes.push_back("not every change was tried: too many frames");
    }

private:
    void addPlaces(const char* name, const FrameList& list, const FrameList& except) {
        const FrameSet known(except.begin(), except.end());
        for (size_t i = 0; i < list.size(); ++i) {
            const uint32_t frame = list[i];
            if (known.count(frame) > 0) continue;
            mOpen.insert(frame);
            mFinding.explain.push_back({frame, name, i, mFinding.offsetNs(frame), {}, ""});
            for (const Queue& queue : mRequest.queues) {
                if (queue.held.count(frame) > 0) mFinding.explain.back().queues.push_back(queue.id);
            }
        }
    }

    void noteChoice() {
        if (!mFinding.isAsked()) {
            for (const uint32_t frame : mOpen) mReasons[frame] = "selection was not asked for";
        }
        if (mFinding.log && mFinding.log->open.empty()) {
            for (const uint32_t frame : mFinding.log->possible) {
                mReasons[frame] = "chosen with another last used frame that the log allows";
            }
        }
        const FrameList& chosen = mFinding.run.chosen();
        Reasons numbers;
        for (size_t i = 0; i < chosen.size(); ++i) append(numbers[chosen[i]], std::to_string(i + 1), " and ");
        for (const auto& [frame, number] : numbers) {
            mReasons[frame] = fmt::format("chosen, {} of {}", number, chosen.size());
            mOpen.erase(frame);
        }
    }

    void compareControl() {
        const Run control = mSession.serve(mRequest);
        const Run& run = mFinding.run;
        if (control.outcome.needed == run.outcome.needed && control.chosen() == run.chosen()) return;
        mFinding.notes.push_back("served unchanged once more, it came out otherwise: reasons may be due to that");
    }

    // Replays with one thing changed, the likeliest first. The first that chooses a frame is its reason.
    void tryChanges() {
        const auto ask = [](Request& changed) { changed.select = halcore::Select::kAlways; };
        if (!mFinding.isAsked()) return attempt("selection had been asked for", ask);
        clearUsed();
        holdFrames();
        needFrames();
        moveTarget();
    }

    bool isCut() const { return mServed > kMostFramesServed; }
    bool goesOn() const { return !mOpen.empty() && !isCut(); }

    void attempt(const std::string& condition, const std::function<void(Request&)>& change) {
        if (!goesOn()) return;
        Request changed = mRequest;
        change(changed);
        mServed += (mFinding.frames.size() + 1) * changed.queues.size() + changed.need + 1;
        const Run run = mSession.serve(changed);
        for (const uint32_t frame : run.chosen()) {
            if (mOpen.erase(frame) > 0) append(mReasons[frame], "chosen if " + condition, "; ");
        }
    }

    void clearUsed() {
        const auto& call = mRequest.call;
        const int64_t last = call ? call->lastZslFrame : mRequest.used.empty() ? 0 : mRequest.used.back();
        if (last == 0) return;
        attempt(fmt::format("frame {} had not been used", static_cast<uint32_t>(last)), [](Request& changed) {
            changed.used.clear();
            if (changed.call) changed.call->lastZslFrame = 0;
        });
    }

    // A queue that had lost nothing, and had got what others had.
    void holdFrames() {
        for (size_t i = 0; i < mRequest.queues.size(); ++i) {
            attempt('[' + mRequest.queues[i].name + "] held every frame", [this, i](Request& changed) {
                Queue& queue = changed.queues[i];
                queue.held.merge(queue.lost);
                queue.held.insert(mFinding.frames.begin(), mFinding.frames.end());
            });
        }
    }

    void needFrames() {
        const int64_t need = mRequest.need;
        const int64_t most = need + static_cast<int64_t>(mFinding.frames.size());
        for (int64_t off = 1; off <= most && goesOn(); ++off) {
            for (const int64_t count : {need + off, need - off}) {
                if (count < 0) continue;
                attempt(fmt::format("{} needed", count == 1 ? "1 frame was" : fmt::format("{} frames were", count)),
                        [count](Request& changed) { changed.need = static_cast<uint32_t>(count); });
            }
        }
    }

    // To every shutter time ahead, and from before every one behind: the nearest first, by whole microseconds, which is
    // what is shown.
    void moveTarget() {
        const auto& driver = mFinding.account.driver;
        const int64_t from = mRequest.call ? mRequest.call->zsdTs : driver ? driver->anchorTimestampNs : 0;
        std::set<std::pair<int64_t, int64_t>> moves;  // in microseconds, by distance
        for (const auto& [frame, data] : mFinding.frames) {
            const int64_t ahead = mFinding.offsetNs(frame).value_or(INT64_MAX);
            if (isFar(ahead) || isFar(from)) continue;
            const int64_t us = ahead > 0 ? (ahead - 1) / 1000 + 1 : ahead / 1000 - 1;
            moves.emplace(std::abs(us), us);
        }
        for (const auto& move : moves) {
            const int64_t ns = move.second * 1000;
            attempt("the target were " + milliseconds(ns, 0).substr(1) + (ns > 0 ? " later" : " earlier"),
                    [to = from + ns](Request& changed) {
                        if (changed.call)
                            changed.call->zsdTs = to;
                        else if (changed.metadata)
                            (*changed.metadata)[kAnchorTag] = to;
                    });
        }
    }

    Session& mSession;
    Finding& mFinding;
    const Request& mRequest;
    FrameSet mOpen;      // frames without an answer yet: what else would choose them
    Reasons mReasons;    // so far
    size_t mServed = 0;  // frames, by all trials
};

}  // namespace

void explain(Session& session, Finding& finding) { Explainer(session, finding).explain(); }

}  // namespace replay
