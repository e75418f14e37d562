// The selector beside the floor: the same calls of the queues in the same order, and heap use counted with the floor of
// the same build, since how often a list or a map allocates is the standard library's.

#include <gtest/gtest.h>

#include <cstdlib>

#include "benchmarks/Floor.h"
#include "external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.h"
#include "hal_core/FrameQueue.h"

static int gAllocations = 0;

// Not inlined, or the compiler takes malloc() and delete for a mismatch.
__attribute__((noinline)) void* operator new(size_t size) {
    ++gAllocations;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { operator delete(memory); }

template <typename Call>
static int allocationsOf(Call call) {
    const int before = gAllocations;
    return call(), gAllocations - before;
}

TEST(Floor, SelectorMakesItsQueueCallsAndAllocatesLess) {
    std::vector<std::shared_ptr<zohal::ZSLSelectorBase>> selectors;
    createZSLSelector(selectors);
    zohal::ZSLSelectorBase& selector = *selectors.front();
    for (const bench::Mode mode : bench::kModes) {
        SCOPED_TRACE(bench::kModeNames[mode]);
        bench::Capture capture(mode, 64, 3);
        capture.setPlatform();
        selector.isSelectorNeeded(capture.request);
        const zohal::SelectionResult selection = selector.selectZSLFrames(capture.request);
        ASSERT_EQ(selection.size(), 3U);
        bench::Floor floor(capture, selection.begin()->second);

        // The selection takes over a list that the queue handed out, and goes to the last queue itself.
        EXPECT_EQ(allocationsOf([&] { selector.selectZSLFrames(capture.request); }),
                  allocationsOf([&] { floor.selectZSLFrames(capture.request); }) - 1);
        EXPECT_EQ(allocationsOf([&] { selector.checkFrame(capture.check); }), 0);

        std::string calls;
        for (const auto& queue : capture.request.zslQueues) {
            static_cast<halcore::FrameQueue&>(*queue).setObserver([&calls](const halcore::QueueCall& call) {
                calls += std::to_string(call.queue.id()) + call.operation + std::to_string(call.argument) + '\n';
            });
        }
        EXPECT_EQ(floor.selectZSLFrames(capture.request), selection);
        const std::string floorCalls = std::exchange(calls, "");
        EXPECT_EQ(selector.selectZSLFrames(capture.request), selection);
        EXPECT_EQ(calls, floorCalls);
    }
}

TEST(Floor, AStrategyGrowsAListThatHoldsFramesOnce) {
    const bench::Capture capture(bench::kPlain, 64, 1);
    const bench::Floor floor(capture, {});
    const bench::QueueHandle& metaQueue = capture.request.zslQueues.front();
    const int ofFloor = allocationsOf([&] { floor.normalCalls(capture.request, metaQueue); });  // both lists
    MotionZSLSelector selector;
    for (const auto strategy :
         {&MotionZSLSelector::selectZSLFramesForNormal, &MotionZSLSelector::selectZSLFramesForSNSCBinning1}) {
        bench::FrameList selectList = {1};
        const auto select = [&] { (selector.*strategy)(1, capture.request, metaQueue, selectList, 0, 0); };
        EXPECT_EQ(allocationsOf(select), ofFloor + 1);
        EXPECT_EQ(selectList.size(), 1 + bench::kNeededFrames);
    }
}
