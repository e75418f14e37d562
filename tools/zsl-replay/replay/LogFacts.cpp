#include "replay/LogFacts.h"

#include <algorithm>
#include <utility>

#include "capture/Metadata.h"
#include "capture/Text.h"

namespace replay {

namespace {

constexpr char kSensorMode[] = "com.nexaro.ext.control.policy.sensorMode";
constexpr char kSeamlessPolicy[] = "nexaro.camera.zoseamlesspolicy.result";
constexpr int64_t kMostFramesNeeded = 10'000;  // frames; a guard against damaged lines

}  // namespace

void setTag(Tags& tags, const char* tag, int64_t value) {
    if (value != 0) tags[tag] = tagValue(tag, value);
}

// Reads "... Current <name> list: 1 2 3 "; a number that the log has cut is left out.
bool LogFacts::readList(std::string_view text, bool cut, const std::string& name, std::optional<FrameList>& list) {
    const std::string key = "[ZSLSelector] fwkFrame:% [%] Current " + name + " list";
    auto runs = match(key + " none", text);
    if (runs) {
        list = FrameList();
    } else if ((runs = match(key + ": %", text))) {
        std::string numbers((*runs)[2]);
        if (cut) numbers.resize(numbers.rfind(' ') + 1);                // npos + 1 is 0
        if (!numbers.empty() && numbers.back() != ' ') numbers += ' ';  // lost where the log was copied
        list = parseFrames(numbers);
        if (!list) gaps.push_back("the " + name + " list can't be read");
        if (list && cut)
            gaps.push_back("the " + name + " list is cut after " + std::to_string(list->size()) + " frames");
    }
    if (runs) queueName = (*runs)[1];
    return runs.has_value();
}

// A number out of its range is cut to it: that its line does not come out again tells.
void LogFacts::readSelection(const LoggedLine& line) {
    const Message message = *splitMessage(line.message);
    gather(message, facts);
    if (readList(message.text, line.cut, "Consumer", consumer) ||
        readList(message.text, line.cut, "Producer", producer))
        return;

    Tags& tags = *request.metadata;
    const std::string_view text = message.text.substr(0, message.text.find_last_not_of(' ') + 1);
    if (match("[ZSLSelector] fwkFrame:% no metaQueue, select finished", text)) noMetaQueue = true;
    if (const auto v = matchNumbers("sensor id:% sensor mode: %", text)) {
        tags[kSeamlessPolicy] = seamlessPolicy({{static_cast<uint32_t>((*v)[0]), static_cast<uint32_t>((*v)[1])}});
    }
    if (const auto v = matchNumbers(
            "<mc anchor pick> anchorTS:%, motionCapType:%, reqtMasterId: %, sensorModeType: %, needZslNum: %", text)) {
        setTag(*request.metadata, "nexaro.mfnr.anchorTimeStamp", (*v)[0]);
        setTag(*request.metadata, "nexaro.ai.zosd.motionCaptureType", (*v)[1]);
        request.master = static_cast<uint32_t>((*v)[2]);
        if ((*v)[3] != 0)
            tags.emplace(kSeamlessPolicy, seamlessPolicy({{request.master, static_cast<uint32_t>((*v)[3])}}));
        request.need = static_cast<uint32_t>(std::clamp<int64_t>((*v)[4], 0, kMostFramesNeeded));
    }
    if (const auto v = matchNumbers("[ZSLSelector] fwkFrame:% zsdTs:% curTime:%", text)) request.clockNs = (*v)[2];
    if (message.function == "isSelectorNeeded" || message.function == "selectZSLFrames") return;
    strategy = message.function;
    readSearch(text);
}

void LogFacts::readSearch(std::string_view text) {
    FrameList none;
    for (const auto& [list, met] : {std::pair("Consumer list", &consumerMet), std::pair("Producer list", &producerMet),
                                    std::pair("allList", &none)}) {
        const std::string key = std::string("[ZSLSelector] fwkFrame:% ") + list + ": %";
        const auto time = matchNumbers(key + " shutter time:%", text);
        const auto gone = matchNumbers(key + " ResultMetaTarget removed", text);
        if (!time && !gone) continue;
        const auto frame = static_cast<uint32_t>((time ? *time : *gone)[1]);
        if (met->empty() || met->back() != frame) met->push_back(frame);
        if (time) times[frame] = (*time)[2];
        if (gone) removed.insert(frame);
    }
    uint32_t frame = 0;
    const auto runs = match("[ZSLSelector] fwkFrame:%, cannot find zslFrame: % in [%], move begin to next", text);
    if (!runs || !parseNumber((*runs)[1], frame)) return;
    // What the metadata queue is seen to hold is lost by another queue of its name.
    if ((*runs)[2] == queueName && times.count(frame) == 0) {
        removed.insert(frame);
    } else {
        notFound[std::string((*runs)[2])].insert(frame);
    }
}

void LogFacts::readCheck(const LoggedRequest::Check& check) {
    std::optional<uint32_t>& mode = modes[check.frame] = 0;
    for (const LoggedLine& line : check.lines) {
        const std::string_view text = splitMessage(line.message)->text;
        if (const auto v = checkBegin(text)) {
            request.check.role = static_cast<int32_t>((*v)[3]);
            request.check.aiHlFrames = static_cast<int32_t>((*v)[4]);
        }
        if (const auto v = matchNumbers("[ZSLSelector] fwkFrame:% zslFrame: % zslFrame perframeSensorMode:%", text)) {
            mode = static_cast<uint32_t>((*v)[2]);
        }
        if (text.find("get metaFrame failed") != std::string_view::npos) mode.reset();
        if (const auto v = matchNumbers(
                "[ZSLSelector] get nexaro.ext.control.policy.sensorMode successful, desiredSensorMode = %", text)) {
            (*request.metadata)[kSensorMode] = tagValue(kSensorMode, (*v)[0]);
        }
    }
}

}  // namespace replay
