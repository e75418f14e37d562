// The selector for motion captures: the plug-in's one product.
//
// A motion capture shows a moment that an anchor timestamp in the request metadata marks, usually a little after it.
// The selector takes requests in which motion capture is forced on together with HDR, HDR super-resolution or the
// platform's motion banding, and picks for them, among the frames the camera has already captured, those around that
// moment.

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "external/odm/policy/zsl/mtk/ZSLSelectorExt.h"

class MotionZSLSelector : public ZSLSelectorExt {
public:
    MotionZSLSelector();
    ~MotionZSLSelector() override;

    // The gate. Besides answering it notes the request's HDR flags and the platform's motion strategy, by which
    // selectZSLFrames chooses its strategy: call it first, with the same request. False, without a look at the request,
    // while the property "vendor.zohal.selector.motion.zsl.disable" was true or unset when the library was loaded.
    //
    // The call loads the platform's adapter library where it is not loaded yet, without a lock. The HAL core sees to it
    // that until a call has found the adapter no two run at once, whatever selectors they go to: otherwise the library
    // is opened and initialised twice.
    bool isSelectorNeeded(const zohal::ZSLFrameSelectInfo& selectInfo) override;

    // Passes on what checkDesiredSensorMode says, the most derived class's.
    zohal::ZSLSelectorResult checkFrame(const zohal::ZSLFrameCheckInfo& checkInfo) override;

    // Chooses frames from the first queue of kind kMetaQueue and returns the one list under the id of every queue. An
    // empty list is a success as well: a strategy that serves may have found every frame used.
    zohal::SelectionResult selectZSLFrames(const zohal::ZSLFrameSelectInfo& selectInfo) override;

    // The strategies. They read no member of the selector, and share their parameters:
    //   fwkFrame      the request's framework frame, for the log
    //   selectInfo    the request; the element count of requestMetas is the number of frames it needs
    //   metaQueue     the queue to choose from; null counts as a queue with empty lists
    //   selectList    the selection; a strategy appends to it, in the memory the caller reserved as long as that lasts
    //   zsdTs         the target moment, ns on the clock of the shutter times
    //   lastZslFrame  frames numbered at or below it, as an unsigned number, have been used and are not chosen; of a
    //                 group that goes for the first frame alone
    // True: selectList is the selection. False: the strategy cannot serve the request. What it has appended by then
    // stays in the list, and a strategy called after it may append the same frame once more.

    // Zero shutter delay. Takes the needed frames that end at the anchor, which is the first frame after zsdTs, and
    // everything newer. Starts later where a queue has lost the first of them, and leaves the producer list out where
    // the anchor stands ahead of the last consumer frame. True when selectList ends up with as many frames as the
    // request needs. Takes the queue by reference, alone among the strategies, because its exported name says so; it
    // does not touch the handle.
    bool selectZSLFramesForZeroShutterDelay(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                            std::shared_ptr<zohal::ZSLFrameQueue>& metaQueue,
                                            std::vector<uint32_t>& selectList, long zsdTs, int lastZslFrame);

    // Motion banding placed in time. Takes the same frames, but an even anchor in the consumer list gives way to the
    // next frame, and the producer list is never left out. False when the queue has too few frames; true promises none.
    // For callers of the class; selectZSLFrames does not use it.
    bool selectZSLFramesForSNSCBinning2(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                        std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                        std::vector<uint32_t>& selectList, long zsdTs, int lastZslFrame);

    // The newest frames, without regard to time; sorts the whole of selectList. False when there are too few.
    bool selectZSLFramesForNormal(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                  std::shared_ptr<zohal::ZSLFrameQueue> metaQueue, std::vector<uint32_t>& selectList,
                                  long zsdTs, int lastZslFrame);

    // The group of exposures nearest to zsdTs, where groups start at multiples of 4. False when there is none; what the
    // consumer list does not hold of the group is left out.
    bool selectFramesForLbmfAndHdr(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                   std::shared_ptr<zohal::ZSLFrameQueue> metaQueue, std::vector<uint32_t>& selectList,
                                   long zsdTs, int lastZslFrame);

    // The same with groups that start at multiples of 7; then removes the fourth entry of selectList.
    bool selectFramesForBinningAndHdr(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                      std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                      std::vector<uint32_t>& selectList, long zsdTs, int lastZslFrame);

    // Motion banding: the newest pairs of frames, one pair fewer than frames are needed. The whole of selectList is
    // then thinned out: of each pair but the last the second frame goes. False when there are too few frames.
    bool selectZSLFramesForSNSCBinning1(uint32_t fwkFrame, const zohal::ZSLFrameSelectInfo& selectInfo,
                                        std::shared_ptr<zohal::ZSLFrameQueue> metaQueue,
                                        std::vector<uint32_t>& selectList, long zsdTs, int lastZslFrame);

private:
    // The current request's, written by isSelectorNeeded.
    uint8_t hdrEnable = 0;
    uint8_t hdrsrEnable = 0;
    uint32_t motionStrategy = 0;
    bool isMotionBanding = false;
};

// The plug-in's entry: appends a new selector, of which the list then is the only owner. On an allocation failure the
// exception passes and the list is unchanged. Calls on one list must not overlap.
extern "C" void createZSLSelector(std::vector<std::shared_ptr<zohal::ZSLSelectorBase>>& selectors);
