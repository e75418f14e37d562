#include "account/Messages.h"

#include "capture/Text.h"

namespace replay {

std::optional<std::vector<std::string_view>> match(std::string_view pattern, std::string_view text) {
    std::vector<std::string_view> runs;
    while (!pattern.empty()) {
        const size_t hole = pattern.find('%');
        if (text.substr(0, hole) != pattern.substr(0, hole)) return std::nullopt;
        if (hole == std::string_view::npos) return text == pattern ? std::optional(runs) : std::nullopt;
        text.remove_prefix(hole);
        pattern.remove_prefix(hole + 1);
        const std::string_view literal = pattern.substr(0, pattern.find('%'));
        // The last literal is looked for from the end, so that "[%]" takes brackets in its run.
        const bool last = literal.size() == pattern.size();
        const size_t end = literal.empty() ? text.size() : last ? text.rfind(literal) : text.find(literal);
        if (end == std::string_view::npos) return std::nullopt;
        runs.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return text.empty() ? std::optional(runs) : std::nullopt;
}

std::optional<FrameList> parseFrames(std::string_view text) {
    FrameList frames;
    while (!text.empty()) {
        const size_t blank = text.find(' ');
        uint32_t frame = 0;
        if (blank == std::string_view::npos || !parseNumber(text.substr(0, blank), frame)) return std::nullopt;
        frames.push_back(frame);
        text.remove_prefix(blank + 1);
    }
    return frames;
}

std::optional<std::vector<int64_t>> matchNumbers(std::string_view pattern, std::string_view text) {
    const auto runs = match(pattern, text);
    if (!runs) return std::nullopt;
    std::vector<int64_t> numbers;
    for (const std::string_view run : *runs) {
        int64_t number = 0;
        uint64_t large = 0;
        if (!parseNumber(run, number)) {
            if (!parseNumber(run, large)) return std::nullopt;
            number = static_cast<int64_t>(large);
        }
        numbers.push_back(number);
    }
    return numbers;
}

void gather(const Message& message, Facts& facts) {
    const std::string_view text = message.text;
    if (text == "disable motion zsl selector") facts.disabled = true;
    if (const auto gate = match("[ZSLSelector] % finalNeedZSL: %", text)) {
        const auto v = matchNumbers(
            "%, isNeeded %, forceOn: %, hdrEnable: %, hdrsrEnable: %, motionStrategy: %, isMotionBanding: %",
            (*gate)[1]);
        if (v) facts.gate = {(*v)[0] != 0, (*v)[1], (*v)[2], (*v)[3], (*v)[4], (*v)[5], (*v)[6]};
    }
    if (const auto v = matchNumbers(
            "<mc anchor pick> anchorTS:%, motionCapType:%, reqtMasterId: %, sensorModeType: %, needZslNum: %", text)) {
        facts.anchorTimestampNs = (*v)[0];
    }
    if (const auto v = matchNumbers("[ZSLSelector] fwkFrame:% zsdTs:% curTime:%", text)) facts.targetNs = (*v)[1];
    for (const char* pattern : {"[ZSLSelector] fwkFrame:% Consumer list: % shutter time:%",
                                "[ZSLSelector] fwkFrame:% Producer list: % shutter time:% ",
                                "[ZSLSelector] fwkFrame:% allList: % shutter time:%"}) {
        if (const auto v = matchNumbers(pattern, text)) {
            facts.shutterTimes.push_back({static_cast<uint32_t>((*v)[1]), (*v)[2]});
        }
    }
    if (const auto v =
            matchNumbers("[ZSLSelector] fwkFrame:% index: %, timeDiff: %timeStampDiffMin: %baseIndex:%", text);
        v && !facts.shutterTimes.empty()) {
        facts.groups.push_back(
            {static_cast<uint32_t>((*v)[1]), facts.shutterTimes.back(), (*v)[2], static_cast<uint32_t>((*v)[4])});
    }
    if (const auto runs = match("[ZSLSelector] fwkFrame:% ZSLAnchor offset:% csbegin:% consumerQ[%]", text)) {
        if (const auto offset = matchNumbers("%", (*runs)[1]); offset && !facts.shutterTimes.empty()) {
            facts.anchorOffset = offset->front();
        }
    }
    if (const auto runs = match("[ZSLSelector] before update fwkFrame:% final Select list: %", text)) {
        facts.beforeThinning = parseFrames((*runs)[1]);
    }
    if (const auto runs = match("[ZSLSelector] after update fwkFrame:% final Select list: %", text)) {
        facts.afterThinning = parseFrames((*runs)[1]);
    }
}

}  // namespace replay
