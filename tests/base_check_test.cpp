// The base check, which no selector of the plug-in's runs, through a selector of this core's own.

#include <algorithm>

#include "ForeignCore.h"

namespace {

struct Plain : zohal::ZSLSelectorBase {
    bool isSelectorNeeded(const Request&) override { return false; }
    Flags checkFrame(const Check& info) override { return checkDesiredSensorMode(info); }
    zohal::SelectionResult selectZSLFrames(const Request&) override { return {}; }
};

constexpr char kMask[] = "com.nexaro.camera.sensorpolicy.mask";
constexpr char kMcx[] = "com.nexaro.camera.sensorpolicy.mcxFrameresult";
constexpr uint32_t kLost = 99;
constexpr uint32_t kFrame = 4000000009, kRequest = 4000000007;

Check check(const Entry& mcx, uint32_t frameMode) {
    const auto info = std::make_shared<FrameQueue>("info", 2, 1);
    if (frameMode != kLost) info->frames[kFrame].perframeSensorMode = frameMode;
    Check made{};
    made.checkFrameNum = kFrame;
    made.fwkFrameNum = kRequest;
    made.requestMeta = std::make_shared<ZoMetadata>(ZoMetadata{{{kMcx, mcx}}});
    made.zslQueues = {nullptr, std::make_shared<FrameQueue>("meta", 1, 2), info};
    return made;
}

Entry mcx(uint32_t camera, std::initializer_list<uint32_t> roles, uint32_t modes) {
    std::vector<uint32_t> words(33, 0xAAAAAAAA);
    words[2] = camera;
    words[4] = modes;
    size_t word = 0;
    for (const uint32_t role : roles) words[word += 8] = role;
    return values(words);
}

TEST_F(ForeignCore, BaseCheckWantsTheModeOfTheCamerasRole) {
    const Entry role2 = mcx(7, {5, 7, 8, 9}, 0x35);
    const std::string& words = role2.payload;
    const struct {
        const char* name;
        Check info;
        bool accepted;
    } rows[] = {{"role 1", check(mcx(5, {5, 5, 5, 5}, 0x8765), 5), true},
                {"role 2", check(role2, 3), true},
                {"role 4", check(mcx(7, {1, 2, 3, 7}, 0xFFFF8765), 8), true},
                {"no role", check(mcx(7, {1, 2, 3, 4}, 0x8765), 6), true},
                {"highest mode", check(mcx(7, {7, 2, 3, 4}, 0xF), 15), true},
                {"another mode", check(role2, 4), false},
                {"132 bytes", check({0, 132, words}, 3), true},
                {"131 bytes", check({kUnknownType, 131, words.substr(0, 131)}, 3), false},
                {"32 words", check({1, 32, words.substr(0, 128)}, 3), false},
                {"stale payload", check({1, 0, words}, 3), false},
                {"no data", check({1, 33, "", false}, 3), false},
                {"more bytes than can be counted", check({1, SIZE_MAX / 4 + 1, words}, 3), true},
                {"two unknown modes", check({}, 32), false},
                {"null request", {kFrame, nullptr, kRequest, 0, 0, 0, check(role2, 3).zslQueues, 0}, false},
                {"frame lost", check(role2, kLost), false}};
    gWorld.staticMetadata[0].tags[kMask] = values<int32_t>({INT32_MIN});
    Plain selector;
    for (const auto& row : rows) {
        const Flags flags = selector.checkFrame(row.info);
        EXPECT_EQ((std::pair{flags.first, flags.second}), (std::pair<uint8_t, uint8_t>{row.accepted, 1})) << row.name;
    }
}

TEST_F(ForeignCore, BaseCheckLooksForTheMaskUntilThereIsOne) {
    const std::string own = "64 D shown checkDesiredSensorMode # [ZSLSelector] ";
    const std::string unsupported = own + "not support sensor policy, skip sensor mode checking.";
    const Texts refused = {own + "fwkFrame:4000000007 zslFrame: 4000000009 get metaFrame failed",
                           "64 D shown operator() # [ZSLSelector] not find mcxFrameresult",
                           own + "fwkFrame:4000000007 zslFrame: 4000000009 reqestFrame zoholder::sensorModetype:32",
                           own + "checkDesiredSensorMode fail!  fwkFrame:4000000007 zslFrame: 4000000009"};
    const Texts accepted = {
        own + "fwkFrame:4000000007 zslFrame: 4000000009 zslFrame zoholder::sensorModetype:3",
        "64 D shown operator() # [ZSLSelector] getDesiredSensorMode cameraRoleType:5 modeSelectMask:0x30 modeOffset:4 "
        "sensorModetype3",
        own + "fwkFrame:4000000007 zslFrame: 4000000009 reqestFrame zoholder::sensorModetype:3",
        own + "checkDesiredSensorMode success!  fwkFrame:4000000007 zslFrame: 4000000009"};
    const struct {
        const char* name;
        uint32_t camera;
        Check info;
        int accepted;
        Texts expected;
    } rows[] = {{"unknown camera", 1, check({}, 3), 1, {unsupported}},
                {"stale tag", 3, check({}, 3), 1, {unsupported}},
                {"tag without data", 4, check({}, 3), 1, {unsupported}},
                {"mask 0", 5, check({}, 3), 1, {own + "logicalId:5, mSensorPolicyMask:0", unsupported}},
                {"a mask, no queue", 6, {}, 1, {own + "logicalId:6, mSensorPolicyMask:-2"}},
                {"cached for another camera", 1, {}, 1, {}},
                {"refused", 1, check({}, kLost), 0, refused},
                {"accepted without a role", 1, check(mcx(7, {0, 0, 0, 0}, 0x30), 3), 1, accepted}};
    gWorld.staticMetadata = {{3, {{{kMask, {1, 0, "stale"}}}}},
                             {4, {{{kMask, {1, 1, "", false}}}}},
                             {5, {{{kMask, values<int32_t>({0})}}}},
                             {6, {{{kMask, values<int32_t>({-2})}}}}};
    gWorld.hookTakes = 0;
    zodebug::gZoCamOfflineLogGroup = zodebug::gZoCamDebugMask = 0x40;
    Plain selector;
    for (const auto& row : rows) {
        gWorld.offline.clear();
        Check info = row.info;
        info.logicalId = row.camera;
        const Flags flags = selector.checkFrame(info);
        EXPECT_EQ(flags.first, row.accepted) << row.name;
        EXPECT_EQ(gWorld.offline, row.expected) << row.name;
    }
    EXPECT_EQ(std::count(gWorld.calls.begin(), gWorld.calls.end(), "static 1"), 1);
    EXPECT_EQ(gWorld.android[0].rfind("3 ZoAlgoEngine label shown:# checkDesiredSensorMode()", 0), 0u);
    EXPECT_EQ(gWorld.paths[0], "api/ZSLSelectorBase.cpp");
}

}  // namespace
