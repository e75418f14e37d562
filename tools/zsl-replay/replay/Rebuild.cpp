#include "replay/Rebuild.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>

#include "capture/Metadata.h"

namespace replay {

namespace {

using Times = std::map<uint32_t, int64_t>;  // shutter times in ns, by frame

constexpr char kSensorMode[] = "com.nexaro.ext.control.policy.sensorMode";

void assume(Finding& out, std::string what) { out.log->assumptions.push_back(std::move(what)); }

// Why there is nothing to replay; else empty.
std::string obstacleOf(const LoggedRequest& logged) {
    const Account& log = logged.account;
    if (logged.lines.empty()) return "its selection is not in the log, only checks of its frames";
    if (!logged.selection || log.noMetaQueue || log.hasLists()) return "";
    return "its lists are not in the log; a strategy may have been called directly: " +
           (log.strategies.empty() ? "" : log.strategies.back());
}

// Sets a tag; 0 counts as absent.
void setTag(Tags& tags, const char* tag, int64_t value) {
    if (value != 0) tags[tag] = value;
}

void setGate(const LoggedRequest& logged, Finding& out) {
    const Account& log = logged.account;
    if (log.disabled) out.platform.properties[kSwitchProperty] = "true";
    GateLine gate = log.gate.value_or(GateLine{});
    if (!log.showsGate()) {  // only the strategy that ran tells of it
        const std::string ran = log.strategies.empty() ? "" : log.strategies.back();
        gate.hdr = ran == "selectFramesForLbmfAndHdr" || ran == "selectFramesForBinningAndHdr" ? 1 : 0;
        gate.motionStrategy = ran == "selectZSLFramesForSNSCBinning1" ? 2 : 0;
        const std::string read = gate.hdr != 0 ? "HDR" : fmt::format("motion strategy {}", gate.motionStrategy);
        out.log->missing.push_back("the gate's line is missing");
        assume(out, "gate: not taken, " + read + (ran.empty() ? "" : ", as " + ran + " ran"));
    }
    Tags& tags = *out.request.metadata;
    setTag(tags, "android.control.enableZsl", static_cast<uint8_t>(gate.enableZsl));
    setTag(tags, "nexaro.ai.zosd.motionCaptureEnabledIcon", gate.forceOn != 0 ? 4 : 0);
    setTag(tags, "nexaro.hdr.enabled", static_cast<uint8_t>(gate.hdr));
    setTag(tags, "nexaro.hdr.sr.enabled", static_cast<uint8_t>(gate.hdrsr));
    out.request.adapter = std::to_string((gate.motionStrategy & 0xF) << 8);
    if (logged.selection && !gate.needed) out.request.select = halcore::Select::kAlways;
    const bool isGrouping = log.hasLists() && (gate.hdr != 0 || gate.hdrsr != 0);
    if (isGrouping) assume(out, "list of all frames: consumer, then producer");
}

void setDriver(const Account& log, Request& request) {
    Tags& tags = *request.metadata;
    if (log.policy) tags[kSeamlessPolicy] = seamlessPolicy(log.policy->first, log.policy->second);
    if (log.driver) {
        setTag(tags, "nexaro.mfnr.anchorTimeStamp", log.driver->anchorTimestampNs);
        setTag(tags, "nexaro.ai.zosd.motionCaptureType", log.driver->motionCaptureType);
        request.master = log.driver->master;
        request.need = std::min(log.driver->needZslNum, kMostNeeded);
        const uint32_t mode = log.driver->sensorModeType;
        if (mode != 0) tags.emplace(kSeamlessPolicy, seamlessPolicy(request.master, mode));
    }
    request.clockNs = log.clockNs.value_or(0);
}

// A missing list is taken to be what the search met, and a cut one may go on so.
FrameList completed(const char* name, ListKind kind, const std::optional<FrameList>& logged, const Account& log,
                    Finding& out) {
    FrameList met;
    for (const FrameMet& each : log.met) {
        if (each.list == kind && (met.empty() || met.back() != each.frame)) met.push_back(each.frame);
    }
    if (!logged) out.log->missing.push_back(fmt::format("the {} list is missing", name));
    if (logged && logged->size() >= met.size()) return *logged;
    assume(out, fmt::format("{} list: the {} frames that the search met", name, met.size()));
    return met;
}

// `count` intervals later. Damaged lines may show any time: what is beyond 64 bits wraps.
int64_t later(int64_t ns, int64_t intervalNs, int64_t count) {
    return static_cast<int64_t>(ns + static_cast<__int128>(intervalNs) * count);
}

// Frames that no line shows a time of follow those before them at the mean interval.
void assumeTimes(Times times, int64_t clockNs, Queue& meta, Finding& out) {
    for (const auto& [frame, ns] : times) meta.held[frame].shutterTimeNs = ns;
    const size_t shown = times.size();
    if (times.empty() && !meta.all.empty()) times[*std::max_element(meta.all.begin(), meta.all.end())] = clockNs;
    const auto oldest = times.begin();
    const auto newest = times.rbegin();
    const int64_t intervalNs = times.size() < 2
                                   ? kDefaultIntervalNs
                                   : later(newest->second, oldest->second, -1) / (newest->first - oldest->first);
    for (const uint32_t frame : meta.all) {
        auto known = times.upper_bound(frame);
        if (known != times.begin()) --known;
        const int64_t count = static_cast<int64_t>(frame) - known->first;
        meta.held.insert({frame, {later(known->second, intervalNs, count), 0, true}});
    }
    const size_t assumed = meta.held.size() - shown;
    if (assumed == 0) return;
    assume(out, fmt::format("shutter times of {} {}: {}, {} ns a frame", assumed, assumed == 1 ? "frame" : "frames",
                            shown > 0 ? "from the logged ones" : "back from curTime", intervalNs));
}

// The metadata queue, as it was before it lost frames. It stands behind those that lines say lack a frame: the first
// that lacks it is the one that is named.
Queue makeQueues(const Account& log, Finding& out) {
    Times times;
    std::set<uint32_t> removed;                          // from the metadata queue
    std::map<std::string, std::set<uint32_t>> notFound;  // by queue
    for (const FrameMet& met : log.met) {
        if (met.shutterTimeNs) times[met.frame] = *met.shutterTimeNs;
        if (!met.shutterTimeNs) removed.insert(met.frame);
    }
    for (const FrameNotHeld& notHeld : log.notHeld) {
        // What the metadata queue is seen to hold is lost by another queue of its name.
        const bool byMeta = notHeld.queue == log.queueName && times.count(notHeld.frame) == 0;
        (byMeta ? removed : notFound[notHeld.queue]).insert(notHeld.frame);
    }
    Queue meta;
    meta.type = zohal::kMetaQueue;
    meta.name = log.queueName.value_or("");
    meta.consumer = completed("consumer", ListKind::kConsumer, log.consumer, log, out);
    meta.producer = completed("producer", ListKind::kProducer, log.producer, log, out);
    meta.all = meta.deliveryOrder();
    assumeTimes(std::move(times), out.request.clockNs, meta, out);
    for (const auto& [name, frames] : notFound) {
        if ((out.request.queues.size() + 2) * meta.held.size() > kMostFrames) {
            out.log->missing.push_back("queues are left out: lines name too many");
            break;
        }
        Queue& queue = out.request.queues.emplace_back(meta);
        queue.type = 0;
        queue.name = name;
        lose(queue, frames);
    }
    lose(out.request.queues.emplace_back(meta), removed);
    assume(out, "queues: [" + meta.name + ']' +
                    (notFound.empty() ? " alone" : " and those that lines name, which hold all else"));
    return meta;
}

// What checks read: a queue that holds what the metadata queue did, and the request's metadata.
void setChecks(const LoggedRequest& logged, Queue checked, Finding& out) {
    const Account& log = logged.account;
    Request& request = out.request;
    if (logged.checks.empty()) return;
    checked.type = zohal::kFrameInfoQueue;
    checked.name = "frameinfo";
    for (const auto& [frame, mode] : log.sensorModes) {
        checked.held.try_emplace(frame, FrameData{0, 0, true}).first->second.sensorMode = mode.value_or(0);
        if (!mode) lose(checked, {frame});
    }
    request.queues.push_back(std::move(checked));
    assume(out, "sensor modes of frames that were not checked: 0");
    request.check = log.check;
    if (log.desiredMode) (*request.metadata)[kSensorMode] = *log.desiredMode;
    if (!logged.hasDebug || log.checkReadsMetadata) return;
    request.check.metadata.emplace();
    assume(out, "checks: without request metadata, as no line shows what they read of it");
}

}  // namespace

Finding rebuild(const LoggedRequest& logged) {
    const Account& log = logged.account;
    const LoggedLine& first = logged.firstLine();
    Finding out;
    Evidence& evidence = out.log.emplace();
    evidence.firstLine = first;
    evidence.account = log;
    evidence.missing = logged.unread;
    evidence.missing.insert(evidence.missing.end(), logged.notes.begin(), logged.notes.end());
    Request& request = out.request;
    request.fwkFrame = log.fwkFrame.value_or(0);
    request.name = fmt::format("line {}, process {}, thread {}", first.number, first.pid, first.tid);
    evidence.obstacle = evidence.open = obstacleOf(logged);
    if (!evidence.obstacle.empty()) {
        evidence.lines = logged.lines.size();
        for (const LoggedRequest::Lines& check : logged.checks) evidence.lines += check.size();
        out.differences.push_back("can't be rebuilt: " + evidence.obstacle);
        return out;
    }
    setGate(logged, out);
    setDriver(log, request);
    if (!log.fwkFrame) assume(out, "framework frame: 0, as no line shows it");
    if (log.hasLists() && !log.driver) evidence.missing.push_back("the line of the frames needed is missing");
    if (log.hasLists() && !log.targetNs) evidence.missing.push_back("the line of the target moment is missing");
    setChecks(logged, log.hasLists() ? makeQueues(log, out) : Queue(), out);
    for (size_t i = 0; i < request.queues.size(); ++i) request.queues[i].id = static_cast<uint32_t>(i + 1);
    return out;
}

void lose(Queue& queue, const std::set<uint32_t>& frames) {
    for (const uint32_t frame : frames) {
        if (auto node = queue.held.extract(frame)) queue.lost.insert(std::move(node));
    }
}

}  // namespace replay
