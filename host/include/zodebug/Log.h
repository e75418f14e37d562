// The HAL's debug library: switches the log channels and owns the offline log.

#pragma once

#include <cstdint>

namespace zodebug {

// A channel is open for messages at or above its level, of the groups whose bits are set.
extern uint32_t gZoCamLogLevel;
extern uint32_t gZoCamLogGroup;
extern uint32_t gZoCamOfflineLogLevel;
extern uint32_t gZoCamOfflineLogGroup;
extern uint32_t gZoCamDebugMask;  // 0 shuts the offline channel

class Log {
public:
    // The name to show for a source path.
    static const char* getFileName(const char* path);

    // Offers a message to the hook; non-zero when the hook has taken it.
    static int catchLogEncryptLog(unsigned int group, const char* fileName, int line, const char* function, char level,
                                  const char* format, ...) __attribute__((format(printf, 6, 7)));

    static const char* zoaGroupToString(unsigned int group);

    // Stores a message in the offline log.
    static void logSystem(unsigned int group, const char* level, const char* fileName, const char* function, int line,
                          const char* format, ...) __attribute__((format(printf, 6, 7)));
};

}  // namespace zodebug
