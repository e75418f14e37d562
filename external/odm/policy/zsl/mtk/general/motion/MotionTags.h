// What the motion selector reads from a request's metadata, and the capture moment that follows from it. Every read
// takes a null metadata object and an absent tag for "not set".

#pragma once

#include <cstdint>
#include <optional>

#include "api/ZSLFrameRecords.h"

namespace motion {

// The metadata that all request tags are read from; empty when the request brings none.
std::shared_ptr<ZoMetadata> requestMetadata(const zohal::ZSLFrameSelectInfo& selectInfo);

// What the gate decides on. Flags are bytes, as they stand in the metadata.
struct GateTags {
    uint8_t enableZsl = 0;
    bool forceOn = false;  // the motion-capture icon demands it
    uint8_t hdrEnable = 0;
    uint8_t hdrsrEnable = 0;
};
GateTags readGateTags(const ZoMetadata* metadata);

// What places a motion capture in time.
struct AnchorTags {
    int64_t anchorTS = 0;        // ns
    uint32_t motionCapType = 0;  // low byte 1: the capture is due some time after the anchor; bits 16 to 19: soon after
};
AnchorTags readAnchorTags(const ZoMetadata* metadata);

// The moment the picture is meant to show, in ns; 0 outside motion capture.
int64_t zeroShutterDelayTarget(const AnchorTags& tags);

// The sensor mode that the platform's seamless policy chose for one camera.
struct SeamlessPolicyEntry {
    uint32_t sensorId;
    uint32_t sensorMode;
};

// The policy's first entry for the camera; absent when the request has no policy result or it does not name the camera.
std::optional<SeamlessPolicyEntry> readSeamlessPolicy(const ZoMetadata* metadata, uint32_t masterId);

}  // namespace motion
