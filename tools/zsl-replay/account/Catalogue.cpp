#include "account/Catalogue.h"

#include <algorithm>

#include "capture/Text.h"

namespace replay {

namespace {

constexpr char kZeroDelay[] = "selectZSLFramesForZeroShutterDelay";
constexpr char kNormal[] = "selectZSLFramesForNormal";
constexpr char kSnsc1[] = "selectZSLFramesForSNSCBinning1";
constexpr char kSnsc2[] = "selectZSLFramesForSNSCBinning2";

using Line = MatchedLine;

// The numbers of "5 17 "; where the line is cut, those that are whole. Nothing where the text holds anything else.
std::optional<FrameList> parseFrames(std::string_view text, bool whole) {
    if (!whole) text = text.substr(0, text.rfind(' ') + 1);  // npos + 1 is 0
    FrameList frames;
    while (!text.empty()) {
        const size_t blank = std::min(text.find(' '), text.size());
        uint32_t frame = 0;
        if (!parseNumber(text.substr(0, blank), frame)) return std::nullopt;
        frames.push_back(frame);
        text.remove_prefix(std::min(blank + 1, text.size()));
    }
    return frames;
}

// Reads the list that ends a line; one that is cut as far as it goes.
std::optional<FrameList> listIn(const Line& line, size_t field, const std::string& name, Account& account) {
    const auto list = parseFrames(line[field].text, line.isWhole);
    if (!list) {
        account.unread.push_back("the " + name + " list can't be read");
    } else if (!line.isWhole) {
        account.unread.push_back("the " + name + " list is cut after " + std::to_string(list->size()) + " frames");
    }
    return list;
}

std::optional<FrameList> queueList(const Line& line, const char* name, Account& account) {
    account.queueName = line[1].text;
    const bool isNone = line.isWhole && line.fieldCount == 2;
    return isNone ? FrameList() : listIn(line, 2, name, account);
}

void noteMet(ListKind list, const Line& line, Account& account) {
    const bool isHeld = line.fieldCount > 2;
    account.met.push_back({list, line[1].unsigned32(), isHeld ? std::optional(line[2].number) : std::nullopt});
}

// A group is judged by the reference frame of the line before.
void noteGroup(const Line& line, Account& account) {
    if (account.met.empty() || account.met.back().list != ListKind::kAll) {
        account.unread.push_back("the reference frame of the group at position " + std::string(line[1].text));
        return;
    }
    const FrameMet& reference = account.met.back();
    account.groups.push_back(
        {line[1].unsigned32(), reference.frame, *reference.shutterTimeNs, line[2].number, line[4].unsigned32()});
}

void noteConsumer(const Line& line, Account& account) { account.consumer = queueList(line, "Consumer", account); }

void noteProducer(const Line& line, Account& account) { account.producer = queueList(line, "Producer", account); }

void noteConsumerMet(const Line& line, Account& account) { noteMet(ListKind::kConsumer, line, account); }

void noteAnchor(const Line& line, Account& account) { account.anchor = {line[1].number, line[2].unsigned32()}; }

}  // namespace

void addStrategy(Account& account, std::string_view strategy) {
    auto& all = account.strategies;
    if (std::find(all.begin(), all.end(), strategy) == all.end()) all.emplace_back(strategy);
}

const std::vector<CatalogueEntry>& catalogue() {
    using Functions = std::vector<std::string_view>;
    const Functions gate = {"isSelectorNeeded"};
    const Functions driver = {"selectZSLFrames"};
    const Functions searching = {kZeroDelay, kSnsc2};
    const Functions grouping = {"selectFramesForLbmfAndHdr", "selectFramesForBinningAndHdr"};
    const Functions checking = {"checkDesiredSensorMode"};
    const Functions wanted = {"operator()"};  // a lambda's name
    // clang-format off
    static const std::vector<CatalogueEntry> entries = {
        {'D', "disable motion zsl selector", gate,
         [](const Line&, Account& account) { account.disabled = true; }},
        {'D', "[ZSLSelector] %s finalNeedZSL: %d, isNeeded %d, forceOn: %d, hdrEnable: %d, hdrsrEnable: %d, "
              "motionStrategy: %d, isMotionBanding: %d", gate,
         [](const Line& line, Account& account) {
             account.gate = {line[1].number != 0, line[2].number, line[3].number, line[4].number,
                             line[5].number,      line[6].number, line[7].number};
         }},
        {'D', "[ZSLSelector] fwkFrame:%u no metaQueue, select finished", driver,
         [](const Line&, Account& account) { account.noMetaQueue = true; }, nullptr, true},
        {'I', "[ZSLSelector] fwkFrame:%u [%s] Current Consumer list none", driver, noteConsumer, nullptr, true},
        {'I', "[ZSLSelector] fwkFrame:%u [%s] Current Consumer list: %s", driver, noteConsumer, nullptr, true},
        {'I', "[ZSLSelector] fwkFrame:%u [%s] Current Producer list none", driver, noteProducer},
        {'I', "[ZSLSelector] fwkFrame:%u [%s] Current Producer list: %s", driver, noteProducer},
        {'I', "sensor id:%d sensor mode: %d", driver,
         [](const Line& line, Account& account) {
             account.policy = {line[0].unsigned32(), line[1].unsigned32()};
         }},
        {'I', "<mc anchor pick> anchorTS:%ld, motionCapType:0x%x, reqtMasterId: %d, sensorModeType: %d, needZslNum: %d",
         driver,
         [](const Line& line, Account& account) {
             account.driver = {line[0].number, line[1].unsigned32(), line[2].unsigned32(), line[3].unsigned32(),
                               line[4].unsigned32()};
         }},
        {'I', "[ZSLSelector] fwkFrame:%u zsdTs:%ld curTime:%ld", driver,
         [](const Line& line, Account& account) {
             account.targetNs = line[1].number;
             account.clockNs = line[2].number;
         }},
        {'I', "[ZSLSelector] fwkFrame:%u selectZSLFramesByZeroShutterDelay failed", driver,
         [](const Line&, Account& account) {
             account.fallback = true;
             addStrategy(account, kZeroDelay);
             addStrategy(account, kNormal);
         }},
        {'I', "[ZSLSelector] fwkFrame:%u Consumer list: %u shutter time:%ld", searching, noteConsumerMet},
        {'I', "[ZSLSelector] fwkFrame:%u Consumer list: %u ResultMetaTarget removed", searching, noteConsumerMet},
        {'I', "[ZSLSelector] fwkFrame:%u Producer list: %u shutter time:%ld ", searching,
         [](const Line& line, Account& account) { noteMet(ListKind::kProducer, line, account); }},
        {'I', "[ZSLSelector] fwkFrame:%u allList: %u shutter time:%ld", grouping,
         [](const Line& line, Account& account) { noteMet(ListKind::kAll, line, account); }},
        {'I', "[ZSLSelector] fwkFrame:%u index: %d, timeDiff: %ldtimeStampDiffMin: %ldbaseIndex:%d", grouping, noteGroup},
        {'I', "[ZSLSelector] fwkFrame:%u ZSLAnchor offset:%d csbegin:%d consumerQ[%s]", {kZeroDelay}, noteAnchor},
        {'I', "[ZSLSelector] fwkFrame:%u ZSLAnchor offset:%lu csbegin:%d consumerQ[%s]", {kSnsc2}, noteAnchor},
        {'D', "[ZSLSelector] fwkFrame:%u, cannot find zslFrame: %u in [%s], move begin to next", searching,
         [](const Line& line, Account& account) {
             account.notHeld.push_back({line[1].unsigned32(), std::string(line[2].text)});
         }},
        {'D', "[ZSLSelector] fwkFrame:%u, Not enough frames to select.", {kNormal, kSnsc1, kSnsc2}},
        {'D', "[ZSLSelector] fwkFrame:%u, consumerSize: %d, fistConsumerFrameNum: %d", {kSnsc1}},
        {'D', "[ZSLSelector] consumer: finalList: %s", {kSnsc1}},
        {'I', "[ZSLSelector] before update fwkFrame:%u final Select list: %s", {kSnsc1},
         [](const Line& line, Account& account) {
             const auto list = listIn(line, 1, "span's", account);
             if (line.isWhole) account.beforeThinning = list;
         }},
        {'I', "[ZSLSelector] after update fwkFrame:%u final Select list: %s", {kSnsc1},
         [](const Line& line, Account& account) {
             const auto list = listIn(line, 1, "thinned", account);
             if (line.isWhole) account.afterThinning = list;
         }},
        {'I', "[ZSLSelector] checkFrameNum = %d fwkFrameNum = %d  reqtMasterId = %d masterRoleId = %d AiHLFrameNum = %d "
              "this = %p", checking, nullptr,
         [](const Line& line, CheckAccount& check) {
             check.frame = line[0].unsigned32();
             check.role = line[3].signed32();
             check.aiHlFrames = line[4].signed32();
         }, true},
        {'D', "[ZSLSelector] fwkFrame:%u zslFrame: %u zslFrame perframeSensorMode:%d", checking, nullptr,
         [](const Line& line, CheckAccount& check) { check.mode = line[2].unsigned32(); }},
        {'D', "[ZSLSelector] fwkFrame:%u zslFrame: %u get metaFrame failed perframeSensorMode = %d", checking, nullptr,
         [](const Line&, CheckAccount& check) { check.held = false; }},
        {'D', "[ZSLSelector] get nexaro.ext.control.policy.sensorMode successful, desiredSensorMode = %d", wanted, nullptr,
         [](const Line& line, CheckAccount& check) { check.wanted = line[0].signed32(); }},
        {'D', "[ZSLSelector] get nexaro.ext.control.policy.sensorMode failed, desiredSensorMode = %d", wanted},
        {'D', "[ZSLSelector] fwkFrame:%u zslFrame: %u reqestFrame reqDesiredSensorMode:%d", checking},
        {'D', "[ZSLSelector] checkDesiredSensorMode success!  fwkFrame:%u zslFrame: %u", checking},
        {'D', "[ZSLSelector] checkDesiredSensorMode fail!  fwkFrame:%u zslFrame: %u", checking},
    };
    // clang-format on
    return entries;
}

}  // namespace replay
