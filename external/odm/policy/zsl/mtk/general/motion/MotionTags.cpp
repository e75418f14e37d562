#include "external/odm/policy/zsl/mtk/general/motion/MotionTags.h"

#include <algorithm>
#include <limits>

namespace motion {

using zohal::firstValue;

namespace {

constexpr double kDelayNs = 60e6;
constexpr double kShortDelayNs = 30e6;

// "nexaro.camera.zoseamlesspolicy.result" is a row of records in host byte order. Offsets and sizes in bytes.
constexpr size_t kPolicyRecords = 4;
constexpr size_t kPolicyRecordSize = 52;
constexpr size_t kPolicySensorId = 0;
constexpr size_t kPolicySensorMode = 40;

// What the device's conversion instruction does, spelled out: beyond the range it saturates. A delay is never negative,
// so there is no such sum below the range.
int64_t toNanoseconds(double ns) {
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (ns >= kTwoTo63) return std::numeric_limits<int64_t>::max();
    return static_cast<int64_t>(ns);
}

}  // namespace

std::shared_ptr<ZoMetadata> requestMetadata(const zohal::ZSLFrameSelectInfo& selectInfo) {
    return selectInfo.requestMetas.empty() ? nullptr : selectInfo.requestMetas.front();
}

AnchorTags readAnchorTags(const ZoMetadata* metadata) {
    AnchorTags tags;
    tags.anchorTS = firstValue<int64_t>(metadata, "nexaro.mfnr.anchorTimeStamp").value_or(0);
    tags.motionCapType = firstValue<uint32_t>(metadata, "nexaro.ai.zosd.motionCaptureType").value_or(0);
    return tags;
}

int64_t zeroShutterDelayTarget(const AnchorTags& tags) {
    if ((tags.motionCapType & 0xFF) != 1) return 0;
    // The sum is formed in double precision: above 2^53 the target is a rounded one.
    const double delay = (tags.motionCapType & 0xF0000) != 0 ? kShortDelayNs : kDelayNs;
    return toNanoseconds(static_cast<double>(tags.anchorTS) + delay);
}

std::optional<uint32_t> readSeamlessSensorMode(const ZoMetadata* metadata, uint32_t sensorId) {
    if (metadata == nullptr) return std::nullopt;
    const camera_metadata_ro_entry_t policy = metadata->find("nexaro.camera.zoseamlesspolicy.result");
    const size_t payload = std::min(zohal::payloadSize(policy), kPolicyRecords * kPolicyRecordSize);
    for (size_t record = 0; record + kPolicyRecordSize <= payload; record += kPolicyRecordSize) {
        if (zohal::valueAt<uint32_t>(policy, record + kPolicySensorId) == sensorId) {
            return zohal::valueAt<uint32_t>(policy, record + kPolicySensorMode);
        }
    }
    return std::nullopt;
}

}  // namespace motion
