#pragma once

#include <stdint.h>

typedef int64_t nsecs_t;

enum {
    SYSTEM_TIME_REALTIME = 0,
    SYSTEM_TIME_MONOTONIC = 1,
    SYSTEM_TIME_PROCESS = 2,
    SYSTEM_TIME_THREAD = 3,
    SYSTEM_TIME_BOOTTIME = 4,
};

#ifdef __cplusplus
extern "C" {
#endif

nsecs_t systemTime(int clock);

#ifdef __cplusplus
}
#endif
