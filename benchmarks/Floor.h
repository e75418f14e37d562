// The floor of what a selector can cost: by hand, exactly the calls that a request requires of queues, metadata and
// platform, in the selector's order, with the handle copies that the contract makes; then the one list, and
// forEachZSLQ, a call of the contract itself, to store a copy of it for each queue. Which frames to ask for and what
// comes out is known beforehand; only the sorting that the normal strategy can't do without is done.

#pragma once

#include "adapter/CameraAdapter.h"
#include "benchmarks/Capture.h"
#include "external/odm/policy/zsl/mtk/ZSLSelectorExt.h"

namespace bench {

using QueueHandle = std::shared_ptr<zohal::ZSLFrameQueue>;

class Floor : public ZSLSelectorExt {
public:
    // `selection`: what the selector chooses. The adapter is the gate's alone.
    Floor(const Capture& capture, FrameList selection, CameraAdapter* adapter = nullptr);

    bool isSelectorNeeded(const zohal::ZSLFrameSelectInfo& request) override;
    zohal::ZSLSelectorResult checkFrame(const zohal::ZSLFrameCheckInfo& check) override;
    zohal::SelectionResult selectZSLFrames(const zohal::ZSLFrameSelectInfo& request) override;

private:
    // What the mode's strategy calls of the queues, of a fallback the first one; what the normal strategy does.
    void strategyCalls(const zohal::ZSLFrameSelectInfo& request, const QueueHandle& metaQueue) const;
    void normalCalls(const QueueHandle& metaQueue) const;

    Mode mMode;
    CameraAdapter* mAdapter;
    FrameList mSelection;  // in a fallback as it is gathered, not sorted yet
    FrameList mAsked;      // frames asked for one by one
    uint32_t mSpanFrame;   // first frame of the span, asked of every queue
};

}  // namespace bench
