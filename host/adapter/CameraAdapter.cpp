// The platform adapter library of a desk. The property "desk.adapter.motion" says what it answers: a number is the
// information word; unset, the word is left untouched; "empty": no holder; "unavailable": no adapter.
// "desk.adapter.init" counts the calls of Init().

#include "adapter/CameraAdapter.h"

#include <cutils/properties.h>

#include <cstdlib>
#include <string>

namespace {

std::string property(const char* key) {
    char value[PROPERTY_VALUE_MAX];
    property_get(key, value, "");
    return value;
}

class DeskPlatformInfo final : public adapter::PlatformInfoHolder {
public:
    int GetMotionInfo(uint32_t* info) override {
        const std::string answer = property("desk.adapter.motion");
        if (!answer.empty()) *info = static_cast<uint32_t>(std::strtoul(answer.c_str(), nullptr, 0));
        return 0;
    }
};

class DeskCameraAdapter final : public CameraAdapter {
public:
    int Init() override {
        const std::string count = property("desk.adapter.init");
        property_set("desk.adapter.init", std::to_string(std::atoi(count.c_str()) + 1).c_str());
        return 0;
    }

    std::shared_ptr<adapter::PlatformInfoHolder> GetPlatformInfoHolder() override {
        if (property("desk.adapter.motion") == "empty") return nullptr;
        return std::make_shared<DeskPlatformInfo>();
    }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) CameraAdapter* GetInstance() {
    static DeskCameraAdapter instance;
    return property("desk.adapter.motion") == "unavailable" ? nullptr : &instance;
}
