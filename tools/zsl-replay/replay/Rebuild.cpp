#include "replay/Rebuild.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "capture/Metadata.h"
#include "replay/LogMatch.h"

namespace replay {

namespace {

using Times = std::map<uint32_t, int64_t>;  // shutter times in ns, by frame

constexpr char kSensorMode[] = "com.nexaro.ext.control.policy.sensorMode";
constexpr char kSeamlessPolicy[] = "nexaro.camera.zoseamlesspolicy.result";
constexpr uint32_t kMostNeeded = 10'000;  // frames; a guard against damaged lines

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

// Sets a tag; 0 counts as absent.
void setTag(Tags& tags, const char* tag, int64_t value) {
    if (value != 0) tags[tag] = tagValue(tag, value);
}

class Rebuilder {
public:
    explicit Rebuilder(const LoggedRequest& logged);
    Finding finish();

private:
    void setGate();
    void setDriver();
    FrameList completed(const char* name, ListKind kind, const std::optional<FrameList>& logged);
    void assumeTimes(Queue& meta);
    void makeQueues();
    void addCheckedQueue(const Queue& meta);

    void assume(std::string what) { mEvidence.assumptions.push_back(std::move(what)); }
    void lack(std::string what) { mEvidence.missing.push_back(std::move(what)); }

    const LoggedRequest& mLogged;
    const Account& mLog;
    Finding mOut;
    Evidence& mEvidence;
    Times mTimes;
    std::set<uint32_t> mRemoved;                          // from the metadata queue
    std::map<std::string, std::set<uint32_t>> mNotFound;  // by queue
};

Rebuilder::Rebuilder(const LoggedRequest& logged)
    : mLogged(logged), mLog(logged.account), mEvidence(mOut.log.emplace()) {
    const LoggedLine& first = logged.firstLine();
    mEvidence.process = first.pid;
    mEvidence.thread = first.tid;
    mEvidence.time = first.time;
    mEvidence.missing = mLog.unread;
    mEvidence.missing.insert(mEvidence.missing.end(), logged.notes.begin(), logged.notes.end());
    mOut.showsFrame = logged.fwkFrame.has_value();
    if (mLog.disabled) mOut.platform.properties[kSwitchProperty] = "true";
    for (const FrameMet& met : mLog.met) {
        if (met.shutterTimeNs) mTimes[met.frame] = *met.shutterTimeNs;
        if (!met.shutterTimeNs) mRemoved.insert(met.frame);
    }
    for (const FrameNotHeld& notHeld : mLog.notHeld) {
        // What the metadata queue is seen to hold is lost by another queue of its name.
        const bool byMeta = notHeld.queue == mLog.queueName && mTimes.count(notHeld.frame) == 0;
        (byMeta ? mRemoved : mNotFound[notHeld.queue]).insert(notHeld.frame);
    }
}

Finding Rebuilder::finish() {
    Request& request = mOut.request;
    const LoggedLine& first = mLogged.firstLine();
    request.fwkFrame = mLogged.fwkFrame.value_or(0);
    request.name = "line " + std::to_string(first.number) + ", process " + std::to_string(first.pid) + ", thread " +
                   std::to_string(first.tid);
    const bool hasLists = mLog.consumer || mLog.producer;
    if (mLogged.lines.empty()) {
        mEvidence.obstacle = "its selection is not in the log, only checks of its frames";
    } else if (mLogged.selection && !mLog.noMetaQueue && !hasLists) {
        mEvidence.obstacle = "its lists are not in the log; a strategy may have been called directly: " +
                             (mLog.strategies.empty() ? "" : mLog.strategies.back());
    }
    if (!mEvidence.obstacle.empty()) {
        mEvidence.open = mEvidence.obstacle;
        mEvidence.lines = mLogged.lines.size();
        for (const LoggedRequest::Check& check : mLogged.checks) mEvidence.lines += check.lines.size();
        mOut.differences.push_back("can't be rebuilt: " + mEvidence.obstacle);
        return std::move(mOut);
    }
    setGate();
    setDriver();
    if (!mLogged.fwkFrame) assume("framework frame: 0, as no line shows it");
    if (!hasLists && !mLog.checks.empty()) addCheckedQueue({});
    if (!hasLists) return std::move(mOut);
    if (!mLog.targetNs) lack("the line of the target moment is missing");
    makeQueues();
    return std::move(mOut);
}

// What the gate read; without its line, what the strategy that ran tells of it.
void Rebuilder::setGate() {
    Tags& tags = *mOut.request.metadata;
    GateLine gate{};
    if (mLog.gate) {
        gate = *mLog.gate;
    } else if (!mLog.disabled) {
        const std::string ran = mLog.strategies.empty() ? "" : mLog.strategies.back();
        gate.hdr = ran == "selectFramesForLbmfAndHdr" || ran == "selectFramesForBinningAndHdr" ? 1 : 0;
        gate.motionStrategy = ran == "selectZSLFramesForSNSCBinning1" ? 2 : 0;
        lack("the gate's line is missing");
        mEvidence.showsGate = false;
        assume(std::string("gate: not taken, ") +
               (gate.hdr != 0 ? "HDR" : "motion strategy " + std::to_string(gate.motionStrategy)) +
               (ran.empty() ? "" : ", as " + ran + " ran"));
    }
    setTag(tags, "android.control.enableZsl", gate.enableZsl);
    setTag(tags, "nexaro.ai.zosd.motionCaptureEnabledIcon", gate.forceOn != 0 ? 4 : 0);
    setTag(tags, "nexaro.hdr.enabled", gate.hdr);
    setTag(tags, "nexaro.hdr.sr.enabled", gate.hdrsr);
    mOut.request.adapter = std::to_string((gate.motionStrategy & 0xF) << 8);
    if (mLogged.selection && !gate.needed) mOut.request.select = halcore::Select::kAlways;
}

void Rebuilder::setDriver() {
    Request& request = mOut.request;
    Tags& tags = *request.metadata;
    if (mLog.policy) tags[kSeamlessPolicy] = seamlessPolicy({*mLog.policy});
    if (mLog.driver) {
        setTag(tags, "nexaro.mfnr.anchorTimeStamp", mLog.driver->anchorTimestampNs);
        setTag(tags, "nexaro.ai.zosd.motionCaptureType", mLog.driver->motionCaptureType);
        request.master = mLog.driver->master;
        request.need = std::min(mLog.driver->needZslNum, kMostNeeded);
        const uint32_t mode = mLog.driver->sensorModeType;
        if (mode != 0) tags.emplace(kSeamlessPolicy, seamlessPolicy({{request.master, mode}}));
    }
    request.clockNs = mLog.clockNs.value_or(0);
    for (const CheckAccount& check : mLog.checks) {
        request.check.role = check.role;
        request.check.aiHlFrames = check.aiHlFrames;
        if (check.wanted) tags[kSensorMode] = tagValue(kSensorMode, *check.wanted);
    }
    // Where there is a metadata object, a check tells what it reads from it.
    const auto isReading = [](const LoggedLine& line) { return line.function() == "operator()"; };
    for (const LoggedRequest::Check& check : mLogged.checks) {
        if (std::any_of(check.lines.begin(), check.lines.end(), isReading)) return;
    }
    if (mLogged.checks.empty() || !hasDebugLines(mLogged)) return;
    request.check.metadata.emplace();
    assume("checks: without request metadata, as no line shows what they read of it");
}

// A missing list is taken to be what the search met, and a cut one may go on so.
FrameList Rebuilder::completed(const char* name, ListKind kind, const std::optional<FrameList>& logged) {
    FrameList met;
    for (const FrameMet& each : mLog.met) {
        if (each.list == kind && (met.empty() || met.back() != each.frame)) met.push_back(each.frame);
    }
    if (!logged) lack(std::string("the ") + name + " list is missing");
    if (logged && logged->size() >= met.size()) return *logged;
    assume(std::string(name) + " list: the " + std::to_string(met.size()) + " frames that the search met");
    return met;
}

void Rebuilder::assumeTimes(Queue& meta) {
    const std::set<uint32_t> listed(meta.all.begin(), meta.all.end());
    for (const auto& [frame, ns] : mTimes) meta.held[frame].shutterTimeNs = ns;
    const size_t shown = mTimes.size();
    if (mTimes.empty() && !listed.empty()) mTimes[*listed.rbegin()] = mOut.request.clockNs;
    const int64_t intervalNs = medianInterval(mTimes);
    for (const uint32_t frame : listed) meta.held.insert({frame, {assumedTime(mTimes, intervalNs, frame), 0, true}});
    if (meta.held.size() == shown) return;
    assume("shutter times of " + std::to_string(meta.held.size() - shown) +
           (meta.held.size() - shown == 1 ? " frame: " : " frames: ") +
           (shown > 0 ? "from the logged ones" : "back from curTime") + ", " + std::to_string(intervalNs) +
           " ns a frame");
}

void Rebuilder::makeQueues() {
    Queue meta;
    meta.type = zohal::kMetaQueue;
    meta.name = mLog.queueName.value_or("");
    meta.consumer = completed("consumer", ListKind::kConsumer, mLog.consumer);
    meta.producer = completed("producer", ListKind::kProducer, mLog.producer);
    meta.all = meta.deliveryOrder();
    assumeTimes(meta);
    // The first queue that lacks a frame is the one that is named: they stand before the metadata queue.
    std::vector<Queue>& queues = mOut.request.queues;
    for (const auto& [name, frames] : mNotFound) {
        queues.push_back(meta);
        queues.back().type = 0;
        queues.back().name = name;
        lose(queues.back(), frames);
    }
    queues.push_back(meta);
    lose(queues.back(), mRemoved);
    assume("queues: [" + meta.name + ']' +
           (mNotFound.empty() ? " alone" : " and those that lines name, which hold all else"));
    if (!mLog.checks.empty()) addCheckedQueue(meta);
    for (size_t i = 0; i < queues.size(); ++i) queues[i].id = static_cast<uint32_t>(i + 1);
}

void Rebuilder::addCheckedQueue(const Queue& meta) {
    Queue& checked = mOut.request.queues.emplace_back(meta);
    checked.type = zohal::kFrameInfoQueue;
    checked.name = "frameinfo";
    for (const CheckAccount& check : mLog.checks) {
        checked.held.try_emplace(check.frame, FrameData{0, 0, true});
        checked.held[check.frame].sensorMode = check.held ? check.mode : 0;
        if (!check.held) lose(checked, {check.frame});
    }
    assume("sensor modes of frames that were not checked: 0");
}

}  // namespace

Finding rebuild(const LoggedRequest& logged) { return Rebuilder(logged).finish(); }

void lose(Queue& queue, const std::set<uint32_t>& frames) {
    for (const uint32_t frame : frames) {
        if (auto node = queue.held.extract(frame)) queue.lost.insert(std::move(node));
    }
}

}  // namespace replay
