#define LOG_TAG "ZoCamHAL"

#include "external/odm/policy/zsl/mtk/general/motion/FrameSpan.h"

#include <algorithm>
#include <utility>

namespace motion {

FrameList frameList(const zohal::ZSLFrameQueue* queue, zohal::ZSLFrameListKind kind) {
    return queue != nullptr ? queue->getFrameList(kind) : FrameList();
}

DeliveryOrder::DeliveryOrder(const zohal::ZSLFrameQueue* queue)
    : consumer(frameList(queue, zohal::kConsumerList)), producer(frameList(queue, zohal::kProducerList)) {}

uint32_t DeliveryOrder::frameAt(int64_t place) const {
    return place < consumerCount() ? consumer[place] : producer[place - consumerCount()];
}

bool DeliveryOrder::hasEnough(int64_t count, uint32_t fwkFrame, zolog::Caller caller) const {
    if (frameCount() >= count) return true;
    ZSL_LOG(zolog::kDebug, caller, "[ZSLSelector] fwkFrame:%u, Not enough frames to select.", fwkFrame);
    return false;
}

uint32_t needZslNum(const zohal::ZSLFrameSelectInfo& selectInfo) {
    return static_cast<uint32_t>(selectInfo.requestMetas.size());
}

bool AnchorSearch::inConsumerList(const FrameList& consumer, int64_t& anchorOffset, zolog::Caller caller) const {
    int64_t offset = -static_cast<int64_t>(consumer.size());
    for (const uint32_t zslFrame : consumer) {
        if (const zohal::ZSLFrameEntry* entry = metaQueue->getFrame(zslFrame)) {
            const int64_t shutterTime = entry->metaInfo.shutterTime;
            ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u Consumer list: %u shutter time:%ld", fwkFrame,
                    zslFrame, shutterTime);
            anchorOffset = offset;
            if (shutterTime > zsdTs) return true;
        } else {
            ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u Consumer list: %u ResultMetaTarget removed",
                    fwkFrame, zslFrame);
        }
        ++offset;
    }
    return false;
}

bool AnchorSearch::inProducerList(const FrameList& producer, int64_t& anchorOffset, zolog::Caller caller) const {
    int64_t offset = 0;
    for (const uint32_t zslFrame : producer) {
        if (const zohal::ZSLFrameEntry* entry = metaQueue->getFrame(zslFrame)) {
            const int64_t shutterTime = entry->metaInfo.shutterTime;
            ZSL_LOG(zolog::kInfo, caller, "[ZSLSelector] fwkFrame:%u Producer list: %u shutter time:%ld ", fwkFrame,
                    zslFrame, shutterTime);
            anchorOffset = offset;
            if (shutterTime > zsdTs) return true;
        }
        ++offset;
    }
    return false;
}

uint32_t spanBegin(int64_t place, uint32_t length) {
    return static_cast<uint32_t>(std::max<int64_t>(place + 1 - static_cast<int64_t>(length), 0));
}

int64_t firstPresent(const zohal::ZSLFrameSelectInfo& selectInfo, const FrameList& consumer, uint32_t begin,
                     zolog::Caller caller) {
    for (size_t position = begin; position < consumer.size(); ++position) {
        const uint32_t zslFrame = consumer[position];
        const auto lost =
            std::find_if(selectInfo.zslQueues.begin(), selectInfo.zslQueues.end(),
                         [zslFrame](const auto& queue) { return queue && queue->getFrame(zslFrame) == nullptr; });
        if (lost == selectInfo.zslQueues.end()) return static_cast<int64_t>(position);
        ZSL_LOG(zolog::kDebug, caller,
                "[ZSLSelector] fwkFrame:%u, cannot find zslFrame: %u in [%s], move begin to next", selectInfo.fwkFrame,
                zslFrame, (*lost)->getName().c_str());
    }
    return static_cast<int64_t>(consumer.size());
}

void keepNewer(FrameList& frames, int64_t begin, int64_t end, int lastZslFrame) {
    begin = std::max<int64_t>(begin, 0);
    end = std::min(end, static_cast<int64_t>(frames.size()));
    auto kept = frames.begin();
    for (int64_t position = begin; position < end; ++position) {
        const uint32_t zslFrame = frames[position];
        if (zslFrame > static_cast<uint32_t>(lastZslFrame)) *kept++ = zslFrame;
    }
    frames.erase(kept, frames.end());
}

void append(FrameList& selectList, FrameList&& frames, size_t more) {
    if (selectList.empty()) {
        selectList = std::move(frames);
        return;
    }
    selectList.reserve(selectList.size() + frames.size() + more);
    selectList.insert(selectList.end(), frames.begin(), frames.end());
}

void append(FrameList& selectList, DeliveryOrder&& frames) {
    append(selectList, std::move(frames.consumer), frames.producer.size());
    append(selectList, std::move(frames.producer));
}

}  // namespace motion
