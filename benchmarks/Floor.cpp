#include "benchmarks/Floor.h"

#include <utils/Timers.h>

#include <algorithm>

#include "metadatautils/ZoMetadata.h"

namespace lean {

using zohal::ZSLFrameQueue;

Floor::Floor(const Capture& capture, FrameList selection, CameraAdapter* adapter)
    : mMode(capture.mode), mAdapter(adapter), mSelection(std::move(selection)) {
    const uint32_t consumerFrames = capture.frameCount - kProducerFrames;
    mSpanFrame = kFirstFrame + consumerFrames - kNeededFrames;
    for (const size_t half : {0, 1}) {  // both strategies of a fallback append the same frames
        for (size_t i = half; i < mSelection.size(); i += 2) mGathered.push_back(mSelection[i]);
    }
    if (mMode == kLbmfHdr || mMode == kBinningHdr) {
        const uint32_t groupLength = kNeededFrames + 1;
        for (uint32_t i = 0; i + groupLength < capture.frameCount; i += mMode == kLbmfHdr ? 4 : 7) {
            mAsked.push_back(kFirstFrame + (i + groupLength) / 2);
        }
    } else {
        for (uint32_t i = 0; i < consumerFrames; ++i) mAsked.push_back(kFirstFrame + i);
    }
}

bool Floor::isSelectorNeeded(const zohal::ZSLFrameSelectInfo& request) const {
    const std::shared_ptr<ZoMetadata> metadata = request.requestMetas.front();
    metadata->find(0x10029);
    metadata->find("nexaro.ai.zosd.motionCaptureEnabledIcon");
    metadata->find("nexaro.hdr.enabled");
    metadata->find("nexaro.hdr.sr.enabled");
    uint32_t motionInfo = 0;
    mAdapter->GetPlatformInfoHolder()->GetMotionInfo(&motionInfo);
    return true;
}

zohal::SelectionResult Floor::selectZSLFrames(const zohal::ZSLFrameSelectInfo& request) {
    std::shared_ptr<ZSLFrameQueue> metaQueue;
    for (const auto& queue : request.zslQueues) {
        if (queue->getQueueType() != zohal::kMetaQueue) continue;
        metaQueue = queue;
        break;
    }
    metaQueue->getFrameList(zohal::kConsumerList);
    metaQueue->getFrameList(zohal::kProducerList);
    {
        const std::shared_ptr<ZoMetadata> metadata = request.requestMetas.front();
        metadata->find("nexaro.mfnr.anchorTimeStamp");
        metadata->find("nexaro.ai.zosd.motionCaptureType");
        metadata->find("nexaro.camera.zoseamlesspolicy.result");
    }
    systemTime(SYSTEM_TIME_BOOTTIME);

    if (mMode == kPlain || mMode == kNormalFallback) callsOfAnchorSearch(request, *metaQueue);
    if (mMode == kLbmfHdr || mMode == kBinningHdr) callsOfGroups(metaQueue);
    if (mMode == kBanding) callsOfBanding(metaQueue);
    if (mMode == kNormalFallback) {
        callsOfNormal(metaQueue);
        mSelection = mGathered;
        std::sort(mSelection.begin(), mSelection.end());
    }

    zohal::SelectionResult result;
    const auto store = [this, &result](std::shared_ptr<ZSLFrameQueue> queue) {
        result.insert_or_assign(queue->getQueueId(), mSelection);
    };
    for (const auto& element : request.zslQueues) {
        const std::shared_ptr<ZSLFrameQueue> queue = element;
        store(queue);
    }
    return result;
}

zohal::ZSLSelectorResult Floor::checkFrame(const zohal::ZSLFrameCheckInfo& check) const {
    for (const auto& queue : check.zslQueues) {
        if (queue->getQueueType() != zohal::kFrameInfoQueue) continue;
        queue->getFrame(check.checkFrameNum);
        break;
    }
    const std::shared_ptr<ZoMetadata> metadata = check.requestMeta;
    metadata->find("com.nexaro.ext.control.policy.sensorMode");
    return {true, true};
}

void Floor::callsOfAnchorSearch(const zohal::ZSLFrameSelectInfo& request, const ZSLFrameQueue& metaQueue) const {
    const FrameList consumer = metaQueue.getFrameList(zohal::kConsumerList);
    const FrameList producer = metaQueue.getFrameList(zohal::kProducerList);
    for (const uint32_t zslFrame : mAsked) metaQueue.getFrame(zslFrame);
    for (const auto& queue : request.zslQueues) queue->getFrame(mSpanFrame);
}

void Floor::callsOfNormal(std::shared_ptr<ZSLFrameQueue> metaQueue) const {
    FrameList consumer = metaQueue->getFrameList(zohal::kConsumerList);
    const FrameList producer = metaQueue->getFrameList(zohal::kProducerList);
    std::nth_element(consumer.begin(), consumer.end() - (kNeededFrames - kProducerFrames), consumer.end());
}

void Floor::callsOfGroups(std::shared_ptr<ZSLFrameQueue> metaQueue) const {
    const FrameList consumer = metaQueue->getFrameList(zohal::kConsumerList);
    const FrameList all = metaQueue->getFrameList(zohal::kAllFrames);
    for (const uint32_t zslFrame : mAsked) metaQueue->getFrame(zslFrame);
}

void Floor::callsOfBanding(std::shared_ptr<ZSLFrameQueue> metaQueue) const {
    const FrameList consumer = metaQueue->getFrameList(zohal::kConsumerList);
    const FrameList producer = metaQueue->getFrameList(zohal::kProducerList);
}

}  // namespace lean
