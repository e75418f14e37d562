#include "recorder/Recorder.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>

#include <stdexcept>

#include "recorder/CaseFile.h"

namespace recorder {

constexpr char kLogTag[] = "ZSLRecorder";

static std::string property(const char* name) {
    char value[PROPERTY_VALUE_MAX];
    property_get(name, value, "");
    return value;
}

void Recorder::stop(const char* reason) noexcept {
    if (on.exchange(false)) __android_log_print(ANDROID_LOG_ERROR, kLogTag, "recording has stopped: %s", reason);
}

std::shared_ptr<Recorder> openRecorder(Entry* entry) noexcept try {
    std::string file = property("vendor.zohal.selector.motion.record.plugin");
    Dl_info own{};
    if (file.empty() && dladdr(reinterpret_cast<const void*>(entry), &own) != 0) {
        file = own.dli_fname;
        file = file.substr(0, file.rfind('/') + 1) + "com.nexaro.zsl.motion.so";
    }
    Library library(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL), &dlclose);
    if (!library) throw std::runtime_error(dlerror());
    auto* const create = reinterpret_cast<Entry*>(dlsym(library.get(), "createZSLSelector"));
    // In its own place it would ask itself for ever.
    if (create == nullptr || create == entry) throw std::runtime_error(file + " lacks the entry, or is the recorder");
    const std::string folder = property("vendor.zohal.selector.motion.record.dir");
    std::string off = property("vendor.zohal.selector.motion.zsl.disable");
    off = "vendor.zohal.selector.motion.zsl.disable: " + (off.empty() ? "null" : quoted(off));
    return std::shared_ptr<Recorder>(new Recorder{std::move(library), create, folder, off, {!folder.empty()}});
} catch (const std::exception& error) {
    __android_log_print(ANDROID_LOG_ERROR, kLogTag, "no selector plug-in to stand before: %s", error.what());
    return nullptr;
}

}  // namespace recorder
