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

// Nearly all messages fit; what does not is printed again at its length.
void appendMessage(std::string& text, const char* format, va_list arguments) {
    char most[512];
    va_list again;
    va_copy(again, arguments);
    const auto length = static_cast<size_t>(std::vsnprintf(most, sizeof(most), format, arguments));
    if (length < sizeof(most)) {
        text.append(most, length);
    } else {
        const size_t begin = text.size();
        text.resize(begin + length);
        std::vsnprintf(text.data() + begin, length + 1, format, again);
    }
    va_end(again);
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
    std::string message = zoaGroupToString(group);
    message.append(" ").append(fileName).append(":").append(std::to_string(line));
    message.append(" ").append(function).append("()");
    va_list arguments;
    va_start(arguments, format);
    appendMessage(message, format, arguments);
    va_end(arguments);

    const int priority = level[0] == 'D' ? ANDROID_LOG_DEBUG : ANDROID_LOG_INFO;
    const std::lock_guard<std::mutex> guard(gLock);
    offlineLog().push_back(desk::logLineNow(priority, "ZoOffline", std::move(message)));
}

}  // namespace zodebug

std::vector<desk::LogLine> desk::takeOfflineLog() {
    const std::lock_guard<std::mutex> guard(zodebug::gLock);
    return std::exchange(zodebug::offlineLog(), {});
}
