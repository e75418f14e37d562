#include <dlfcn.h>

#include <cstring>
#include <utility>

#include "desk/VendorLibraries.h"

namespace {

constexpr char kVendorPath[] = "/vendor/lib64/";
constexpr size_t kVendorPathLength = sizeof(kVendorPath) - 1;

std::string& vendorLibraryDir() {
    static std::string dir;
    return dir;
}

}  // namespace

void desk::setVendorLibraryDir(std::string dir) { vendorLibraryDir() = std::move(dir); }

extern "C" void* dlopen(const char* path, int flags) noexcept {
    using DlOpen = void* (*)(const char*, int);
    static const auto next = reinterpret_cast<DlOpen>(dlsym(RTLD_NEXT, "dlopen"));
    if (path == nullptr || std::strncmp(path, kVendorPath, kVendorPathLength) != 0) return next(path, flags);
    // An unmapped path is looked up all the same, and fails, so that dlerror() has something to say.
    const std::string& dir = vendorLibraryDir();
    return next(dir.empty() ? path : (dir + '/' + (path + kVendorPathLength)).c_str(), flags);
}
