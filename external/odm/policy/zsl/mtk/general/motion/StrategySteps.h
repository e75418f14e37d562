// The steps that the selection strategies are made of.
//
// Frames have a delivery order: the consumer list, then the producer list. A "place" is a position in that order; where
// a message shows an offset, it is the place counted from the end of the consumer list, and so negative for the frames
// of that list. The anchor is the first frame after the target moment (zsdTs), which the picture is meant to show.
//
// Whatever logs takes the source position of the strategy it works for.

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "api/ZSLFrameRecords.h"
#include "log/ZoLog.h"

namespace motion {

using FrameList = std::vector<uint32_t>;

// One of the queue's lists, as it is now. A null queue has empty lists.
FrameList frameList(const zohal::ZSLFrameQueue* queue, zohal::ZSLFrameListKind kind);

// A queue's frames in delivery order, as they were when it was made.
struct DeliveryOrder {
    explicit DeliveryOrder(const zohal::ZSLFrameQueue* metaQueue);

    int64_t consumerCount() const { return static_cast<int64_t>(consumer.size()); }
    int64_t producerCount() const { return static_cast<int64_t>(producer.size()); }
    int64_t frameCount() const { return consumerCount() + producerCount(); }
    uint32_t frameAt(int64_t place) const;

    // True when there are at least `count` frames; says so in the log when there are not.
    bool hasEnough(int64_t count, uint32_t fwkFrame, zolog::Caller caller = zolog::Caller::current()) const;

    // Appends the frames at places [begin, end) that are above `lastZslFrame` (as an unsigned number), the last one
    // that a former request used.
    void appendNewer(FrameList& selectList, int64_t begin, int64_t end, int lastZslFrame) const;

    const zohal::ZSLFrameQueue* queue;
    FrameList consumer;
    FrameList producer;
};

// Number of frames the request needs.
uint32_t needZslNum(const zohal::ZSLFrameSelectInfo& selectInfo);

inline bool isEven(uint32_t zslFrame) { return (zslFrame & 1) == 0; }

// What a search for the anchor ended with.
struct Anchor {
    int64_t place;
    bool isAfterTarget;  // false: no frame is, and the last one that still has an entry stands in for the anchor
};

// The first frame from place `begin` on whose shutter time lies after the target moment, in ns. Where no frame has an
// entry any more, the place is the end of the consumer list.
Anchor findAnchor(const DeliveryOrder& frames, int64_t begin, int64_t zsdTs, uint32_t fwkFrame,
                  zolog::Caller caller = zolog::Caller::current());

// First place of the `length` frames that end with the one at `place`; 0 when there are fewer.
uint32_t spanBegin(int64_t place, uint32_t length);

// The presence check: the first place from `begin` on whose frame every queue of the request still holds. Only consumer
// frames are checked, so the search ends at the end of that list at the latest.
int64_t firstPresent(const zohal::ZSLFrameSelectInfo& selectInfo, const DeliveryOrder& frames, int64_t begin,
                     zolog::Caller caller = zolog::Caller::current());

}  // namespace motion
