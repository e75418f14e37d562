#include "adapter/AdapterClient.h"

#include <dlfcn.h>

namespace adapter {

namespace {

constexpr char kAdapterLibrary[] = "/vendor/lib64/libzocamera_adapter.so";
constexpr char kAdapterEntry[] = "GetInstance";

}  // namespace

AdapterClient& AdapterClient::getInstance() {
    static AdapterClient gAdapterClient;
    return gAdapterClient;
}

AdapterClient::AdapterClient() { Load(); }

AdapterClient::~AdapterClient() {
    if (mHandle != nullptr) {
        dlclose(mHandle);
        mHandle = nullptr;
    }
    mLoadState = 0;
}

int AdapterClient::Load() {
    if (mLoadState > 0) return 0;

    // Not loaded implies no handle: it is kept only together with the loaded state.
    void* const library = dlopen(kAdapterLibrary, RTLD_NOW | RTLD_GLOBAL);
    if (library == nullptr) return -1;
    // Nothing closes the library while an exception of its passes: type and code of the exception may be the library's
    // own, and are needed until the HAL core is done with it. The opening is given up instead.
    auto* const getInstance = reinterpret_cast<GetCameraAdapter*>(dlsym(library, kAdapterEntry));
    CameraAdapter* const instance = getInstance != nullptr ? getInstance() : nullptr;
    if (instance == nullptr) {
        dlclose(library);
        return -1;
    }

    instance->Init();
    mHandle = library;
    mInstance = instance;
    mLoadState = 1;
    return 0;
}

std::shared_ptr<PlatformInfoHolder> AdapterClient::getPlatformInfoHolder() {
    Load();
    if (mInstance == nullptr) return nullptr;
    return mInstance->GetPlatformInfoHolder();
}

}  // namespace adapter
