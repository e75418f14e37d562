#define LOG_TAG "ZoAlgoEngine"

#include "api/ZSLSelectorBase.h"

#include <optional>
#include <utility>

#include "api/MetadataValue.h"
#include "log/ZoLog.h"
#include "metadatautils/StaticMetadataWraper.h"

namespace zohal {

namespace {

constexpr uint32_t kSensorModeUnknown = 32;  // modes of the sensor policy are 4-bit values

// Payload of "com.nexaro.camera.sensorpolicy.mcxFrameresult", in 32-bit words.
constexpr size_t kMcxWordCount = 33;
constexpr size_t kMcxCameraId = 2;
constexpr size_t kMcxModeSelectMask = 4;

uint32_t mcxWord(const camera_metadata_ro_entry_t& mcxFrameresult, size_t word) {
    return valueAt<uint32_t>(mcxFrameresult, word * sizeof(uint32_t));
}

// Role slot k, 1 to 4, names its camera in word 8k. 5: no slot names the camera.
int cameraRole(const camera_metadata_ro_entry_t& mcxFrameresult) {
    const uint32_t cameraId = mcxWord(mcxFrameresult, kMcxCameraId);
    int role = 1;
    while (role <= 4 && mcxWord(mcxFrameresult, 8U * role) != cameraId) ++role;
    return role;
}

std::optional<int32_t> readSensorPolicyMask(uint32_t logicalId) {
    const std::shared_ptr<ZoMetadata> metadata = StaticMetadataWraper::getInstance()->getStaticMetadata(logicalId);
    return firstValue<int32_t>(metadata.get(), "com.nexaro.camera.sensorpolicy.mask");
}

}  // namespace

ZSLSelectorBase::ZSLSelectorBase() = default;
ZSLSelectorBase::~ZSLSelectorBase() = default;

int ZSLSelectorBase::preCheckFrame(std::vector<uint32_t>& /*zslFrames*/, int /*flags*/) { return 0; }

void ZSLSelectorBase::forEachZSLQ(const std::vector<std::shared_ptr<ZSLFrameQueue>>& queues,
                                  std::function<void(std::shared_ptr<ZSLFrameQueue>)> visit) {
    for (const auto& element : queues) {
        const std::shared_ptr<ZSLFrameQueue> queue = element;
        visit(queue);
    }
}

ZSLSelectorResult ZSLSelectorBase::checkDesiredSensorMode(const ZSLFrameCheckInfo& checkInfo) {
    if (mSensorPolicyMask == 0) {
        if (const std::optional<int32_t> mask = readSensorPolicyMask(checkInfo.logicalId)) {
            mSensorPolicyMask = *mask;
            ZSL_LOGD("[ZSLSelector] logicalId:%d, mSensorPolicyMask:%d", checkInfo.logicalId, mSensorPolicyMask);
        }
        if (mSensorPolicyMask == 0) {
            ZSL_LOGD("[ZSLSelector] not support sensor policy, skip sensor mode checking.");
            return {true, true};
        }
    }

    const std::shared_ptr<ZSLFrameQueue> frameInfoQueue = firstQueueOfType(checkInfo.zslQueues, kFrameInfoQueue);
    if (!frameInfoQueue) return {true, true};

    uint32_t zslMode = kSensorModeUnknown;
    if (const ZSLFrameEntry* entry = frameInfoQueue->getFrame(checkInfo.checkFrameNum)) {
        zslMode = entry->perframeSensorMode;
        ZSL_LOGD("[ZSLSelector] fwkFrame:%u zslFrame: %u zslFrame zoholder::sensorModetype:%d", checkInfo.fwkFrameNum,
                 checkInfo.checkFrameNum, zslMode);
    } else {
        ZSL_LOGD("[ZSLSelector] fwkFrame:%u zslFrame: %u get metaFrame failed", checkInfo.fwkFrameNum,
                 checkInfo.checkFrameNum);
    }

    // A lambda, so that its messages carry "operator()", the name that log filters know them by.
    const auto getDesiredSensorMode = [](std::shared_ptr<ZoMetadata> requestMeta) -> uint32_t {
        camera_metadata_ro_entry_t mcxFrameresult{};
        if (requestMeta) mcxFrameresult = requestMeta->find("com.nexaro.camera.sensorpolicy.mcxFrameresult");
        if (payloadSize(mcxFrameresult) < kMcxWordCount * sizeof(uint32_t)) {
            ZSL_LOGD("[ZSLSelector] not find mcxFrameresult");
            return kSensorModeUnknown;
        }
        // The mask has four bits for each role, those of role 1 lowest. A camera without a role reads those of role 2.
        const int cameraRoleType = cameraRole(mcxFrameresult);
        const int modeOffset = cameraRoleType <= 4 ? 4 * (cameraRoleType - 1) : 4;
        const uint32_t modeSelectMask = mcxWord(mcxFrameresult, kMcxModeSelectMask);
        const uint32_t sensorModetype = (modeSelectMask >> modeOffset) & 0xF;
        ZSL_LOGD(
            "[ZSLSelector] getDesiredSensorMode cameraRoleType:%d modeSelectMask:0x%x modeOffset:%d sensorModetype%d",
            cameraRoleType, modeSelectMask, modeOffset, sensorModetype);
        return sensorModetype;
    };
    const uint32_t reqMode = getDesiredSensorMode(checkInfo.requestMeta);
    ZSL_LOGD("[ZSLSelector] fwkFrame:%u zslFrame: %u reqestFrame zoholder::sensorModetype:%d", checkInfo.fwkFrameNum,
             checkInfo.checkFrameNum, reqMode);

    if (reqMode == kSensorModeUnknown || zslMode == kSensorModeUnknown || reqMode != zslMode) {
        ZSL_LOGD("[ZSLSelector] checkDesiredSensorMode fail!  fwkFrame:%u zslFrame: %u", checkInfo.fwkFrameNum,
                 checkInfo.checkFrameNum);
        return {false, true};
    }
    ZSL_LOGD("[ZSLSelector] checkDesiredSensorMode success!  fwkFrame:%u zslFrame: %u", checkInfo.fwkFrameNum,
             checkInfo.checkFrameNum);
    return {true, true};
}

}  // namespace zohal
