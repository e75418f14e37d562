#include "adapter/AdapterClient.h"

#include <dlfcn.h>

namespace adapter {

namespace {

constexpr char kAdapterLibrary[] = "/vendor/lib64/libzocamera_adapter.so";
constexpr char kAdapterEntry[] = "GetInstance";

struct CloseLibrary {
    void operator()(void* handle) const { dlclose(handle); }
};
using LibraryHandle = std::unique_ptr<void, CloseLibrary>;

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

    // Not loaded implies not open: a handle is kept only together with the loaded state.
    LibraryHandle library(dlopen(kAdapterLibrary, RTLD_NOW | RTLD_GLOBAL));
    if (!library) return -1;
    auto* const getInstance = reinterpret_cast<GetCameraAdapter*>(dlsym(library.get(), kAdapterEntry));
    CameraAdapter* const instance = getInstance != nullptr ? getInstance() : nullptr;
    if (instance == nullptr) return -1;

    instance->Init();
    mHandle = library.release();
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
