#define LOG_TAG "ZoAlgoEngine"

#include "external/odm/policy/zsl/mtk/ZSLSelectorExt.h"

#include <optional>

#include "api/MetadataValue.h"
#include "log/ZoLog.h"

namespace {

constexpr int32_t kNoSensorMode = -1;  // of a frame without an entry, and of a request that names none

}  // namespace

ZSLSelectorExt::ZSLSelectorExt() = default;
ZSLSelectorExt::~ZSLSelectorExt() = default;

bool ZSLSelectorExt::isSelectorNeeded(const zohal::ZSLFrameSelectInfo& /*selectInfo*/) { return false; }

zohal::ZSLSelectorResult ZSLSelectorExt::checkFrame(const zohal::ZSLFrameCheckInfo& /*checkInfo*/) {
    return {true, true};
}

zohal::SelectionResult ZSLSelectorExt::selectZSLFrames(const zohal::ZSLFrameSelectInfo& /*selectInfo*/) { return {}; }

zohal::ZSLSelectorResult ZSLSelectorExt::checkDesiredSensorMode(const zohal::ZSLFrameCheckInfo& checkInfo) {
    ZSL_LOGI(
        "[ZSLSelector] checkFrameNum = %d fwkFrameNum = %d  reqtMasterId = %d masterRoleId = %d AiHLFrameNum = %d "
        "this = %p",
        checkInfo.checkFrameNum, checkInfo.fwkFrameNum, checkInfo.reqtMasterId, checkInfo.masterRoleId,
        checkInfo.AiHLFrameNum, static_cast<void*>(this));

    const auto frameInfoQueue = zohal::firstQueueOfType(checkInfo.zslQueues, zohal::kFrameInfoQueue);
    if (!frameInfoQueue) return {false, false};

    int32_t perframeSensorMode = kNoSensorMode;
    if (const zohal::ZSLFrameEntry* entry = frameInfoQueue->getFrame(checkInfo.checkFrameNum)) {
        perframeSensorMode = static_cast<int32_t>(entry->perframeSensorMode);
        ZSL_LOGD("[ZSLSelector] fwkFrame:%u zslFrame: %u zslFrame perframeSensorMode:%d", checkInfo.fwkFrameNum,
                 checkInfo.checkFrameNum, perframeSensorMode);
    } else {
        ZSL_LOGD("[ZSLSelector] fwkFrame:%u zslFrame: %u get metaFrame failed perframeSensorMode = %d",
                 checkInfo.fwkFrameNum, checkInfo.checkFrameNum, perframeSensorMode);
    }

    // A lambda, so that its messages carry "operator()", the name that log filters know them by.
    const auto getDesiredSensorMode = [](std::shared_ptr<ZoMetadata> requestMeta) -> int32_t {
        if (!requestMeta) return kNoSensorMode;
        const std::optional<int32_t> desiredSensorMode =
            zohal::firstValue<int32_t>(requestMeta.get(), "com.nexaro.ext.control.policy.sensorMode");
        if (desiredSensorMode) {
            ZSL_LOGD("[ZSLSelector] get nexaro.ext.control.policy.sensorMode successful, desiredSensorMode = %d",
                     *desiredSensorMode);
            return *desiredSensorMode;
        }
        ZSL_LOGD("[ZSLSelector] get nexaro.ext.control.policy.sensorMode failed, desiredSensorMode = %d",
                 kNoSensorMode);
        return kNoSensorMode;
    };
    const int32_t reqDesiredSensorMode = getDesiredSensorMode(checkInfo.requestMeta);
    ZSL_LOGD("[ZSLSelector] fwkFrame:%u zslFrame: %u reqestFrame reqDesiredSensorMode:%d", checkInfo.fwkFrameNum,
             checkInfo.checkFrameNum, reqDesiredSensorMode);

    if (perframeSensorMode == reqDesiredSensorMode) {
        ZSL_LOGD("[ZSLSelector] checkDesiredSensorMode success!  fwkFrame:%u zslFrame: %u", checkInfo.fwkFrameNum,
                 checkInfo.checkFrameNum);
        return {true, true};
    }
    ZSL_LOGD("[ZSLSelector] checkDesiredSensorMode fail!  fwkFrame:%u zslFrame: %u", checkInfo.fwkFrameNum,
             checkInfo.checkFrameNum);
    return {false, false};
}
