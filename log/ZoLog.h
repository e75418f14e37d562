// The one way this library logs: ZSL_LOGD and ZSL_LOGI, printf-style, on two channels that the HAL's debug library
// switches. The online channel ends in the Android log unless the debug library's hook takes the message; the offline
// channel hands the message to the debug library's own store.
//
// Texts are contract, misspellings, missing blanks and all: log readers match them, and the debug library's hook sees
// the format strings. Mend none of them, and give no two messages that print alike a format in common.
//
// Arguments are evaluated only when a channel is open, and once for each call that prints them: costly ones (a queue's
// name, a rendered list) cost nothing while the log is shut, and no argument may have a side effect.
//
// A source file defines LOG_TAG before it uses these macros, as everywhere in Android code.

#pragma once

#include <android/log.h>

#include <cstdint>

#include "zodebug/Log.h"

namespace zolog {

inline constexpr unsigned kGroup = 0x40;

struct Level {
    uint32_t threshold;  // printed while a channel's level setting is not above it
    char letter;
    const char* text;
    int priority;
};
inline constexpr Level kDebug{3, 'D', "D", ANDROID_LOG_DEBUG};
inline constexpr Level kInfo{4, 'I', "I", ANDROID_LOG_INFO};

// The source position a message shows. A helper that several operations share takes its caller's as a defaulted last
// parameter and hands it to ZSL_LOG, so that the message names the operation it is about.
struct Caller {
    const char* file;
    int line;
    const char* function;

    static constexpr Caller current(const char* file = __builtin_FILE(), int line = __builtin_LINE(),
                                    const char* function = __builtin_FUNCTION()) {
        return {file, line, function};
    }
};

// The settings belong to the debug library, which may change them at any time: they are read for every message.
inline bool onlineOpen(const Level& level) {
    return zodebug::gZoCamLogLevel <= level.threshold && (zodebug::gZoCamLogGroup & kGroup) != 0;
}

inline bool offlineOpen(const Level& level) {
    return zodebug::gZoCamOfflineLogLevel <= level.threshold && (zodebug::gZoCamOfflineLogGroup & kGroup) != 0 &&
           zodebug::gZoCamDebugMask != 0;
}

}  // namespace zolog

// The hook takes file, line, function; the offline store takes file, function, line.
#define ZSL_LOG(LEVEL, CALLER, FORMAT, ...)                                                                           \
    do {                                                                                                              \
        if (zolog::onlineOpen(LEVEL)) {                                                                               \
            if (zodebug::Log::catchLogEncryptLog(zolog::kGroup, zodebug::Log::getFileName((CALLER).file),             \
                                                 (CALLER).line, (CALLER).function, (LEVEL).letter, FORMAT,            \
                                                 ##__VA_ARGS__) == 0) {                                               \
                __android_log_print(                                                                                  \
                    (LEVEL).priority, LOG_TAG, "%s %s:%d %s()" FORMAT, zodebug::Log::zoaGroupToString(zolog::kGroup), \
                    zodebug::Log::getFileName((CALLER).file), (CALLER).line, (CALLER).function, ##__VA_ARGS__);       \
            }                                                                                                         \
        }                                                                                                             \
        if (zolog::offlineOpen(LEVEL)) {                                                                              \
            zodebug::Log::logSystem(zolog::kGroup, (LEVEL).text, zodebug::Log::getFileName((CALLER).file),            \
                                    (CALLER).function, (CALLER).line, FORMAT, ##__VA_ARGS__);                         \
        }                                                                                                             \
    } while (false)

#define ZSL_LOGD(FORMAT, ...) \
    ZSL_LOG(zolog::kDebug, (zolog::Caller{__FILE__, __LINE__, __func__}), FORMAT, ##__VA_ARGS__)
#define ZSL_LOGI(FORMAT, ...) \
    ZSL_LOG(zolog::kInfo, (zolog::Caller{__FILE__, __LINE__, __func__}), FORMAT, ##__VA_ARGS__)
