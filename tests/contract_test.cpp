#include <algorithm>
#include <tuple>

#include "ForeignCore.h"

namespace {

struct Motion : MotionZSLSelector {
    Flags checkDesiredSensorMode(const Check&) override { return answer; }
    ~Motion() override { ++destroyed; }
    Flags answer{1, 1};
    static inline int destroyed = 0;
};

Metadata metadata(ZoMetadata tags) { return std::make_shared<ZoMetadata>(std::move(tags)); }

std::shared_ptr<FrameQueue> queue(const char* name, int32_t type, uint32_t id, const Frames& consumer,
                                  const std::map<uint32_t, int64_t>& shutterTimesNs) {
    auto made = std::make_shared<FrameQueue>(name, type, id, consumer);
    for (const auto& [zslFrame, ns] : shutterTimesNs) made->frames[zslFrame].metaInfo.shutterTime = ns;
    return made;
}

TEST_F(ForeignCore, LibrarySelectorsHaveTheContractsLayoutAndOneOwner) {
    std::vector<std::shared_ptr<zohal::ZSLSelectorBase>> selectors = {std::make_shared<Motion>()};
    const auto* const first = selectors[0].get();
    createZSLSelector(selectors);
    createZSLSelector(selectors);
    ASSERT_EQ(selectors.size(), 3u);
    EXPECT_EQ(selectors[0].get(), first);
    EXPECT_EQ(selectors[2].use_count(), 1);
    EXPECT_EQ(*gSwitchRead, "vendor.zohal.selector.motion.zsl.disable=1;");

    auto& motion = static_cast<MotionZSLSelector&>(*selectors[2]);
    EXPECT_EQ(motion.mName, "ZSLSelectorMotion");
    EXPECT_EQ(motion.status, -1);
    EXPECT_TRUE(motion.enabled);
    EXPECT_EQ(std::tuple(motion.flag1, motion.flag2, motion.mSensorPolicyMask), std::tuple(false, false, 0));
    EXPECT_EQ(std::tuple(motion.hdrEnable, motion.hdrsrEnable, motion.motionStrategy, motion.isMotionBanding),
              std::tuple(0, 0, 0U, false));
    for (const Frames& list : motion.lists) EXPECT_TRUE(list.empty());
    EXPECT_TRUE(motion.flagMap.empty());
    const Metadata meta = metadata({{{"65577", values<uint8_t>({2})},
                                     {"nexaro.ai.zosd.motionCaptureEnabledIcon", {kUnknownType, 1, "\4"}},
                                     {"nexaro.hdr.enabled", values<uint8_t>({7})},
                                     {"nexaro.hdr.sr.enabled", values<uint8_t>({9})}}});
    EXPECT_TRUE(motion.isSelectorNeeded({1, {}, 0, {}, {meta}}));
    EXPECT_EQ(gWorld.calls, (Texts{"65577", "nexaro.ai.zosd.motionCaptureEnabledIcon", "nexaro.hdr.enabled",
                                   "nexaro.hdr.sr.enabled"}));
    EXPECT_EQ((std::pair{motion.hdrEnable, motion.hdrsrEnable}), (std::pair<uint8_t, uint8_t>{7, 9}));

    const std::weak_ptr<zohal::ZSLSelectorBase> last = selectors[2];
    Motion::destroyed = 0;
    selectors.clear();
    EXPECT_TRUE(last.expired());
    EXPECT_EQ(Motion::destroyed, 1);
}

TEST_F(ForeignCore, OneRequestCallsTheCoreInOrderAndKeepsNothing) {
    zodebug::gZoCamLogGroup = 0;
    const auto a = queue("a", 0, 1, {}, {{100, 0}});
    const auto b = queue("b", 1, 2, {100}, {{100, 1}});
    const auto c = queue("c", 1, 0x80000003, {}, {{100, 0}});
    const Metadata meta = metadata({{{"nexaro.mfnr.anchorTimeStamp", values<int64_t>({0})},
                                     {"nexaro.ai.zosd.motionCaptureType", values<uint32_t>({1})}}});
    Motion motion;
    const auto result = motion.selectZSLFrames({1, {}, 0, {a, b, c}, {meta}});
    EXPECT_EQ(result, (zohal::SelectionResult{{1, {100}}, {2, {100}}, {0x80000003, {100}}}));
    EXPECT_EQ(gWorld.calls, (Texts{"a type", "b type", "b list 0", "b list 1", "nexaro.mfnr.anchorTimeStamp",
                                   "nexaro.ai.zosd.motionCaptureType", "nexaro.camera.zoseamlesspolicy.result",
                                   "systemTime 4", "b list 0", "b list 1", "b frame 100", "a frame 100", "b frame 100",
                                   "c frame 100", "a id", "b id", "c id"}));
    motion.isSelectorNeeded({1, {}, 0, {a, b, c}, {meta}});
    motion.ZSLSelectorExt::checkDesiredSensorMode({100, meta, 1, 0, 0, 0, {a, b, c}, 0});
    EXPECT_EQ(a.use_count() + b.use_count() + c.use_count() + meta.use_count(), 4);
}

TEST_F(ForeignCore, OtherSelectorsCanBeBuiltOnTheExportedClasses) {
    ZSLSelectorExt ext;
    const auto a = queue("a", 1, 1, {}, {}), b = queue("b", 1, 2, {}, {});
    EXPECT_FALSE(ext.isSelectorNeeded({1, {}, 0, {a}, {}}));
    EXPECT_TRUE(ext.selectZSLFrames({1, {}, 0, {a}, {}}).empty());
    const Flags accepted = static_cast<zohal::ZSLSelectorBase&>(ext).checkFrame({});
    EXPECT_EQ((std::pair{accepted.first, accepted.second}), (std::pair<uint8_t, uint8_t>{1, 1}));
    Frames frames = {3, 1};
    EXPECT_EQ(ext.preCheckFrame(frames, 5), 0);
    EXPECT_EQ(frames, (Frames{3, 1}));

    const std::vector<Queue> queues = {b, nullptr, a};
    std::vector<Queue> seen;
    ext.forEachZSLQ(queues, [&seen](Queue visited) {
        EXPECT_EQ(visited.use_count(), visited ? 4 : 0) << "of this test, of the list, of the walk, the visitor's own";
        seen.push_back(std::move(visited));
    });
    EXPECT_EQ(seen, queues);
    EXPECT_THROW(ext.forEachZSLQ({a}, nullptr), std::bad_function_call);

    const uint8_t answers[][4] = {{0xFE, 0x03, 0, 1}, {0x81, 0x80, 1, 0}};
    for (const auto& row : answers) {
        Motion motion;
        motion.answer = {row[0], row[1]};
        const Flags flags = static_cast<zohal::ZSLSelectorBase&>(motion).checkFrame({});
        EXPECT_EQ((std::pair{flags.first, flags.second}), (std::pair{row[2], row[3]})) << int{row[0]};
    }
}

// Three messages, two of them at info level; the one at debug level prints a queue's name.
TEST_F(ForeignCore, ChannelsOpenSeparatelyAndArgumentsAreLazy) {
    const struct {
        const char* name;
        uint32_t level, group, offlineLevel, offlineGroup, mask;
        int hookTakes;
        std::vector<size_t> expected;  // messages at the hook, Android log, offline log; names, file names asked for
    } rows[] = {{"shut", 0, ~0x40u, 0, ~0x40u, 1, 0, {0, 0, 0, 0, 0}},
                {"offline", 0, 0, 3, 0x40, 0x80000000, 0, {0, 0, 3, 1, 3}},
                {"offline, mask 0", 0, 0, 3, 0x40, 0, 0, {0, 0, 0, 0, 0}},
                {"offline from info", 0, 0, 4, 0x40, 1, 0, {0, 0, 2, 0, 2}},
                {"offline above info", 0, 0, 5, 0x40, 1, 0, {0, 0, 0, 0, 0}},
                {"online", 3, 0x41, 0, 0, 1, 0, {3, 3, 0, 2, 6}},
                {"online, taken", 3, 0x40, 0, 0, 1, -1, {3, 0, 0, 1, 3}},
                {"online from info", 4, 0x40, 0, 0, 0, 0, {2, 2, 0, 0, 4}},
                {"online above info", 5, 0x40, 0, 0, 0, 0, {0, 0, 0, 0, 0}},
                {"both", 0, ~0u, 0, ~0u, 1, 0, {3, 3, 3, 3, 9}},
                {"both, taken", 3, 0x40, 3, 0x40, 1, 1, {3, 0, 3, 2, 6}}};
    Queue meta = queue("meta", 1, 1, {100}, {{100, 1}});
    const Queue other = queue("other", 0, 2, {}, {});
    for (const auto& row : rows) {
        gWorld = {};
        gWorld.hookTakes = row.hookTakes;
        zodebug::gZoCamLogLevel = row.level;
        zodebug::gZoCamLogGroup = row.group;
        zodebug::gZoCamOfflineLogLevel = row.offlineLevel;
        zodebug::gZoCamOfflineLogGroup = row.offlineGroup;
        zodebug::gZoCamDebugMask = row.mask;
        Frames list;
        Motion().selectZSLFramesForZeroShutterDelay(1, {1, {}, 0, {meta, other}, {nullptr}}, meta, list, 0, 0);
        const auto names = static_cast<size_t>(std::count(gWorld.calls.begin(), gWorld.calls.end(), "other name"));
        const std::vector<size_t> found = {gWorld.hook.size(), gWorld.android.size(), gWorld.offline.size(), names,
                                           gWorld.paths.size()};
        EXPECT_EQ(found, row.expected) << row.name;
    }
}

TEST_F(ForeignCore, EachLogFunctionGetsItsArgumentsInItsOrder) {
    zodebug::gZoCamOfflineLogGroup = zodebug::gZoCamDebugMask = 0x40;
    gWorld.hookTakes = 0;
    ZSLSelectorExt().checkDesiredSensorMode({0x80000001, nullptr, 0x80000002, 3, -4, 5, {}, -6});
    Motion().selectZSLFrames({12, {}, 0, {}, {}});
    const std::string first =
        "checkFrameNum = -2147483647 fwkFrameNum = -2147483646  reqtMasterId = -4 masterRoleId = 5 AiHLFrameNum = -6";
    const std::string second = "[ZSLSelector] fwkFrame:12 no metaQueue, select finished";
    for (Texts* texts : {&gWorld.android, &gWorld.offline}) (*texts)[0].resize((*texts)[0].find(" this = 0x"));
    EXPECT_EQ(gWorld.hook[1], "64 shown:# selectZSLFrames D [ZSLSelector] fwkFrame:%u no metaQueue, select finished");
    EXPECT_EQ(gWorld.android, (Texts{"4 ZoAlgoEngine label shown:# checkDesiredSensorMode()[ZSLSelector] " + first,
                                     "3 ZoCamHAL label shown:# selectZSLFrames()" + second}));
    EXPECT_EQ(gWorld.offline, (Texts{"64 I shown checkDesiredSensorMode # [ZSLSelector] " + first,
                                     "64 D shown selectZSLFrames # " + second}));
    EXPECT_EQ(gWorld.paths.front(), "external/odm/policy/zsl/mtk/ZSLSelectorExt.cpp");
    EXPECT_EQ(gWorld.paths.back(), "external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.cpp");
}

}  // namespace
