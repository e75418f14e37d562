// The floor of what a selector can cost: by hand, exactly the calls that a request requires of queues, metadata and
// platform, in the selector's order, with the handle copies that the contract makes. Which frames to ask for and what
// comes out is known beforehand; only the sorting that the normal strategy can't do without is done.

#pragma once

#include "adapter/CameraAdapter.h"
#include "api/ZSLSelectorBase.h"
#include "benchmarks/Capture.h"

namespace bench {

using QueueHandle = std::shared_ptr<zohal::ZSLFrameQueue>;

class Floor {
public:
    // `selection`: what the selector chooses. The adapter is the gate's alone.
    Floor(const Capture& capture, FrameList selection, CameraAdapter* adapter = nullptr);

    bool isSelectorNeeded(const zohal::ZSLFrameSelectInfo& request) const;
    zohal::SelectionResult selectZSLFrames(const zohal::ZSLFrameSelectInfo& request);
    zohal::ZSLSelectorResult checkFrame(const zohal::ZSLFrameCheckInfo& check) const;

    // What the mode's strategy calls of the queues, of a fallback the first one; what the normal strategy does.
    void strategyCalls(const zohal::ZSLFrameSelectInfo& request, const QueueHandle& metaQueue) const;
    void normalCalls(const zohal::ZSLFrameSelectInfo& request, const QueueHandle& metaQueue) const;

    const FrameList& selection() const { return mSelection; }

private:
    Mode mMode;
    CameraAdapter* mAdapter;
    FrameList mSelection;
    FrameList mGathered;  // by a fallback, not sorted yet
    FrameList mAsked;     // frames asked for one by one
    uint32_t mSpanFrame;  // first frame of the span, asked of every queue
};

using FloorCalls = void (Floor::*)(const zohal::ZSLFrameSelectInfo&, const QueueHandle&) const;

}  // namespace bench
