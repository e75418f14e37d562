#include "recorder/Recorder.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>

#include <stdexcept>

#include "adapter/CameraAdapter.h"
#include "recorder/RecordingSelector.h"

namespace recorder {

namespace {

std::shared_ptr<void> openLibrary(const char* file, int flags) {
    void* const library = dlopen(file, flags);
    return library == nullptr ? nullptr : std::shared_ptr<void>(library, [](void* opened) { dlclose(opened); });
}

std::string property(const char* name) {
    char value[PROPERTY_VALUE_MAX];
    property_get(name, value, "");
    return value;
}

std::string pluginFile(const void* recorder) {
    std::string file = property("vendor.zohal.selector.motion.record.plugin");
    if (!file.empty()) return file;
    Dl_info info{};
    if (dladdr(recorder, &info) != 0) file = info.dli_fname;
    return file.substr(0, file.rfind('/') + 1) + "com.nexaro.zsl.motion.so";
}

void complain(const char* what, const char* why) {
    __android_log_print(ANDROID_LOG_ERROR, "ZSLRecorder", "%s: %s", what, why);
}

}  // namespace

void Recorder::stop() noexcept {
    if (!on.exchange(false)) return;
    try {
        throw;
    } catch (const std::exception& error) {
        complain("recording has stopped", error.what());
    } catch (...) {
        complain("recording has stopped", "the core threw when asked for the rest");
    }
}

std::shared_ptr<Recorder> openRecorder(Entry* entry) noexcept try {
    const std::string file = pluginFile(reinterpret_cast<const void*>(entry));
    const std::shared_ptr<void> library = openLibrary(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) throw std::runtime_error(dlerror());
    auto* const create = reinterpret_cast<Entry*>(dlsym(library.get(), "createZSLSelector"));
    // In its own place it would ask itself for ever.
    if (create == nullptr || create == entry) throw std::runtime_error(file + " lacks the entry, or is the recorder");
    const std::string folder = property("vendor.zohal.selector.motion.record.dir");
    const std::string motionSwitch = property("vendor.zohal.selector.motion.zsl.disable");
    return std::shared_ptr<Recorder>(new Recorder{library, create, folder, motionSwitch, {!folder.empty()}});
} catch (const std::exception& error) {
    complain("no selector plug-in to stand before", error.what());
    return nullptr;
}

void createSelectors(const std::shared_ptr<Recorder>& recorder, Selectors& selectors) {
    size_t next = selectors.size();
    recorder->create(selectors);
    for (; next < selectors.size(); ++next) {
        auto& selector = selectors[next];
        if (!selector) continue;
        recorder->attempt([&] { selector = std::make_shared<RecordingSelector>(recorder, selector); });
        if (recorder->on) continue;
        try {
            // The real one. Its handle keeps the library, which must be closed after it is gone.
            const auto kept =
                std::make_shared<std::pair<std::shared_ptr<Recorder>, Selectors::value_type>>(recorder, selector);
            selector = Selectors::value_type(kept, kept->second.get());
        } catch (const std::bad_alloc&) {
            // The bare one does as well, for a core that releases it before the process ends.
        }
    }
}

std::string adapterAnswer() {
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
}

}  // namespace recorder
