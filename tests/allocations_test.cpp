// The selector beside the floor: the same calls of the queues, and heap use counted with the floor of the same build,
// since how often a list or a map allocates is the standard library's.

#include <desk/VendorLibraries.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "benchmarks/Floor.h"
#include "external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.h"
#include "hal_core/FrameQueue.h"

namespace {

int gAllocations = 0;

template <typename Call>
int allocationsOf(Call call) {
    const int before = gAllocations;
    call();
    return gAllocations - before;
}

using Calls = std::vector<std::string>;

// The queue once more, noting every call.
std::shared_ptr<zohal::ZSLFrameQueue> observed(const zohal::ZSLFrameQueue& queue, Calls& calls) {
    auto copy = std::make_shared<halcore::FrameQueue>(queue.getQueueId(), queue.getQueueType(), "observed");
    for (const auto kind : {zohal::kConsumerList, zohal::kProducerList, zohal::kAllFrames}) {
        for (const uint32_t zslFrame : queue.getFrameList(kind)) copy->setFrame(zslFrame, *queue.getFrame(zslFrame));
        copy->setFrameList(kind, queue.getFrameList(kind));
    }
    copy->setObserver([&calls, id = std::to_string(queue.getQueueId())](const halcore::QueueCall& call) {
        calls.push_back(id + ' ' + call.operation + ' ' + std::to_string(call.argument));
    });
    return copy;
}

}  // namespace

void* operator new(size_t size) {
    ++gAllocations;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }

TEST(Floor, SelectorMakesItsQueueCallsAndOneGrowthOfTheListPerStrategyMore) {
    desk::setVendorLibraryDir(ZSL_VENDOR_LIBRARIES);
    std::vector<std::shared_ptr<zohal::ZSLSelectorBase>> selectors;
    createZSLSelector(selectors);
    for (const lean::Mode mode : lean::kModes) {
        for (const uint32_t queues : {1, 3, 8}) {
            SCOPED_TRACE(std::string(lean::modeName(mode)) + ", queues: " + std::to_string(queues));
            lean::Capture capture(mode, 64, queues);
            capture.setPlatform();
            selectors[0]->isSelectorNeeded(capture.request);
            const zohal::SelectionResult selection = selectors[0]->selectZSLFrames(capture.request);
            ASSERT_EQ(selection.size(), queues);
            lean::Floor floor(capture, selection.begin()->second);

            const int floorCount = allocationsOf([&] { floor.selectZSLFrames(capture.request); });
            EXPECT_EQ(allocationsOf([&] { selectors[0]->selectZSLFrames(capture.request); }),
                      floorCount + (mode == lean::kNormalFallback ? 2 : 1));
            EXPECT_EQ(allocationsOf([&] { selectors[0]->checkFrame(capture.check); }), 0);

            Calls calls;
            for (auto& queue : capture.request.zslQueues) queue = observed(*queue, calls);
            EXPECT_EQ(floor.selectZSLFrames(capture.request), selection);
            const Calls floorCalls = std::exchange(calls, {});
            EXPECT_EQ(selectors[0]->selectZSLFrames(capture.request), selection);
            EXPECT_EQ(calls, floorCalls);
        }
    }
}
