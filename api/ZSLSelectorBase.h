// The interface through which the HAL core drives every ZSL frame selector.
//
// For each capture request the core asks a selector whether it takes the request (isSelectorNeeded), lets it choose
// frames (selectZSLFrames), and lets it vet single frames (checkFrame). It calls them on its request thread, one
// request at a time per selector; selectors take no lock. Selectors are held as std::shared_ptr<ZSLSelectorBase> and
// destroyed when the core drops the last one.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "api/ZSLFrameRecords.h"

namespace zohal {

class ZSLSelectorBase {
public:
    ZSLSelectorBase();
    ZSLSelectorBase(const ZSLSelectorBase&) = delete;
    ZSLSelectorBase& operator=(const ZSLSelectorBase&) = delete;

    // The order of these declarations is the order of the table of virtual operations.

    // True when the selector wants to select frames for this request.
    virtual bool isSelectorNeeded(const ZSLFrameSelectInfo& selectInfo) = 0;

    // Vets one frame for one request.
    virtual ZSLSelectorResult checkFrame(const ZSLFrameCheckInfo& checkInfo) = 0;

    // Hook to vet a list of frame numbers before single frames are checked. The default leaves the list alone and
    // returns 0.
    virtual int preCheckFrame(std::vector<uint32_t>& zslFrames, int flags);

    // Tells whether the sensor ran in the mode that the request wants when it captured the frame. The default takes the
    // wanted mode from the sensor policy's per-request result ("...sensorpolicy.mcxFrameresult"). `second` is always
    // true; `first` is false when the modes differ or one of them is not known. Everything is accepted while the camera
    // has no sensor policy, and where no queue of kind kFrameInfoQueue is handed in.
    virtual ZSLSelectorResult checkDesiredSensorMode(const ZSLFrameCheckInfo& checkInfo);

    virtual ~ZSLSelectorBase();

    // Chooses frames for the request. An empty map means that nothing was selected.
    virtual SelectionResult selectZSLFrames(const ZSLFrameSelectInfo& selectInfo) = 0;

    // Calls `visit` once per queue, in list order, null handles included. `visit` gets a handle of its own; another one
    // keeps the queue should `visit` replace the element. Throws std::bad_function_call when `visit` is empty and there
    // is a queue to visit.
    void forEachZSLQ(const std::vector<std::shared_ptr<ZSLFrameQueue>>& queues,
                     std::function<void(std::shared_ptr<ZSLFrameQueue>)> visit);

protected:
    std::string mName;  // set by the concrete selector; shown in its log lines

    // The HAL core's: this library only initialises them.
    int32_t mCoreStatus = -1;
    bool mCoreEnabled = true;
    bool mCoreFlag1 = false;
    bool mCoreFlag2 = false;

    // The camera's sensor policy mask; 0 until a check finds one. Once found it stands for every later check of this
    // selector, whichever camera that names.
    int32_t mSensorPolicyMask = 0;
};

}  // namespace zohal
