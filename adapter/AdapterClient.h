// The process's one client of the platform adapter library, which this library opens at run time and does not link.
//
// The adapter library is opened when the instance is first asked for, and again by every getPlatformInfoHolder() until
// it has been opened: an adapter that comes late is found. It stays open until this library is unloaded. No lock is
// taken: calls must not overlap with a load in progress, so the HAL core makes no two gate calls at once, on whatever
// selectors, until one has found the adapter.

#pragma once

#include <cstdint>
#include <memory>

#include "adapter/CameraAdapter.h"

namespace adapter {

class AdapterClient {
public:
    // The instance, made by the first call. What the adapter throws meanwhile passes, and the next call makes it anew.
    static AdapterClient& getInstance();

    AdapterClient(const AdapterClient&) = delete;
    AdapterClient& operator=(const AdapterClient&) = delete;
    ~AdapterClient();

    // Opens the adapter library if it is not open yet: 0 when it is open now, -1 when it can't be had (missing, without
    // its entry, or not available); it is closed again then. What its entry or Init() throws passes: the library stays
    // mapped from then on, since the exception may live in it, and the next call opens it again.
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
