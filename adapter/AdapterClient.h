// The process's one client of the platform adapter library, which this library opens at run time and does not link.
//
// The adapter library is opened when the instance is first asked for, and again by every getPlatformInfoHolder() until
// it has been opened: an adapter that comes late is found. It stays open until this library is unloaded. No lock is
// taken: calls must not overlap with a load in progress.

#pragma once

#include <cstdint>
#include <memory>

#include "adapter/CameraAdapter.h"

namespace adapter {

class AdapterClient {
public:
    // The instance. What the adapter's Init() throws passes through, and the next call tries again.
    static AdapterClient& getInstance();

    AdapterClient(const AdapterClient&) = delete;
    AdapterClient& operator=(const AdapterClient&) = delete;
    ~AdapterClient();

    // Opens the adapter library if it is not open yet: 0 when it is open now, -1 when it can't be had (missing, without
    // its entry, or not available). Whatever goes wrong after it was opened, it is closed again.
    int Load();

    // The platform's holder, empty when there is no adapter. Asks the adapter anew on every call.
    std::shared_ptr<PlatformInfoHolder> getPlatformInfoHolder();

private:
    AdapterClient();

    void* mHandle = nullptr;             // of the dynamic loader
    CameraAdapter* mInstance = nullptr;  // the adapter library's
    int32_t mLoadState = 0;              // loaded while greater than 0
};

}  // namespace adapter
