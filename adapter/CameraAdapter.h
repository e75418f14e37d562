// The part of the platform adapter library's interface that this library uses: the object behind its exported entry
// "GetInstance" and the holder that answers platform queries. Only the order of the operations is contract. The objects
// belong to the adapter library, so neither class is destroyed through these declarations.

#pragma once

#include <cstdint>
#include <memory>

namespace adapter {

class PlatformInfoHolder {
public:
    // Writes the platform's information word; bits 8 to 11 are the motion strategy (0 to 15). May leave it untouched.
    virtual int GetMotionInfo(uint32_t* info) = 0;

protected:
    ~PlatformInfoHolder() = default;
};

}  // namespace adapter

class CameraAdapter {
public:
    // To be called once, before anything else.
    virtual int Init() = 0;

    // The current holder; empty when the platform has nothing to say.
    virtual std::shared_ptr<adapter::PlatformInfoHolder> GetPlatformInfoHolder() = 0;

protected:
    ~CameraAdapter() = default;
};

// Signature of "GetInstance"; null when the adapter is not available. The adapter library keeps the object.
using GetCameraAdapter = CameraAdapter*();
