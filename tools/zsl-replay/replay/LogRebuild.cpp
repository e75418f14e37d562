#include "replay/LogRebuild.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "replay/LogFacts.h"

namespace replay {

namespace {

int64_t clamped(__int128 value) {
    constexpr __int128 kLeast = std::numeric_limits<int64_t>::min();
    constexpr __int128 kMost = std::numeric_limits<int64_t>::max();
    return static_cast<int64_t>(std::clamp(value, kLeast, kMost));
}

// The median time from one frame number to the next.
int64_t medianInterval(const Times& times) {
    std::vector<int64_t> intervals;
    for (auto a = times.begin(), b = a; a != times.end() && ++b != times.end(); a = b) {
        intervals.push_back(clamped((static_cast<__int128>(b->second) - a->second) / (b->first - a->first)));
    }
    std::sort(intervals.begin(), intervals.end());
    return intervals.empty() ? kDefaultIntervalNs : intervals[intervals.size() / 2];
}

// The time of a frame that the log does not show: between its neighbours, or beyond them at the median interval.
int64_t assumedTime(const Times& times, int64_t intervalNs, uint32_t frame) {
    const auto after = times.lower_bound(frame);
    const auto before = after != times.begin() ? std::prev(after) : after;
    __int128 rise = intervalNs;
    int64_t run = 1;
    if (after != times.end() && after != before) {
        rise = static_cast<__int128>(after->second) - before->second;
        run = static_cast<int64_t>(after->first) - before->first;
    }
    return clamped(before->second + rise * (static_cast<int64_t>(frame) - before->first) / run);
}

// Moves frames to the lost ones.
void lose(Queue& queue, const std::set<uint32_t>& frames) {
    for (const uint32_t frame : frames) {
        if (auto node = queue.held.extract(frame)) queue.lost.insert(std::move(node));
    }
}

class Rebuilder {
public:
    explicit Rebuilder(const LogFacts& log) : mLog(log) {
        mOut.request = log.request;
        mOut.gaps = log.gaps;
    }
    Rebuilt finish(const LoggedRequest& logged);

private:
    void setFlags();
    void completeLists();
    void assumeTimes(Queue& meta);
    void makeQueues();

    LogFacts mLog;
    Rebuilt mOut;
};

// What the gate read; without its line, what the strategy that ran tells of it.
void Rebuilder::setFlags() {
    Tags& tags = *mOut.request.metadata;
    GateValues gate{};
    if (mLog.facts.gate) {
        gate = *mLog.facts.gate;
    } else if (!mLog.facts.disabled) {
        gate.hdr =
            mLog.strategy == "selectFramesForLbmfAndHdr" || mLog.strategy == "selectFramesForBinningAndHdr" ? 1 : 0;
        gate.motionStrategy = mLog.strategy == "selectZSLFramesForSNSCBinning1" ? 2 : 0;
        mOut.gaps.push_back("the gate's line is missing");
        mOut.assumptions.push_back(std::string("gate: not taken, ") +
                                   (gate.hdr != 0 ? "HDR" : "motion strategy " + std::to_string(gate.motionStrategy)) +
                                   (mLog.strategy.empty() ? "" : ", as " + mLog.strategy + " ran"));
    }
    setTag(tags, "android.control.enableZsl", gate.enableZsl);
    setTag(tags, "nexaro.ai.zosd.motionCaptureEnabledIcon", gate.forceOn != 0 ? 4 : 0);
    setTag(tags, "nexaro.hdr.enabled", gate.hdr);
    setTag(tags, "nexaro.hdr.sr.enabled", gate.hdrsr);
    mOut.request.adapter = std::to_string((gate.motionStrategy & 0xF) << 8);
    mOut.disabled = mLog.facts.disabled;
}

// A missing list is taken to be what the search met, and a cut one may go on so.
void Rebuilder::completeLists() {
    for (const auto& [name, list, met] : {std::tuple("consumer", &mLog.consumer, &mLog.consumerMet),
                                          std::tuple("producer", &mLog.producer, &mLog.producerMet)}) {
        if (!*list) mOut.gaps.push_back(std::string("the ") + name + " list is missing");
        if (*list && (*list)->size() >= met->size()) continue;
        *list = *met;
        mOut.assumptions.push_back(std::string(name) + " list: the " + std::to_string(met->size()) +
                                   " frames that the search met");
    }
}

void Rebuilder::assumeTimes(Queue& meta) {
    const std::set<uint32_t> listed(meta.all.begin(), meta.all.end());
    size_t shown = mLog.times.size();
    if (mLog.times.empty() && !listed.empty()) mLog.times[*listed.rbegin()] = mOut.request.clockNs;
    const int64_t intervalNs = medianInterval(mLog.times);
    for (const uint32_t frame : listed) meta.held[frame].shutterTimeNs = assumedTime(mLog.times, intervalNs, frame);
    for (const auto& [frame, ns] : mLog.times) meta.held[frame].shutterTimeNs = ns;
    if (meta.held.size() == shown) return;
    mOut.assumptions.push_back("shutter times of " + std::to_string(meta.held.size() - shown) +
                               " frames: " + (shown > 0 ? "from the logged ones" : "back from curTime") + ", " +
                               std::to_string(intervalNs) + " ns a frame");
}

void Rebuilder::makeQueues() {
    Queue meta;
    meta.type = zohal::kMetaQueue;
    meta.name = mLog.queueName;
    meta.consumer = *mLog.consumer;
    meta.producer = *mLog.producer;
    meta.all = meta.deliveryOrder();
    assumeTimes(meta);
    // The first queue that lacks a frame is the one that is named: they stand before the metadata queue.
    std::vector<Queue>& queues = mOut.request.queues;
    for (const auto& [name, frames] : mLog.notFound) {
        queues.push_back(meta);
        queues.back().type = 0;
        queues.back().name = name;
        lose(queues.back(), frames);
    }
    queues.push_back(meta);
    lose(queues.back(), mLog.removed);
    mOut.assumptions.push_back("queues: [" + mLog.queueName + ']' +
                               (mLog.notFound.empty() ? " alone" : " and those that lines name, which hold all else"));
    if (!mLog.modes.empty()) {
        Queue checked = meta;
        checked.type = zohal::kFrameInfoQueue;
        checked.name = "frameinfo";
        for (const auto& [frame, mode] : mLog.modes) {
            checked.held[frame].sensorMode = mode.value_or(0);
            if (!mode) lose(checked, {frame});
        }
        queues.push_back(checked);
        mOut.assumptions.push_back("sensor modes of frames that were not checked: 0");
    }
    for (size_t i = 0; i < queues.size(); ++i) queues[i].id = static_cast<uint32_t>(i + 1);
}

Rebuilt Rebuilder::finish(const LoggedRequest& logged) {
    Request& request = mOut.request;
    const LoggedLine& first = logged.firstLine();
    request.fwkFrame = logged.fwkFrame.value_or(0);
    request.name = "line " + std::to_string(first.number) + ", process " + std::to_string(first.pid) + ", thread " +
                   std::to_string(first.tid);
    mOut.gaps.insert(mOut.gaps.end(), logged.notes.begin(), logged.notes.end());
    const bool hasLists = mLog.consumer || mLog.producer;
    if (logged.lines.empty()) {
        mOut.obstacle = "its selection is not in the log, only checks of its frames";
    } else if (logged.selection && !mLog.noMetaQueue && !hasLists) {
        mOut.obstacle = "its lists are not in the log; a strategy may have been called directly: " + mLog.strategy;
    }
    if (!mOut.obstacle.empty()) return mOut;
    setFlags();
    if (logged.selection && !(mLog.facts.gate && mLog.facts.gate->needed)) request.select = halcore::Select::kAlways;
    if (!logged.fwkFrame) mOut.assumptions.push_back("framework frame: 0, as no line shows it");
    if (!hasLists) return mOut;
    if (!mLog.facts.targetNs) mOut.gaps.push_back("the line of the target moment is missing");
    completeLists();
    makeQueues();
    return mOut;
}

}  // namespace

Rebuilt rebuild(const LoggedRequest& logged) {
    LogFacts log;
    for (const LoggedLine& line : logged.lines) log.readSelection(line);
    for (const LoggedRequest::Check& check : logged.checks) log.readCheck(check);
    return Rebuilder(log).finish(logged);
}

void loseFrames(Request& request, const std::set<uint32_t>& frames) {
    for (Queue& queue : request.queues) {
        if (&queue == request.metaQueue()) lose(queue, frames);
    }
}

Case platformOf(const Rebuilt& rebuilt) {
    Case platform;
    if (rebuilt.disabled) platform.properties[kSwitchProperty].reset();
    return platform;
}

}  // namespace replay
