#include "ForeignCore.h"

#include <cstdarg>
#include <cstdio>

World gWorld;
std::string* gSwitchRead;

namespace zodebug {
uint32_t gZoCamLogLevel, gZoCamLogGroup, gZoCamOfflineLogLevel, gZoCamOfflineLogGroup, gZoCamDebugMask;
}

ForeignCore::ForeignCore() {
    gWorld = {};
    zodebug::gZoCamLogLevel = zodebug::gZoCamOfflineLogLevel = 3;
    zodebug::gZoCamLogGroup = 0x40;
    zodebug::gZoCamOfflineLogGroup = zodebug::gZoCamDebugMask = 0;
}

zohal::ZSLFrameQueue::~ZSLFrameQueue() = default;

static camera_metadata_ro_entry lookUp(const ZoMetadata& metadata, const std::string& tag) {
    const auto found = note(tag, metadata.tags.find(tag));
    if (found == metadata.tags.end()) return {};
    const Entry& entry = found->second;
    // Metadata promises no alignment: a payload starts at an odd address, and ends where its allocation does.
    static std::vector<std::unique_ptr<char[]>> payloads;
    payloads.push_back(std::make_unique<char[]>(entry.payload.size() + 1));
    entry.payload.copy(payloads.back().get() + 1, entry.payload.size());
    return {0, 0, entry.type, entry.count, entry.hasData ? payloads.back().get() + 1 : nullptr};
}

camera_metadata_ro_entry ZoMetadata::find(uint32_t tag) const { return lookUp(*this, std::to_string(tag)); }
camera_metadata_ro_entry ZoMetadata::find(const char* name) const { return lookUp(*this, name); }

StaticMetadataWraper* StaticMetadataWraper::getInstance() {
    static StaticMetadataWraper instance;
    return &instance;
}

Metadata StaticMetadataWraper::getStaticMetadata(uint32_t logicalId) {
    const auto known = note("static " + std::to_string(logicalId), gWorld.staticMetadata.find(logicalId));
    if (known == gWorld.staticMetadata.end()) return nullptr;
    const Metadata handle = std::make_shared<ZoMetadata>(known->second);
    gWorld.staticHandle = handle;
    return handle;
}

static std::string formatted(const char* format, va_list arguments) {
    char text[4096];
    std::vsnprintf(text, sizeof(text), format, arguments);
    return (gWorld.staticHandle.expired() ? "" : "STATIC METADATA HELD ") + std::string(text);
}

const char* zodebug::Log::getFileName(const char* path) { return gWorld.paths.emplace_back(path), "shown"; }
const char* zodebug::Log::zoaGroupToString(unsigned group) { return group == 0x40 ? "label" : "another group"; }

int zodebug::Log::catchLogEncryptLog(unsigned group, const char* file, int line, const char* function, char level,
                                     const char* format, ...) {
    gWorld.hook.push_back(std::to_string(group) + ' ' + file + (line > 0 ? ":# " : ":? ") + function + ' ' + level +
                          ' ' + format);
    return gWorld.hookTakes;
}

void zodebug::Log::logSystem(unsigned group, const char* level, const char* file, const char* function, int line,
                             const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    gWorld.offline.push_back(std::to_string(group) + ' ' + level + ' ' + file + ' ' + function +
                             (line > 0 ? " # " : " ? ") + formatted(format, arguments));
    va_end(arguments);
}

extern "C" {

int __android_log_print(int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = formatted(format, arguments);
    va_end(arguments);
    const size_t line = text.find(':') + 1;
    if (std::stoi(text.substr(line)) > 0) text.replace(line, text.find(' ', line) - line, "#");
    gWorld.android.push_back(std::to_string(priority) + ' ' + tag + ' ' + text);
    return 1;
}

int8_t property_get_bool(const char* key, int8_t fallback) {
    static std::string read;
    gSwitchRead = &(read += key + std::string("=") + std::to_string(fallback) + ';');
    return 0;
}

int64_t systemTime(int clock) { return note("systemTime " + std::to_string(clock), int64_t{777}); }

}  // extern "C"
