#include "hal_core/FrameQueue.h"

// The contract's one out-of-line member lives with the HAL core, which thereby owns the class's typeinfo.
zohal::ZSLFrameQueue::~ZSLFrameQueue() = default;

namespace halcore {

void FrameQueue::setFrameList(zohal::ZSLFrameListKind kind, std::vector<uint32_t> frames) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mLists[kind] = std::move(frames);
}

void FrameQueue::addFrame(uint32_t zslFrame, zohal::ZSLFrameEntry entry) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mEntries.try_emplace(zslFrame, std::move(entry));
}

void FrameQueue::dropFrame(uint32_t zslFrame) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mDropped.push_back(mEntries.extract(zslFrame));
}

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
    const zohal::ZSLFrameEntry* entry = find(zslFrame);
    observe("getFrame", zslFrame, entry != nullptr);
    return entry;
}

const zohal::ZSLFrameEntry* FrameQueue::find(uint32_t zslFrame) const {
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto found = mEntries.find(zslFrame);
    return found != mEntries.end() ? &found->second : nullptr;
}

std::vector<uint32_t> FrameQueue::getFrameList(int32_t listKind) const {
    observe("getFrameList", static_cast<uint32_t>(listKind));
    if (listKind < zohal::kConsumerList || listKind > zohal::kAllFrames) return {};
    const std::lock_guard<std::mutex> lock(mMutex);
    return mLists[listKind];
}

}  // namespace halcore
