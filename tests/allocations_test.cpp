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

TEST(Floor, SelectorMakesItsQueueCallsAndAllocatesNoMore) {
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

        // Two strategies append in a fallback, and the second may have to make the list longer.
        EXPECT_LE(allocationsOf([&] { selector.selectZSLFrames(capture.request); }),
                  allocationsOf([&] { floor.selectZSLFrames(capture.request); }) + (mode == bench::kNormalFallback));
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

// The queue has 840 to 899 delivered and 900 to 903 in production.
template <typename Strategy>
static void expectMemoryToLast(Strategy strategy, int lastUsed, size_t appended) {
    static const bench::Capture capture(bench::kPlain, 64, 1);
    bench::QueueHandle metaQueue = capture.request.zslQueues.front();
    MotionZSLSelector selector;
    const auto select = [&](bench::FrameList& list) {
        return allocationsOf([&] { (selector.*strategy)(1, capture.request, metaQueue, list, 0, lastUsed); });
    };
    bench::FrameList roomy, full = {1};
    roomy.reserve(appended);
    const uint32_t* const memory = roomy.data();
    const int queueCalls = select(roomy);
    EXPECT_GE(roomy.size(), 4U);
    EXPECT_EQ(roomy.data(), memory);
    EXPECT_LE(select(full), queueCalls + 1) << "grows once";
}

TEST(Lists, KeepTheirMemoryAsLongAsItLastsAndGrowOnce) {
    expectMemoryToLast(&MotionZSLSelector::selectZSLFramesForZeroShutterDelay, 895, 4);
    expectMemoryToLast(&MotionZSLSelector::selectZSLFramesForNormal, 897, 6);
    expectMemoryToLast(&MotionZSLSelector::selectZSLFramesForSNSCBinning1, 895, 7);
    expectMemoryToLast(&MotionZSLSelector::selectZSLFramesForSNSCBinning2, 895, 8);
    expectMemoryToLast(&MotionZSLSelector::selectFramesForLbmfAndHdr, 0, 9);
    expectMemoryToLast(&MotionZSLSelector::selectFramesForBinningAndHdr, 0, 9);
}
