#include <cutils/properties.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

namespace {

std::mutex gLock;

std::map<std::string, std::string>& store() {
    static std::map<std::string, std::string> properties;
    return properties;
}

template <size_t N>
bool isOneOf(const char* text, const char* const (&words)[N]) {
    return std::any_of(words, words + N, [text](const char* word) { return std::strcmp(text, word) == 0; });
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
    const std::lock_guard<std::mutex> guard(gLock);
    const auto found = store().find(key);
    const std::string text = found != store().end() ? found->second : default_value != nullptr ? default_value : "";
    const size_t length = std::min<size_t>(text.size(), PROPERTY_VALUE_MAX - 1);
    std::memcpy(value, text.data(), length);
    value[length] = '\0';
    return static_cast<int>(length);
}

int8_t property_get_bool(const char* key, int8_t default_value) {
    static const char* const kTrue[] = {"1", "y", "yes", "on", "true"};
    static const char* const kFalse[] = {"0", "n", "no", "off", "false"};
    char value[PROPERTY_VALUE_MAX];
    property_get(key, value, "");
    if (isOneOf(value, kTrue)) return 1;
    if (isOneOf(value, kFalse)) return 0;
    return default_value;
}

int property_set(const char* key, const char* value) {
    const std::lock_guard<std::mutex> guard(gLock);
    if (value == nullptr) {
        store().erase(key);
        return 0;
    }
    if (std::strlen(value) >= PROPERTY_VALUE_MAX) return -1;
    store()[key] = value;
    return 0;
}
