// An adapter library that declares its interface by itself. The first call of its entry throws, then the first of
// Init(), for as long as the library stays mapped; the type of what they throw is this library's own.

#include <cutils/properties.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace {

class AdapterFailure final : public std::exception {
public:
    explicit AdapterFailure(const char* what) : mWhat(what) {}
    ~AdapterFailure() override { mWhat = nullptr; }
    const char* what() const noexcept override { return mWhat; }

private:
    const char* mWhat;
};

void failOnce(bool& failed, const char* what) {
    if (std::exchange(failed, true)) return;
    throw AdapterFailure(what);
}

bool gEntryFailed, gInitFailed;

}  // namespace

namespace adapter {
struct PlatformInfoHolder final {
    virtual int GetMotionInfo(uint32_t* info) { return *info = 0xFFFFF4FF, -1; }
};
}  // namespace adapter

struct CameraAdapter final {
    virtual int Init() {
        property_set("desk.adapter.init", "1");
        failOnce(gInitFailed, "Init failed");
        return -1;
    }
    virtual std::shared_ptr<adapter::PlatformInfoHolder> GetPlatformInfoHolder() {
        return std::make_shared<adapter::PlatformInfoHolder>();
    }
};

extern "C" __attribute__((visibility("default"))) CameraAdapter* GetInstance() {
    failOnce(gEntryFailed, "GetInstance failed");
    static CameraAdapter instance;
    return &instance;
}
