#include "hal_core/FrameQueue.h"

// The contract's one out-of-line member lives with the HAL core, which thereby owns the class's typeinfo.
zohal::ZSLFrameQueue::~ZSLFrameQueue() = default;

namespace halcore {

void FrameQueue::observe(const char* operation, uint32_t argument, bool found) const {
    if (mObserver) mObserver({*this, operation, argument, found});
}

int32_t FrameQueue::getQueueType() const {
    observe("getQueueType");
    return mType;
}

std::string FrameQueue::getName() const {
    observe("getName");
    return mName;
}

uint32_t FrameQueue::getQueueId() const {
    observe("getQueueId");
    return mId;
}

const zohal::ZSLFrameEntry* FrameQueue::getFrame(uint32_t zslFrame) const {
    const auto found = mEntries.find(zslFrame);
    observe("getFrame", zslFrame, found != mEntries.end());
    return found != mEntries.end() ? &found->second : nullptr;
}

std::vector<uint32_t> FrameQueue::getFrameList(int32_t listKind) const {
    observe("getFrameList", static_cast<uint32_t>(listKind));
    return listKind >= zohal::kConsumerList && listKind <= zohal::kAllFrames ? mLists[listKind]
                                                                             : std::vector<uint32_t>();
}

}  // namespace halcore
