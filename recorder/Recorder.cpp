#include "recorder/Recorder.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>

#include <stdexcept>
#include <utility>

#include "adapter/CameraAdapter.h"
#include "recorder/RecordingSelector.h"

namespace recorder {

namespace {

constexpr char kLogTag[] = "ZSLRecorder";

std::shared_ptr<void> openLibrary(const char* file, int flags) {
    void* const library = dlopen(file, flags);
    return library == nullptr ? nullptr : std::shared_ptr<void>(library, [](void* opened) { dlclose(opened); });
}

std::string property(const char* name) {
    char value[PROPERTY_VALUE_MAX];
    property_get(name, value, "");
    return value;
}

}  // namespace

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
    const std::shared_ptr<void> library = openLibrary(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) throw std::runtime_error(dlerror());
    auto* const create = reinterpret_cast<Entry*>(dlsym(library.get(), "createZSLSelector"));
    // In its own place it would ask itself for ever.
    if (create == nullptr || create == entry) throw std::runtime_error(file + " lacks the entry, or is the recorder");
    const std::string folder = property("vendor.zohal.selector.motion.record.dir");
    const std::string motionSwitch = property("vendor.zohal.selector.motion.zsl.disable");
    const std::string shown = motionSwitch.empty() ? "null" : quoted(motionSwitch);
    return std::shared_ptr<Recorder>(new Recorder{library, create, folder, shown, {!folder.empty()}});
} catch (const std::exception& error) {
    __android_log_print(ANDROID_LOG_ERROR, kLogTag, "no selector plug-in to stand before: %s", error.what());
    return nullptr;
}

void createSelectors(const std::shared_ptr<Recorder>& recorder, Selectors& selectors) {
    Selectors made;
    recorder->create(made);
    for (auto& selector : made) {
        if (!selector) continue;
        recorder->attempt([&] { selector = std::make_shared<RecordingSelector>(recorder, selector); });
        if (recorder->on) continue;
        // The real one. Its handle keeps the library, which is closed after it is gone.
        const auto kept =
            std::make_shared<std::pair<std::shared_ptr<Recorder>, Selectors::value_type>>(recorder, selector);
        selector = Selectors::value_type(kept, kept->second.get());
    }
    selectors.insert(selectors.end(), made.begin(), made.end());
}

std::string adapterAnswer() try {
    const auto library = openLibrary("/vendor/lib64/libzocamera_adapter.so", RTLD_NOW | RTLD_NOLOAD);
    if (!library) return "absent";
    auto* const getInstance = reinterpret_cast<GetCameraAdapter*>(dlsym(library.get(), "GetInstance"));
    CameraAdapter* const instance = getInstance != nullptr ? getInstance() : nullptr;
    if (instance == nullptr) return "unavailable";
    const std::shared_ptr<adapter::PlatformInfoHolder> holder = instance->GetPlatformInfoHolder();
    if (!holder) return "empty";
    uint32_t word = 0;
    holder->GetMotionInfo(&word);
    return std::to_string(word);
} catch (...) {
    return "empty  # it threw when it was asked again";
}

}  // namespace recorder
