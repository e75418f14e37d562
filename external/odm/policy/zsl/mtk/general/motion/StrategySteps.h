// The ideas that the frame selection strategies are made of.
//
// Frames have a delivery order: the consumer list, then the producer list. A "place" is a position in that order. The
// anchor is the first frame after the target moment (zsdTs), which the picture is meant to show; its offset is its
// place counted from the end of the consumer list, so it is negative in the consumer list and the position itself in
// the producer list.
//
// Whatever logs takes the source position of the strategy it works for.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "api/ZSLFrameRecords.h"
#include "log/ZoLog.h"

namespace motion {

using FrameList = std::vector<uint32_t>;

// One of the queue's lists, as it is now. A null queue has empty lists.
FrameList frameList(const zohal::ZSLFrameQueue* queue, zohal::ZSLFrameListKind kind);

// A queue's frames in delivery order, as they are now.
struct DeliveryOrder {
    explicit DeliveryOrder(const zohal::ZSLFrameQueue* queue);

    int64_t consumerCount() const { return static_cast<int64_t>(consumer.size()); }
    int64_t producerCount() const { return static_cast<int64_t>(producer.size()); }
    int64_t frameCount() const { return consumerCount() + producerCount(); }
    uint32_t frameAt(int64_t place) const;

    // True when there are at least `count` frames; says so in the log when there are not.
    bool hasEnough(int64_t count, uint32_t fwkFrame, zolog::Caller caller = zolog::Caller::here()) const;

    FrameList consumer;
    FrameList producer;
};

// Number of frames the request needs.
uint32_t needZslNum(const zohal::ZSLFrameSelectInfo& selectInfo);

inline bool isEven(uint32_t zslFrame) { return (zslFrame & 1) == 0; }

// A search for the anchor: the first frame of a list whose shutter time lies after the target moment. Both searches
// move `anchorOffset` along with every frame that has an entry, so without an anchor it designates the last such frame,
// and stays as it was when there is none.
struct AnchorSearch {
    uint32_t fwkFrame;  // for the log
    const zohal::ZSLFrameQueue* metaQueue;
    int64_t zsdTs;  // the target moment, ns

    // True when the list holds the anchor.
    bool inConsumerList(const FrameList& consumer, int64_t& anchorOffset,
                        zolog::Caller caller = zolog::Caller::here()) const;
    bool inProducerList(const FrameList& producer, int64_t& anchorOffset,
                        zolog::Caller caller = zolog::Caller::here()) const;
};

// First place of a span of `length` frames that ends with the one at `place`, or 0 when it would start before that.
// With an anchor offset for a place, the span's first position in the producer list.
uint32_t spanBegin(int64_t place, uint32_t length);

// The presence check: the first consumer position from `begin` on whose frame every queue of the request still holds;
// the end of the list when there is none.
int64_t firstPresent(const zohal::ZSLFrameSelectInfo& selectInfo, const FrameList& consumer, uint32_t begin,
                     zolog::Caller caller = zolog::Caller::here());

// Cuts a list to its frames at positions [begin, end), as far as there are such, that are above `lastZslFrame` (as an
// unsigned number), the last one that a former request used.
void keepNewer(FrameList& frames, int64_t begin, int64_t end, int lastZslFrame);

// Appends a list the strategy is done with: an empty selection takes its memory over, another grows once, with room for
// `more` frames that are to follow.
void append(FrameList& selectList, FrameList&& frames, size_t more = 0);

// Both lists.
void append(FrameList& selectList, DeliveryOrder&& frames);

}  // namespace motion
