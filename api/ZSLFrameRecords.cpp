#include "api/ZSLFrameRecords.h"

namespace zohal {

std::shared_ptr<ZSLFrameQueue> firstQueueOfType(const std::vector<std::shared_ptr<ZSLFrameQueue>>& queues,
                                                ZSLQueueType type) {
    for (const auto& queue : queues) {
        if (queue && queue->getQueueType() == type) return queue;
    }
    return nullptr;
}

}  // namespace zohal
