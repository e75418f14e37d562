// What the motion selector reads from a request's metadata, and the target moment that follows from it. Every read
// takes a null metadata object and an absent tag for "not set".

#pragma once

#include <cstdint>
#include <optional>

#include "api/MetadataValue.h"
#include "api/ZSLFrameRecords.h"

namespace motion {

// The metadata that all request tags are read from; empty when the request brings none.
std::shared_ptr<ZoMetadata> requestMetadata(const zohal::ZSLFrameSelectInfo& selectInfo);

// First byte of a tag, whatever its declared type; 0 when it is absent.
template <typename Tag>
uint8_t readByte(const ZoMetadata* metadata, Tag tag) {
    return zohal::firstValue<uint8_t>(metadata, tag).value_or(0);
}

// What places a motion capture in time.
struct AnchorTags {
    int64_t anchorTS = 0;        // ns
    uint32_t motionCapType = 0;  // low byte 1: the capture is due some time after the anchor; bits 16 to 19: soon after
};
AnchorTags readAnchorTags(const ZoMetadata* metadata);

// The target moment (zsdTs): what the picture is meant to show, in ns; 0 outside motion capture.
int64_t zeroShutterDelayTarget(const AnchorTags& tags);

// The sensor mode that the platform's seamless policy chose for a camera, the first of its records that names it;
// absent when none does.
std::optional<uint32_t> readSeamlessSensorMode(const ZoMetadata* metadata, uint32_t sensorId);

}  // namespace motion
