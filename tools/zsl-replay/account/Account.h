// What one request's log lines say, message by message as the catalogue knows them. The same account is taken of a
// phone's log and of a replay's own lines, so that the two are read alike.

#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "capture/Case.h"

namespace replay {

struct GateLine {
    bool needed;  // the gate's answer
    int64_t enableZsl, forceOn, hdr, hdrsr, motionStrategy, banding;
};

// "<mc anchor pick> ..."
struct DriverLine {
    int64_t anchorTimestampNs;
    uint32_t motionCaptureType;
    uint32_t master;
    uint32_t sensorModeType;
    uint32_t needZslNum;
};

enum class ListKind { kConsumer, kProducer, kAll };

// A frame that a search met, in the order in which lines name them, as often as they do.
struct FrameMet {
    ListKind list;
    uint32_t frame;
    std::optional<int64_t> shutterTimeNs;  // absent: "ResultMetaTarget removed"
};

// "cannot find zslFrame ...": the presence check met a queue that does not hold the frame.
struct FrameNotHeld {
    uint32_t frame;
    std::string queue;  // its name
};

struct AnchorLine {
    int64_t offset;    // from the end of the consumer list
    uint32_t csbegin;  // first position of the span, before the presence check
};

// A group start that was judged by its reference frame.
struct GroupLine {
    uint32_t position;  // in the list of all frames
    uint32_t referenceFrame;
    int64_t timeDiffNs;
    uint32_t nearestPosition;  // so far
};

struct Account {
    std::optional<uint32_t> fwkFrame;  // where a line shows it
    bool disabled = false;             // "disable motion zsl selector"
    std::optional<GateLine> gate;
    bool noMetaQueue = false;
    std::optional<std::string> queueName;  // of the metadata queue
    std::optional<FrameList> consumer;     // the lists as the driver logged them; of cut ones the frames that are whole
    std::optional<FrameList> producer;
    std::optional<std::pair<uint32_t, uint32_t>> policy;  // sensor id and mode
    std::optional<DriverLine> driver;
    std::optional<int64_t> targetNs;      // zsdTs
    std::optional<int64_t> clockNs;       // curTime
    std::vector<std::string> strategies;  // in the order in which lines name them, each once: the function that logs,
                                          // and the normal one also by the line that says the first failed
    bool fallback = false;                // that line
    std::vector<FrameMet> met;
    std::vector<FrameNotHeld> notHeld;
    std::optional<AnchorLine> anchor;
    std::vector<GroupLine> groups;
    std::optional<FrameList> beforeThinning;
    std::optional<FrameList> afterThinning;
    Check check;                                              // of the last frame checked: role and aiHlFrames
    std::map<uint32_t, std::optional<uint32_t>> sensorModes;  // of checked frames; absent: the queue does not hold it
    bool checkReadsMetadata = false;                          // there is a metadata object
    std::optional<int32_t> desiredMode;                       // that a tag in it names

    bool showsGate() const { return disabled || gate; }
    bool hasLists() const { return consumer || producer; }
    void addStrategy(std::string_view strategy);
};

}  // namespace replay
