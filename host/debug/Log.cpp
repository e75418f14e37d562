#include "zodebug/Log.h"

#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

#include "desk/OfflineLog.h"

namespace zodebug {

// Both channels are shut until somebody opens them.
uint32_t gZoCamLogLevel = 3;
uint32_t gZoCamLogGroup = 0;
uint32_t gZoCamOfflineLogLevel = 3;
uint32_t gZoCamOfflineLogGroup = 0;
uint32_t gZoCamDebugMask = 0;

namespace {

std::mutex gLock;

std::vector<desk::LogLine>& offlineLog() {
    static std::vector<desk::LogLine> lines;
    return lines;
}

std::string formatMessage(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    std::string text(static_cast<size_t>(std::vsnprintf(nullptr, 0, format, arguments)), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

}  // namespace

const char* Log::getFileName(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

int Log::catchLogEncryptLog(unsigned int /*group*/, const char* /*fileName*/, int /*line*/, const char* /*function*/,
                            char /*level*/, const char* /*format*/, ...) {
    return 0;
}

const char* Log::zoaGroupToString(unsigned int group) { return group == 0x40 ? "ZSL" : "CAM"; }

void Log::logSystem(unsigned int group, const char* level, const char* fileName, const char* function, int line,
                    const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string message = formatMessage(format, arguments);
    va_end(arguments);

    std::string prefix =
        std::string(zoaGroupToString(group)) + ' ' + fileName + ':' + std::to_string(line) + ' ' + function + "()";
    const int priority = level[0] == 'D' ? ANDROID_LOG_DEBUG : ANDROID_LOG_INFO;
    const std::lock_guard<std::mutex> guard(gLock);
    offlineLog().push_back(desk::logLineNow(priority, "ZoOffline", prefix + message));
}

}  // namespace zodebug

std::vector<desk::LogLine> desk::takeOfflineLog() {
    const std::lock_guard<std::mutex> guard(zodebug::gLock);
    return std::exchange(zodebug::offlineLog(), {});
}
