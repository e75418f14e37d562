#define LOG_TAG "ZoCamHAL"

#include "external/odm/policy/zsl/mtk/general/motion/StrategySteps.h"

#include <algorithm>

namespace motion {

FrameList frameList(const zohal::ZSLFrameQueue* queue, zohal::ZSLFrameListKind kind) {
    return queue != nullptr ? queue->getFrameList(kind) : FrameList();
}

DeliveryOrder::DeliveryOrder(const zohal::ZSLFrameQueue* metaQueue)
    : queue(metaQueue),
      consumer(frameList(metaQueue, zohal::kConsumerList)),
      producer(frameList(metaQueue, zohal::kProducerList)) {}

uint32_t DeliveryOrder::frameAt(int64_t place) const {
    return place < consumerCount() ? consumer[place] : producer[place - consumerCount()];
}

bool DeliveryOrder::hasEnough(int64_t count, uint32_t fwkFrame, zolog::Caller caller) const {
    if (frameCount() >= count) return true;
    ZSL_LOG(zolog::kDebug, caller, "[ZSLSelector] fwkFrame:%u, Not enough frames to select.", fwkFrame);
    return false;
}

void DeliveryOrder::appendNewer(FrameList& selectList, int64_t begin, int64_t end, int lastZslFrame) const {
    for (int64_t place = begin; place < end; ++place) {
        const uint32_t zslFrame = frameAt(place);
        if (zslFrame <= static_cast<uint32_t>(lastZslFrame)) continue;
        // A full list grows once, with room for whatever else of the order is appended. One that the caller made room
        // in stays where it is.
        if (selectList.size() == selectList.capacity()) selectList.reserve(selectList.size() + frameCount() - place);
        selectList.push_back(zslFrame);
    }
}

uint32_t needZslNum(const zohal::ZSLFrameSelectInfo& selectInfo) {
    return static_cast<uint32_t>(selectInfo.requestMetas.size());
}

Anchor findAnchor(const DeliveryOrder& frames, int64_t begin, int64_t zsdTs, uint32_t fwkFrame, zolog::Caller caller) {
    Anchor anchor{frames.consumerCount(), false};
    for (int64_t place = begin; place < frames.frameCount() && !anchor.isAfterTarget; ++place) {
        const uint32_t zslFrame = frames.frameAt(place);
        const bool isDelivered = place < frames.consumerCount();
        const zohal::ZSLFrameEntry* entry = frames.queue->getFrame(zslFrame);
        if (entry == nullptr) {
            // A producer frame is passed over in silence.
            if (isDelivered) {
                ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u Consumer list: %u ResultMetaTarget removed",
                        fwkFrame, zslFrame);
            }
            continue;
        }
        const int64_t shutterTime = entry->metaInfo.shutterTime;
        if (isDelivered) {
            ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u Consumer list: %u shutter time:%ld", fwkFrame,
                    zslFrame, shutterTime);
        } else {
            ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u Producer list: %u shutter time:%ld ", fwkFrame,
                    zslFrame, shutterTime);
        }
        anchor = {place, shutterTime > zsdTs};
    }
    return anchor;
}

uint32_t spanBegin(int64_t place, uint32_t length) {
    return static_cast<uint32_t>(std::max<int64_t>(place + 1 - static_cast<int64_t>(length), 0));
}

int64_t firstPresent(const zohal::ZSLFrameSelectInfo& selectInfo, const DeliveryOrder& frames, int64_t begin,
                     zolog::Caller caller) {
    int64_t place = begin;
    for (; place < frames.consumerCount(); ++place) {
        const uint32_t zslFrame = frames.consumer[place];
        const auto lost =
            std::find_if(selectInfo.zslQueues.begin(), selectInfo.zslQueues.end(),
                         [zslFrame](const auto& queue) { return queue && queue->getFrame(zslFrame) == nullptr; });
        if (lost == selectInfo.zslQueues.end()) break;
        // Alone among the messages it shows the record's frame number, not the strategy's parameter. Callers of the
        // class may hand in two numbers, and whoever reads their logs knows it so.
        ZSL_LOG(zolog::kDebug, caller,
                "[ZSLSelector] fwkFrame:%u, cannot find zslFrame: %u in [%s], move begin to next", selectInfo.fwkFrame,
                zslFrame, (*lost)->getName().c_str());
    }
    return place;
}

}  // namespace motion
