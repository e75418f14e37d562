#include "account/Catalogue.h"

#include <algorithm>

namespace replay {

namespace {

constexpr char kZeroDelay[] = "selectZSLFramesForZeroShutterDelay";
constexpr char kNormal[] = "selectZSLFramesForNormal";
constexpr char kSnsc1[] = "selectZSLFramesForSNSCBinning1";
constexpr char kSnsc2[] = "selectZSLFramesForSNSCBinning2";

using Line = LoggedLine;

template <std::optional<FrameList> Account::*kList>
void noteList(const Line& line, Account& account) {
    account.queueName = line.name;
    account.*kList = line.frames;
}

// The line of a frame that the metadata queue has lost shows no time.
template <ListKind kList>
void noteMet(const Line& line, Account& account) {
    FrameMet& met = account.met.emplace_back(FrameMet{kList, line.unsigned32(1), std::nullopt});
    if (line.numbers.size() > 2) met.shutterTimeNs = line.numbers[2];
}

void noteAnchor(const Line& line, Account& account) { account.anchor = {line.numbers[1], line.unsigned32(2)}; }

// A group is judged by the reference frame of the line before.
void noteGroup(const Line& line, Account& account) {
    if (account.met.empty() || account.met.back().list != ListKind::kAll) return;
    account.groups.push_back({line.unsigned32(1), account.met.back().frame, line.numbers[2], line.unsigned32(4)});
}

}  // namespace

void Account::addStrategy(std::string_view strategy) {
    const auto& all = strategies;
    if (std::find(all.begin(), all.end(), strategy) == all.end()) strategies.emplace_back(strategy);
}

const std::vector<CatalogueEntry>& catalogue() {
    using Functions = std::vector<std::string_view>;
    static const Functions gate = {"isSelectorNeeded"};
    static const Functions driver = {"selectZSLFrames"};
    static const Functions searching = {kZeroDelay, kSnsc2};
    static const Functions grouping = {"selectFramesForLbmfAndHdr", "selectFramesForBinningAndHdr"};
    static const Functions checking = {"checkDesiredSensorMode"};
    static const Functions reading = {"operator()"};  // a lambda's name
    // clang-format off
    static const std::vector<CatalogueEntry> entries = {
        {'D', "disable motion zsl selector", gate,
         [](const Line&, Account& account) { account.disabled = true; }},
        {'D', "[ZSLSelector] %s finalNeedZSL: %d, isNeeded %d, forceOn: %d, hdrEnable: %d, hdrsrEnable: %d, "
              "motionStrategy: %d, isMotionBanding: %d", gate,
         [](const Line& line, Account& account) {
             const std::vector<int64_t>& all = line.numbers;
             account.gate = {all[0] != 0, all[1], all[2], all[3], all[4], all[5], all[6]};
         }},
        {'D', "[ZSLSelector] fwkFrame:%u no metaQueue, select finished", driver,
         [](const Line&, Account& account) { account.noMetaQueue = true; }, true},
        {'I', "[ZSLSelector] fwkFrame:%u [%s] Current Consumer list none", driver, noteList<&Account::consumer>, true},
        {'I', "[ZSLSelector] fwkFrame:%u [%s] Current Consumer list: %s", driver, noteList<&Account::consumer>, true},
        {'I', "[ZSLSelector] fwkFrame:%u [%s] Current Producer list none", driver, noteList<&Account::producer>},
        {'I', "[ZSLSelector] fwkFrame:%u [%s] Current Producer list: %s", driver, noteList<&Account::producer>},
        {'I', "sensor id:%d sensor mode: %d", driver,
         [](const Line& line, Account& account) { account.policy = {line.unsigned32(0), line.unsigned32(1)}; }},
        {'I', "<mc anchor pick> anchorTS:%ld, motionCapType:0x%x, reqtMasterId: %d, sensorModeType: %d, needZslNum: %d",
         driver,
         [](const Line& line, Account& account) {
             account.driver = {line.numbers[0], line.unsigned32(1), line.unsigned32(2), line.unsigned32(3),
                               line.unsigned32(4)};
         }},
        {'I', "[ZSLSelector] fwkFrame:%u zsdTs:%ld curTime:%ld", driver,
         [](const Line& line, Account& account) {
             account.targetNs = line.numbers[1];
             account.clockNs = line.numbers[2];
         }},
        {'I', "[ZSLSelector] fwkFrame:%u selectZSLFramesByZeroShutterDelay failed", driver,
         [](const Line&, Account& account) {
             account.fallback = true;
             account.addStrategy(kZeroDelay);
             account.addStrategy(kNormal);
         }},
        {'I', "[ZSLSelector] fwkFrame:%u Consumer list: %u shutter time:%ld", searching, noteMet<ListKind::kConsumer>},
        {'I', "[ZSLSelector] fwkFrame:%u Consumer list: %u ResultMetaTarget removed", searching,
         noteMet<ListKind::kConsumer>},
        {'I', "[ZSLSelector] fwkFrame:%u Producer list: %u shutter time:%ld ", searching, noteMet<ListKind::kProducer>},
        {'I', "[ZSLSelector] fwkFrame:%u allList: %u shutter time:%ld", grouping, noteMet<ListKind::kAll>},
        {'I', "[ZSLSelector] fwkFrame:%u index: %d, timeDiff: %ldtimeStampDiffMin: %ldbaseIndex:%d", grouping, noteGroup},
        {'I', "[ZSLSelector] fwkFrame:%u ZSLAnchor offset:%d csbegin:%d consumerQ[%s]", {kZeroDelay}, noteAnchor},
        {'I', "[ZSLSelector] fwkFrame:%u ZSLAnchor offset:%lu csbegin:%d consumerQ[%s]", {kSnsc2}, noteAnchor},
        {'D', "[ZSLSelector] fwkFrame:%u, cannot find zslFrame: %u in [%s], move begin to next", searching,
         [](const Line& line, Account& account) {
             account.notHeld.push_back({line.unsigned32(1), std::string(line.name)});
         }},
        {'D', "[ZSLSelector] fwkFrame:%u, Not enough frames to select.", {kNormal, kSnsc1, kSnsc2}},
        {'D', "[ZSLSelector] fwkFrame:%u, consumerSize: %d, fistConsumerFrameNum: %d", {kSnsc1}},
        {'D', "[ZSLSelector] consumer: finalList: %s", {kSnsc1}},
        {'I', "[ZSLSelector] before update fwkFrame:%u final Select list: %s", {kSnsc1},
         [](const Line& line, Account& account) { account.beforeThinning = line.frames; }},
        {'I', "[ZSLSelector] after update fwkFrame:%u final Select list: %s", {kSnsc1},
         [](const Line& line, Account& account) { account.afterThinning = line.frames; }},
        {'I', "[ZSLSelector] checkFrameNum = %d fwkFrameNum = %d  reqtMasterId = %d masterRoleId = %d AiHLFrameNum = %d "
              "this = %p", checking,
         [](const Line& line, Account& account) {
             account.check.role = line.signed32(3);
             account.check.aiHlFrames = line.signed32(4);
         }, true},
        {'D', "[ZSLSelector] fwkFrame:%u zslFrame: %u zslFrame perframeSensorMode:%d", checking,
         [](const Line& line, Account& account) { account.sensorModes[line.unsigned32(1)] = line.unsigned32(2); }},
        {'D', "[ZSLSelector] fwkFrame:%u zslFrame: %u get metaFrame failed perframeSensorMode = %d", checking,
         [](const Line& line, Account& account) { account.sensorModes[line.unsigned32(1)] = std::nullopt; }},
        {'D', "[ZSLSelector] get nexaro.ext.control.policy.sensorMode successful, desiredSensorMode = %d", reading,
         [](const Line& line, Account& account) {
             account.checkReadsMetadata = true;
             account.desiredMode = line.signed32(0);
         }},
        {'D', "[ZSLSelector] get nexaro.ext.control.policy.sensorMode failed, desiredSensorMode = %d", reading,
         [](const Line&, Account& account) { account.checkReadsMetadata = true; }},
        {'D', "[ZSLSelector] fwkFrame:%u zslFrame: %u reqestFrame reqDesiredSensorMode:%d", checking},
        {'D', "[ZSLSelector] checkDesiredSensorMode success!  fwkFrame:%u zslFrame: %u", checking},
        {'D', "[ZSLSelector] checkDesiredSensorMode fail!  fwkFrame:%u zslFrame: %u", checking},
    };
    // clang-format on
    return entries;
}

}  // namespace replay
