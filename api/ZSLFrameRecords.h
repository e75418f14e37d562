// Records exchanged between the HAL core and a ZSL frame selector.
//
// The HAL core owns every record. A selector gets them by const reference for the length of one call, keeps nothing
// beyond it, and writes only its own results. Where a selector needs an object for a while it copies the shared handle
// and drops the copy before it returns.
//
// Frame numbers are unsigned 32-bit and compared as such: a "framework frame" numbers a capture request, a "ZSL frame"
// numbers a frame that the camera has already captured. Timestamps are signed 64-bit nanoseconds.
//
// The layout of every record and the table of ZSLFrameQueue are binary contract: other binaries are compiled against
// them without this header. docs/integration.md lists what an integrator has to compare with the HAL core.

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class ZoMetadata;

namespace zohal {

// What a frame queue holds, as answered by ZSLFrameQueue::getQueueType(). The HAL core knows further kinds, which no
// selector asks for.
enum ZSLQueueType : int32_t {
    kMetaQueue = 1,       // frame metadata; the queue that frames are selected from
    kFrameInfoQueue = 2,  // the sensor mode of each frame; the queue that the sensor-mode checks consult
};

// Which list ZSLFrameQueue::getFrameList() returns.
enum ZSLFrameListKind : int32_t {
    kConsumerList = 0,  // frames already delivered
    kProducerList = 1,  // frames still being produced; they follow the consumer list's
    kAllFrames = 2,     // every frame the queue knows, in an order of the queue's own
};

// Metadata of one captured frame. A copy shares the metadata objects.
struct MetaInfo {
    std::shared_ptr<ZoMetadata> metadata;  // the frame's result metadata
    std::vector<std::pair<int32_t, std::shared_ptr<ZoMetadata>>> physicalMetas;
    int64_t shutterTime;  // ns, on the clock of the anchor timestamp
    uint8_t frameTail[8];
};

// What a queue knows of one frame. Owned by the queue: a selector reads it at once and keeps no pointer to it.
struct ZSLFrameEntry {
    MetaInfo metaInfo;            // meaningful in a queue of kind kMetaQueue
    uint32_t perframeSensorMode;  // mode the frame was captured in; meaningful in a queue of kind kFrameInfoQueue
};

// The HAL core's queue of captured frames. The core may add and drop frames while a selector reads: a frame that a
// list names need not have an entry any more when it is asked for.
//
// A selector fetches the consumer list first and the producer list after it. The core lets a frame enter the one and
// leave the other in one step: a frame that stands in both for a while may be chosen twice.
class ZSLFrameQueue {
public:
    virtual ~ZSLFrameQueue();
    virtual int32_t getQueueType() const = 0;
    virtual void reservedForHalCore() = 0;  // the core's own; no selector calls it
    virtual std::string getName() const = 0;
    virtual uint32_t getQueueId() const = 0;                                 // key of this queue in a SelectionResult
    virtual const ZSLFrameEntry* getFrame(uint32_t zslFrame) const = 0;      // null when the queue does not hold it
    virtual std::vector<uint32_t> getFrameList(int32_t listKind) const = 0;  // of ZSLFrameListKind, in queue order
};

// One capture request.
struct ZSLFrameSelectInfo {
    uint32_t fwkFrame;                                      // the request's framework frame
    std::vector<uint32_t> usedZslFrames;                    // only the last element counts: frames up to it are spent
    uint32_t reqtMasterId;                                  // camera id of the master camera the request asks for
    std::vector<std::shared_ptr<ZSLFrameQueue>> zslQueues;  // in the core's order
    std::vector<std::shared_ptr<ZoMetadata>> requestMetas;  // one per frame needed; element 0 is the request's metadata
};

// One ZSL frame to be vetted for one request.
struct ZSLFrameCheckInfo {
    uint32_t checkFrameNum;
    std::shared_ptr<ZoMetadata> requestMeta;
    uint32_t fwkFrameNum;
    uint32_t logicalId;  // logical camera id, key of the camera's static metadata
    int32_t reqtMasterId;
    int32_t masterRoleId;
    std::vector<std::shared_ptr<ZSLFrameQueue>> zslQueues;
    int32_t AiHLFrameNum;
};

// Answer to a check; both flags are true when the frame is accepted.
struct ZSLSelectorResult {
    bool first;
    bool second;
};

// Orders queue ids ascending, as unsigned numbers.
struct CompareRule {
    bool operator()(uint32_t a, uint32_t b) const { return a < b; }
};

// Selected frame numbers by queue id. Empty: nothing was selected.
using SelectionResult = std::map<uint32_t, std::vector<uint32_t>, CompareRule>;

// The first queue of the given kind, in list order; empty when there is none. Null handles are passed over, and queues
// after the one found are not asked.
std::shared_ptr<ZSLFrameQueue> firstQueueOfType(const std::vector<std::shared_ptr<ZSLFrameQueue>>& queues,
                                                ZSLQueueType type);

// Renders a frame list for the log: each number is followed by one blank, the last one too.
template <typename T>
std::string vectorToString(const std::vector<T>& values) {
    std::string text;
    for (const T& value : values) {
        text += std::to_string(value);
        text += ' ';
    }
    return text;
}

}  // namespace zohal
