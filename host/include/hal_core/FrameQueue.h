// The HAL core's queue of captured frames, filled by hand on a desk. Frames may come and go while a selector reads, as
// they do on a device, where cameras deliver on threads of their own: the thread safety of its operations is a queue's
// own business, since no selector takes a lock.

#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "api/ZSLFrameRecords.h"

namespace halcore {

class FrameQueue;

// A call of a queue operation, as seen by an observer.
struct QueueCall {
    const FrameQueue& queue;
    const char* operation;
    uint32_t argument;  // frame number of getFrame, list kind of getFrameList, else 0
    bool found;         // whether getFrame had an entry
};

class FrameQueue final : public zohal::ZSLFrameQueue {
public:
    FrameQueue(uint32_t id, int32_t type, std::string name) : mId(id), mType(type), mName(std::move(name)) {}

    // Unobserved, for the core itself.
    uint32_t id() const { return mId; }

    void setFrameList(zohal::ZSLFrameListKind kind, std::vector<uint32_t> frames);
    void addFrame(uint32_t zslFrame, zohal::ZSLFrameEntry entry);  // one that the queue does not hold yet
    void dropFrame(uint32_t zslFrame);                             // a reader that has its entry may read on

    // Sees every call of a selector. Set it before the first.
    void setObserver(std::function<void(const QueueCall&)> observer) { mObserver = std::move(observer); }

    int32_t getQueueType() const override;
    void reservedForHalCore() override {}
    std::string getName() const override;
    uint32_t getQueueId() const override;
    const zohal::ZSLFrameEntry* getFrame(uint32_t zslFrame) const override;
    std::vector<uint32_t> getFrameList(int32_t listKind) const override;

private:
    void observe(const char* operation, uint32_t argument = 0, bool found = true) const;
    const zohal::ZSLFrameEntry* find(uint32_t zslFrame) const;

    uint32_t mId;
    int32_t mType;
    std::string mName;
    std::function<void(const QueueCall&)> mObserver;

    using Entries = std::unordered_map<uint32_t, zohal::ZSLFrameEntry>;
    mutable std::mutex mMutex;  // of what follows
    std::vector<uint32_t> mLists[3];
    Entries mEntries;
    std::vector<Entries::node_type> mDropped;  // kept as long as the queue, for who may still read them
};

}  // namespace halcore
