#include "benchmarks/Floor.h"

#include <utils/Timers.h>

#include <algorithm>

#include "metadatautils/ZoMetadata.h"

namespace bench {

namespace {

QueueHandle firstQueue(const std::vector<QueueHandle>& queues, int32_t type) {
    for (const QueueHandle& queue : queues) {
        if (queue->getQueueType() == type) return queue;
    }
    return nullptr;
}

}  // namespace

Floor::Floor(const Capture& capture, FrameList selection, CameraAdapter* adapter)
    : mMode(capture.mode), mAdapter(adapter), mSelection(std::move(selection)) {
    if (mMode == kNormalFallback) {  // both strategies append the same frames
        FrameList gathered;
        for (const size_t half : {0, 1}) {
            for (size_t i = half; i < mSelection.size(); i += 2) gathered.push_back(mSelection[i]);
        }
        mSelection = gathered;
    }
    const uint32_t consumerFrames = capture.frameCount - kProducerFrames;
    mSpanFrame = kFirstFrame + consumerFrames - kNeededFrames;
    if (mMode == kPlain || mMode == kNormalFallback) {
        for (uint32_t i = 0; i < consumerFrames; ++i) mAsked.push_back(kFirstFrame + i);
    } else if (mMode != kBanding) {
        const uint32_t groupLength = kNeededFrames + 1;
        for (uint32_t i = 0; i + groupLength < capture.frameCount; i += mMode == kLbmfHdr ? 4 : 7) {
            mAsked.push_back(kFirstFrame + (i + groupLength) / 2);
        }
    }
}

bool Floor::isSelectorNeeded(const zohal::ZSLFrameSelectInfo& request) {
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
    const QueueHandle metaQueue = firstQueue(request.zslQueues, zohal::kMetaQueue);
    metaQueue->getFrameList(zohal::kConsumerList);
    metaQueue->getFrameList(zohal::kProducerList);
    {
        const std::shared_ptr<ZoMetadata> metadata = request.requestMetas.front();
        metadata->find("nexaro.mfnr.anchorTimeStamp");
        metadata->find("nexaro.ai.zosd.motionCaptureType");
        metadata->find("nexaro.camera.zoseamlesspolicy.result");
    }
    systemTime(SYSTEM_TIME_BOOTTIME);

    strategyCalls(request, metaQueue);
    if (mMode == kNormalFallback) normalCalls(metaQueue);
    FrameList selectList(mSelection);
    if (mMode == kNormalFallback) std::sort(selectList.begin(), selectList.end());

    zohal::SelectionResult result;
    forEachZSLQ(request.zslQueues, [&](const QueueHandle& queue) { result[queue->getQueueId()] = selectList; });
    return result;
}

zohal::ZSLSelectorResult Floor::checkFrame(const zohal::ZSLFrameCheckInfo& check) {
    const QueueHandle frameInfoQueue = firstQueue(check.zslQueues, zohal::kFrameInfoQueue);
    frameInfoQueue->getFrame(check.checkFrameNum);
    const std::shared_ptr<ZoMetadata> metadata = check.requestMeta;
    metadata->find("com.nexaro.ext.control.policy.sensorMode");
    return {true, true};
}

void Floor::strategyCalls(const zohal::ZSLFrameSelectInfo& request, const QueueHandle& metaQueue) const {
    const bool anchored = mMode == kPlain || mMode == kNormalFallback;
    const QueueHandle copy = anchored ? nullptr : metaQueue;  // that strategy takes a reference
    const FrameList consumer = metaQueue->getFrameList(zohal::kConsumerList);
    const FrameList other = metaQueue->getFrameList(choosesGroups(mMode) ? zohal::kAllFrames : zohal::kProducerList);
    for (const uint32_t zslFrame : mAsked) metaQueue->getFrame(zslFrame);
    if (!anchored) return;
    for (const auto& queue : request.zslQueues) queue->getFrame(mSpanFrame);
}

void Floor::normalCalls(const QueueHandle& metaQueue) const {
    const QueueHandle copy = metaQueue;
    FrameList consumer = metaQueue->getFrameList(zohal::kConsumerList);
    const FrameList producer = metaQueue->getFrameList(zohal::kProducerList);
    std::nth_element(consumer.begin(), consumer.end() - (kNeededFrames - kProducerFrames), consumer.end());
}

}  // namespace bench
